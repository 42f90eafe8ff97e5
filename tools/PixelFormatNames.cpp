#include "PixelFormatNames.h"

#include <algorithm>
#include <cctype>
#include <cstdio>

#include "KorvaPixelFormats.h"

namespace {

// Built on first use: the benchmarks register their cases, and look formats
// up, while static objects are still being constructed.
const std::vector<PixelFormatInfo>& Formats()
{
    static const std::vector<PixelFormatInfo> formats = {
    {"MONO8", KORVA_PIXTYPE_MONO8, 8, 8, 1.0, FormatFamily::Mono, true, false},
    {"MONO8_LUT", KORVA_PIXTYPE_MONO8_LUT, 8, 8, 1.0, FormatFamily::Mono, true, false},
    {"MONO8_SIGNED", KORVA_PIXTYPE_MONO8_SIGNED, 8, 8, 1.0, FormatFamily::Mono, true, false},
    {"MONO10", KORVA_PIXTYPE_MONO10, 10, 16, 2.0, FormatFamily::Mono, true, false},
    {"MONO10_PACKED", KORVA_PIXTYPE_MONO10_PACKED, 10, 12, 1.5, FormatFamily::MonoPacked, true, false},
    {"MONO12", KORVA_PIXTYPE_MONO12, 12, 16, 2.0, FormatFamily::Mono, true, false},
    {"MONO12_LUT", KORVA_PIXTYPE_MONO12_LUT, 12, 16, 2.0, FormatFamily::Mono, true, false},
    {"MONO12_PACKED", KORVA_PIXTYPE_MONO12_PACKED, 12, 12, 1.5, FormatFamily::MonoPacked, true, false},
    {"MONO16", KORVA_PIXTYPE_MONO16, 16, 16, 2.0, FormatFamily::Mono, true, false},
    {"BAYGR8", KORVA_PIXTYPE_BAYGR8, 8, 8, 1.0, FormatFamily::Bayer, true, false},
    {"BAYRG8", KORVA_PIXTYPE_BAYRG8, 8, 8, 1.0, FormatFamily::Bayer, true, false},
    {"BAYGB8", KORVA_PIXTYPE_BAYGB8, 8, 8, 1.0, FormatFamily::Bayer, true, false},
    {"BAYBG8", KORVA_PIXTYPE_BAYBG8, 8, 8, 1.0, FormatFamily::Bayer, true, false},
    {"BAYGR10", KORVA_PIXTYPE_BAYGR10, 10, 16, 2.0, FormatFamily::Bayer, true, false},
    {"BAYRG10", KORVA_PIXTYPE_BAYRG10, 10, 16, 2.0, FormatFamily::Bayer, true, false},
    {"BAYGB10", KORVA_PIXTYPE_BAYGB10, 10, 16, 2.0, FormatFamily::Bayer, true, false},
    {"BAYBG10", KORVA_PIXTYPE_BAYBG10, 10, 16, 2.0, FormatFamily::Bayer, true, false},
    {"BAYGR12", KORVA_PIXTYPE_BAYGR12, 12, 16, 2.0, FormatFamily::Bayer, true, false},
    {"BAYRG12", KORVA_PIXTYPE_BAYRG12, 12, 16, 2.0, FormatFamily::Bayer, true, false},
    {"BAYGB12", KORVA_PIXTYPE_BAYGB12, 12, 16, 2.0, FormatFamily::Bayer, true, false},
    {"BAYBG12", KORVA_PIXTYPE_BAYBG12, 12, 16, 2.0, FormatFamily::Bayer, true, false},
    {"RGB8_PACKED", KORVA_PIXTYPE_RGB8_PACKED, 8, 24, 3.0, FormatFamily::PackedRgb, true, true},
    {"BGR8_PACKED", KORVA_PIXTYPE_BGR8_PACKED, 8, 24, 3.0, FormatFamily::PackedRgb, true, false},
    {"RGBA8_PACKED", KORVA_PIXTYPE_RGBA8_PACKED, 8, 32, 4.0, FormatFamily::PackedRgb, true, true},
    {"BGRA8_PACKED", KORVA_PIXTYPE_BGRA8_PACKED, 8, 32, 4.0, FormatFamily::PackedRgb, true, false},
    {"RGB10_PACKED", KORVA_PIXTYPE_RGB10_PACKED, 10, 48, 6.0, FormatFamily::PackedRgb, true, true},
    {"BGR10_PACKED", KORVA_PIXTYPE_BGR10_PACKED, 10, 48, 6.0, FormatFamily::PackedRgb, true, false},
    {"RGB12_PACKED", KORVA_PIXTYPE_RGB12_PACKED, 12, 48, 6.0, FormatFamily::PackedRgb, true, true},
    {"BGR12_PACKED", KORVA_PIXTYPE_BGR12_PACKED, 12, 48, 6.0, FormatFamily::PackedRgb, true, false},
    {"RGB10V1_PACKED", KORVA_PIXTYPE_RGB10V1_PACKED, 10, 32, 4.0, FormatFamily::Other, false, true},
    {"RGB10V2_PACKED", KORVA_PIXTYPE_RGB10V2_PACKED, 10, 32, 4.0, FormatFamily::Other, false, true},
    {"YUV411_PACKED", KORVA_PIXTYPE_YUV411_PACKED, 8, 12, 1.5, FormatFamily::Yuv, true, false},
    {"YUV422_PACKED", KORVA_PIXTYPE_YUV422_PACKED, 8, 16, 2.0, FormatFamily::Yuv, true, false},
    {"YUV444_PACKED", KORVA_PIXTYPE_YUV444_PACKED, 8, 24, 3.0, FormatFamily::Yuv, true, false},
    {"RGB8_PLANAR", KORVA_PIXTYPE_RGB8_PLANAR, 8, 24, 3.0, FormatFamily::Planar, true, true},
    {"RGB10_PLANAR", KORVA_PIXTYPE_RGB10_PLANAR, 10, 48, 6.0, FormatFamily::Planar, true, true},
    {"RGB12_PLANAR", KORVA_PIXTYPE_RGB12_PLANAR, 12, 48, 6.0, FormatFamily::Planar, true, true},
    {"RGB16_PLANAR", KORVA_PIXTYPE_RGB16_PLANAR, 16, 48, 6.0, FormatFamily::Planar, false, true},
    {"MONO14", KORVA_PIXTYPE_MONO14, 14, 16, 2.0, FormatFamily::Mono, true, false},
    };
    return formats;
}

std::string Upper(const std::string& text)
{
    std::string result = text;
    for (char& c : result)
        c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return result;
}

}  // namespace

const std::vector<PixelFormatInfo>& PixelFormatNames::All()
{
    return Formats();
}

const PixelFormatInfo* PixelFormatNames::FindByName(const std::string& name)
{
    std::string wanted = Upper(name);
    const std::string prefix = "KORVA_PIXTYPE_";
    if (wanted.compare(0, prefix.size(), prefix) == 0)
        wanted.erase(0, prefix.size());
    for (const PixelFormatInfo& info : Formats())
        if (wanted == info.name)
            return &info;
    return nullptr;
}

const PixelFormatInfo* PixelFormatNames::FindByCode(uint32_t code)
{
    for (const PixelFormatInfo& info : Formats())
        if (info.code == code)
            return &info;
    return nullptr;
}

std::string PixelFormatNames::NameOf(uint32_t code)
{
    if (const PixelFormatInfo* info = FindByCode(code))
        return info->name;
    char text[16];
    std::snprintf(text, sizeof text, "0x%08X", static_cast<unsigned>(code));
    return text;
}

long long PixelFormatNames::FrameBytes(uint32_t code, int width, int height)
{
    const PixelFormatInfo* info = FindByCode(code);
    if (info == nullptr || width <= 0 || height <= 0)
        return 0;
    return static_cast<long long>(width * info->bytesPerPixel * height);
}

long long PixelFormatNames::TransformBytes(uint32_t code, int width, int height)
{
    if (code == 0 || width <= 0 || height <= 0)
        return 0;
    double factor = 0.0;
    if (code == KORVA_PIXTYPE_MONO10_PACKED || code == KORVA_PIXTYPE_MONO12_PACKED) {
        factor = 1.5;
    } else {
        switch ((code >> 16) & 0xFF) {
        case 0x08: factor = 1.0; break;
        case 0x0A: case 0x0C: case 0x10: factor = 2.0; break;
        case 0x14: case 0x18: factor = 3.0; break;
        case 0x20: factor = 4.0; break;
        case 0x24: case 0x30: factor = 6.0; break;
        default: factor = 0.0; break;
        }
    }
    return static_cast<long long>(width * factor * height);
}

long long PixelFormatNames::Slack(uint32_t code, int width)
{
    const long long row = std::max(FrameBytes(code, width, 1), TransformBytes(code, width, 1));
    return row + 16;
}

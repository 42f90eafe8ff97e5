#include "PairPolicy.h"

#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"

namespace {

bool IsOneOf(uint32_t code, std::initializer_list<uint32_t> codes)
{
    for (uint32_t c : codes)
        if (c == code)
            return true;
    return false;
}

PairCheck Stop(const std::string& why)
{
    return {PairVerdict::StopsProcess, why};
}

PairCheck Nothing(const std::string& why)
{
    return {PairVerdict::WritesNothing, why};
}

// The YUV converter accepts these destinations and asserts on all others.
bool YuvServes(uint32_t d)
{
    return IsOneOf(d, {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_RGBA8_PACKED,
                       KORVA_PIXTYPE_BGRA8_PACKED, KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_YUV411_PACKED,
                       KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_YUV444_PACKED});
}

PairCheck CheckPackedRgb(const PixelFormatInfo& s, uint32_t d)
{
    // The packed RGB converter asserts on its source only. Destinations it
    // has no loop for come back as success with the buffer untouched.
    const bool eightBit = s.effectiveBits == 8;
    if (IsOneOf(d, {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_RGBA8_PACKED,
                    KORVA_PIXTYPE_BGRA8_PACKED, KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_RGB8_PLANAR}))
        return {PairVerdict::Allowed, ""};
    if (!eightBit && IsOneOf(d, {KORVA_PIXTYPE_MONO10, KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO16,
                                 KORVA_PIXTYPE_RGB10_PACKED, KORVA_PIXTYPE_BGR10_PACKED,
                                 KORVA_PIXTYPE_RGB12_PACKED, KORVA_PIXTYPE_BGR12_PACKED}))
        return {PairVerdict::Allowed, ""};
    return Nothing("the packed RGB converter has no loop for this destination and writes no pixels");
}

PairCheck CheckBayer(uint32_t d)
{
    const PixelFormatInfo* info = PixelFormatNames::FindByCode(d);
    if (info != nullptr && info->family == FormatFamily::Bayer)
        return {PairVerdict::Allowed, ""};
    if (IsOneOf(d, {KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_MONO10, KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO16,
                    KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_RGBA8_PACKED,
                    KORVA_PIXTYPE_RGB16_PLANAR, KORVA_PIXTYPE_RGB8_PLANAR, KORVA_PIXTYPE_RGB10_PLANAR,
                    KORVA_PIXTYPE_RGB12_PLANAR}))
        return {PairVerdict::Allowed, ""};
    return Nothing("the demosaic converter has no path to this destination and writes no pixels");
}

}  // namespace

PairCheck PairPolicy::Check(uint32_t source, uint32_t destination)
{
    const PixelFormatInfo* s = PixelFormatNames::FindByCode(source);
    const PixelFormatInfo* d = PixelFormatNames::FindByCode(destination);
    if (s == nullptr)
        return {PairVerdict::NoConverter, "the source format is unknown to the plug-in"};
    if (d == nullptr)
        return {PairVerdict::StopsProcess, "the destination format is unknown to the plug-in"};
    if (!s->hasConverter)
        return {PairVerdict::NoConverter,
                std::string("the plug-in has no converter for ") + s->name + " sources; every transform fails"};

    switch (s->family) {
    case FormatFamily::Planar:
        if (destination != KORVA_PIXTYPE_RGB8_PLANAR)
            return Stop("the planar converter accepts only RGB8_PLANAR as destination and stops the process "
                        "on any other");
        return {PairVerdict::Allowed, ""};
    case FormatFamily::Yuv:
        if (!YuvServes(destination))
            return Stop("the YUV converter accepts only RGB8/BGR8/RGBA8/BGRA8_PACKED, MONO8 and the YUV formats "
                        "and stops the process on any other");
        return {PairVerdict::Allowed, ""};
    case FormatFamily::PackedRgb:
        return CheckPackedRgb(*s, destination);
    case FormatFamily::Bayer:
        return CheckBayer(destination);
    case FormatFamily::Mono:
    case FormatFamily::MonoPacked:
    case FormatFamily::Other:
        // The mono converter answers pairs it cannot serve with a failure.
        return {PairVerdict::Allowed, ""};
    }
    return {PairVerdict::Allowed, ""};
}

#include "OutputPicture.h"

#include <algorithm>
#include <cctype>

#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"

namespace {

std::string LowerExtension(const std::string& path)
{
    const size_t slash = path.find_last_of('/');
    const size_t dot = path.find_last_of('.');
    if (dot == std::string::npos || (slash != std::string::npos && dot < slash))
        return "";
    std::string e = path.substr(dot);
    for (char& c : e)
        c = static_cast<char>(std::tolower(static_cast<unsigned char>(c)));
    return e;
}

// Rows of `rowBytes` whose pixels are `pixelBytes` apart, read as RGB.
void ReadInterleaved(const uint8_t* data, size_t length, int width, int height, size_t rowBytes, bool wide,
                     SampleImage& image)
{
    image.channels = 3;
    image.samples.assign(static_cast<size_t>(width) * height * 3, 0);
    const size_t sample = wide ? 2 : 1;
    for (int y = 0; y < height; ++y)
        for (int i = 0; i < width * 3; ++i) {
            const size_t at = rowBytes * y + sample * i;
            if (at + sample > length)
                return;
            image.samples[static_cast<size_t>(y) * width * 3 + i] =
                wide ? static_cast<uint16_t>(data[at] | (data[at + 1] << 8)) : data[at];
        }
}

}  // namespace

OutputPicture::Kind OutputPicture::KindOf(const std::string& path)
{
    const std::string e = LowerExtension(path);
    if (e == ".png")
        return Kind::Png;
    if (e == ".ppm")
        return Kind::Ppm;
    if (e == ".pgm")
        return Kind::Pgm;
    if (e == ".raw" || e == ".bin")
        return Kind::Raw;
    return Kind::Unknown;
}

int OutputPicture::Channels(uint32_t destination, bool keepAlpha)
{
    const PixelFormatInfo* d = PixelFormatNames::FindByCode(destination);
    if (d == nullptr || d->family == FormatFamily::Yuv || d->family == FormatFamily::Other)
        return 0;
    if (d->family == FormatFamily::Mono || d->family == FormatFamily::MonoPacked || d->family == FormatFamily::Bayer)
        return 1;
    return d->storedBits == 32 && keepAlpha ? 4 : 3;
}

bool OutputPicture::Make(uint32_t source, uint32_t destination, int width, int height, const uint8_t* data,
                         size_t length, bool keepAlpha, SampleImage& image, std::string& error)
{
    const PixelFormatInfo* s = PixelFormatNames::FindByCode(source);
    const bool bayer = s != nullptr && s->family == FormatFamily::Bayer;
    image.width = width;
    image.height = height;
    if (bayer && destination == KORVA_PIXTYPE_RGBA8_PACKED) {
        // Three-byte pixels in rows of the four-byte length.
        image.maxValue = 255;
        image.significantBits = 0;
        ReadInterleaved(data, length, width, height, static_cast<size_t>(width) * 4, false, image);
        return true;
    }
    if (bayer && destination == KORVA_PIXTYPE_RGB16_PLANAR) {
        // Interleaved RGB; samples as wide as the mosaic's.
        const bool wide = s->effectiveBits > 8;
        image.maxValue = wide ? 65535 : 255;
        image.significantBits = 0;
        ReadInterleaved(data, length, width, height, static_cast<size_t>(width) * 6, wide, image);
        return true;
    }
    if (!ImageFile::FrameToSamples(destination, width, height, data, length, image, error))
        return false;
    if ((source == KORVA_PIXTYPE_RGB8_PACKED || source == KORVA_PIXTYPE_RGBA8_PACKED) &&
        destination == KORVA_PIXTYPE_RGB8_PLANAR) {
        // Blue lies in the first plane for these sources.
        for (size_t i = 0; i + 2 < image.samples.size(); i += 3)
            std::swap(image.samples[i], image.samples[i + 2]);
    }
    if (image.channels == 4 && !keepAlpha) {
        size_t out = 0;
        for (size_t i = 0; i < image.samples.size(); ++i)
            if (i % 4 != 3)
                image.samples[out++] = image.samples[i];
        image.samples.resize(out);
        image.channels = 3;
    }
    return true;
}

bool OutputPicture::Write(const std::string& path, const SampleImage& image, std::string& error)
{
    switch (KindOf(path)) {
    case Kind::Ppm:
        if (image.channels != 3) {
            error = "a PPM holds colour; this picture is " + std::string(image.channels == 1 ? "grey (use .pgm)" :
                                                                                              "RGBA (use .png)");
            return false;
        }
        return ImageFile::WritePnm(path, image, error);
    case Kind::Pgm:
        if (image.channels != 1) {
            error = "a PGM holds grey; this picture is in colour (use .ppm or .png)";
            return false;
        }
        return ImageFile::WritePnm(path, image, error);
    default:
        return ImageFile::WritePng(path, image, error);
    }
}

#include "QuirkNotes.h"

#include <algorithm>

#include "KorvaPixelFormats.h"
#include "PixelFormatNames.h"

namespace {

bool RedAtOdd(uint32_t code)
{
    return code == KORVA_PIXTYPE_BAYGR8 || code == KORVA_PIXTYPE_BAYGR10 || code == KORVA_PIXTYPE_BAYGR12 ||
           code == KORVA_PIXTYPE_BAYBG8 || code == KORVA_PIXTYPE_BAYBG10 || code == KORVA_PIXTYPE_BAYBG12;
}

bool IsMonoDestination(uint32_t code)
{
    return code == KORVA_PIXTYPE_MONO8 || code == KORVA_PIXTYPE_MONO10 || code == KORVA_PIXTYPE_MONO12 ||
           code == KORVA_PIXTYPE_MONO16;
}

bool IsPlanarDestination(uint32_t code)
{
    return code == KORVA_PIXTYPE_RGB8_PLANAR || code == KORVA_PIXTYPE_RGB10_PLANAR ||
           code == KORVA_PIXTYPE_RGB12_PLANAR;
}

bool IsPackedColourDestination(uint32_t code)
{
    return code == KORVA_PIXTYPE_RGB8_PACKED || code == KORVA_PIXTYPE_BGR8_PACKED ||
           code == KORVA_PIXTYPE_RGBA8_PACKED || code == KORVA_PIXTYPE_RGB16_PLANAR;
}

const char* const kAlignHint = "--align-phase gives true colours, one column narrower";

}  // namespace

std::vector<Quirk> QuirkNotes::ForPair(uint32_t source, uint32_t destination, KORVA_Demosaic method)
{
    std::vector<Quirk> quirks;
    const PixelFormatInfo* s = PixelFormatNames::FindByCode(source);
    const PixelFormatInfo* d = PixelFormatNames::FindByCode(destination);
    if (s == nullptr || d == nullptr)
        return quirks;
    const bool colour = IsPackedColourDestination(destination) || IsPlanarDestination(destination);

    if (s->family == FormatFamily::Bayer) {
        if (IsMonoDestination(destination))
            quirks.push_back({"Bayer-to-mono", "a mono destination of a mosaic always gets the plug-in's 5x5 "
                                               "Bayer-to-mono method, whatever --method says, and no colour balance"});
        if (IsMonoDestination(destination) && s->effectiveBits > 8)
            quirks.push_back({"saturated", "Bayer-to-mono does not scale 10- and 12-bit mosaics: every value above "
                                           "255 saturates, even in a 16-bit destination; a colour destination "
                                           "gives the scaled picture"});
        if (RedAtOdd(source) && colour && method == KORVA_DEMOSAIC_NEAREST)
            quirks.push_back({"red/blue exchanged",
                              std::string("nearest neighbour reads GR and BG mosaics with red and blue exchanged "
                                          "(the plug-in's defined behaviour); ") + kAlignHint});
        if (RedAtOdd(source) && method == KORVA_DEMOSAIC_BILINEAR && IsPackedColourDestination(destination))
            quirks.push_back({"colours mixed",
                              std::string("bilinear reads GR and BG mosaics as RG and GB, so green mixes into red "
                                          "and blue (the plug-in's defined behaviour); ") + kAlignHint});
        if (RedAtOdd(source) && method == KORVA_DEMOSAIC_BILINEAR && IsPlanarDestination(destination))
            quirks.push_back({"interior untouched",
                              std::string("bilinear writes no interior pixel of a planar destination for GR and BG "
                                          "mosaics, only the border repair acts (the plug-in's defined behaviour); ") +
                                  kAlignHint});
        if (destination == KORVA_PIXTYPE_RGBA8_PACKED)
            quirks.push_back({"three-byte pixels", "the demosaic writes RGBA8_PACKED as three-byte RGB pixels "
                                                   "without alpha, rows keeping the four-byte length; the picture "
                                                   "reads them so, --raw keeps the bytes"});
        if (destination == KORVA_PIXTYPE_RGB16_PLANAR)
            quirks.push_back({"interleaved", "the demosaic writes RGB16_PLANAR as interleaved RGB pixels, not as "
                                             "planes; the picture reads them so, --raw keeps the bytes"});
        if (method == KORVA_DEMOSAIC_BILINEAR && colour)
            quirks.push_back({"shifted one column", "bilinear output lies one column to the right of the mosaic"});
    }
    if ((source == KORVA_PIXTYPE_RGB8_PACKED || source == KORVA_PIXTYPE_RGBA8_PACKED) &&
        destination == KORVA_PIXTYPE_RGB8_PLANAR)
        quirks.push_back({"planes B, G, R", std::string("the plug-in stores ") + s->name +
                                                " as planes blue, green, red; the picture puts each plane in its "
                                                "real colour, --raw keeps the planes as stored"});
    if (s->family == FormatFamily::Yuv &&
        (destination == KORVA_PIXTYPE_RGBA8_PACKED || destination == KORVA_PIXTYPE_BGRA8_PACKED))
        quirks.push_back({"alpha 0", "the YUV converter writes alpha 0 (fully transparent); the picture is "
                                     "written as RGB, --keep-alpha keeps the zero alpha"});
    if ((s->family == FormatFamily::Mono || s->family == FormatFamily::MonoPacked) && d->storedBits > 16 &&
        d->family != FormatFamily::Yuv)
        quirks.push_back({"grey in part of the row", std::string("the mono converter writes one grey sample a "
                                                                 "pixel into a colour destination, so the picture "
                                                                 "fills only the left part of each row; convert to "
                                                                 "a MONO format, or give --bayer for a mosaic")});
    if (s->family == FormatFamily::PackedRgb && s->effectiveBits > 8 && destination == KORVA_PIXTYPE_MONO8)
        quirks.push_back({"bytes mixed", "the packed RGB converter reads 10/12-bit pixels byte by byte for MONO8, "
                                         "mixing low and high bytes in the first half of each row (the plug-in's "
                                         "defined behaviour); MONO12 gives the true grey"});
    return quirks;
}

std::vector<Quirk> QuirkNotes::ForSamples(const std::vector<uint16_t>& samples, int significantBits, int maxValue)
{
    std::vector<Quirk> quirks;
    if (samples.empty())
        return quirks;
    const uint16_t top = *std::max_element(samples.begin(), samples.end());
    const int range = significantBits > 0 && significantBits < 16 ? (1 << significantBits) - 1 : maxValue;
    if (top == 0)
        quirks.push_back({"nothing written", "every sample of the result is 0: the plug-in wrote no pixels here"});
    else if (top < range / 16)
        quirks.push_back({"dark", "the brightest sample is " + std::to_string(top) + " of " +
                                      std::to_string(range) + ": the picture looks nearly black"});
    return quirks;
}

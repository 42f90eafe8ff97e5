// Pixel-format catalogue, image size arithmetic and destination-format
// negotiation of the image object.
#include "ImgProc.h"

#include <cstring>

#include "KorvaPixelFormats.h"
#include "KvMath.h"

namespace {

// Which converter member of the image object reads a format as a source.
enum eFormatConverter { CONV_NONE, CONV_MONO, CONV_DEMOSAIC, CONV_RGB, CONV_YUV, CONV_RGB_PLANAR };

// Longest destination list plus a terminating 0 (0 is never a format code).
const int kMaxDestinations = 11;

struct sCatalogueRow {
    uint32_t code;
    const char* name;
    int32_t bppEff;
    int32_t bpp;
    double factor;
    eFormatConverter converter;
    uint32_t destinations[kMaxDestinations];
};

#define PF(x) KORVA_PIXTYPE_##x
#define ROW(x, eff, bpp, factor, conv, ...) {PF(x), "KORVA_PIXTYPE_" #x, eff, bpp, factor, conv, {__VA_ARGS__}}

// The order of the rows is the order of the union list, and the order of each
// destination list is what the host sees in getDestinationPixelFormat; both
// are part of the interface. The lists are deliberately neither symmetric nor
// transitive (e.g. BGR8 does not offer RGB8, BG Bayer phases offer nothing
// but themselves).
const sCatalogueRow kCatalogue[] = {
    ROW(MONO8, 8, 8, 1.0, CONV_MONO, PF(MONO8)),
    ROW(MONO8_LUT, 8, 8, 1.0, CONV_MONO, PF(MONO8_LUT)),
    ROW(MONO8_SIGNED, 8, 8, 1.0, CONV_MONO, PF(MONO8_SIGNED)),
    ROW(MONO10, 10, 16, 2.0, CONV_MONO, PF(MONO10), PF(MONO8)),
    ROW(MONO10_PACKED, 10, 12, 1.5, CONV_MONO, PF(MONO10_PACKED), PF(MONO8), PF(MONO10)),
    ROW(MONO12, 12, 16, 2.0, CONV_MONO, PF(MONO12), PF(MONO8), PF(MONO10)),
    ROW(MONO12_LUT, 12, 16, 2.0, CONV_MONO, PF(MONO12_LUT), PF(MONO8), PF(MONO10)),
    ROW(MONO12_PACKED, 12, 12, 1.5, CONV_MONO, PF(MONO12_PACKED), PF(MONO8), PF(MONO12)),
    ROW(MONO16, 16, 16, 2.0, CONV_MONO, PF(MONO16), PF(MONO8), PF(MONO10)),
    ROW(BAYGR8, 8, 8, 1.0, CONV_DEMOSAIC, PF(BAYGR8), PF(RGB8_PACKED), PF(RGB8_PLANAR), PF(BGR8_PACKED)),
    ROW(BAYRG8, 8, 8, 1.0, CONV_DEMOSAIC, PF(BAYRG8), PF(RGB8_PACKED), PF(RGB8_PLANAR), PF(BGR8_PACKED)),
    ROW(BAYGB8, 8, 8, 1.0, CONV_DEMOSAIC, PF(BAYGB8), PF(RGB8_PACKED), PF(RGB8_PLANAR), PF(BGR8_PACKED)),
    ROW(BAYBG8, 8, 8, 1.0, CONV_DEMOSAIC, PF(BAYBG8)),
    ROW(BAYGR10, 10, 16, 2.0, CONV_DEMOSAIC, PF(BAYGR10), PF(BAYGR8), PF(RGB8_PACKED), PF(BGR8_PACKED),
        PF(RGB10_PACKED), PF(RGB8_PLANAR), PF(RGB10_PLANAR)),
    ROW(BAYRG10, 10, 16, 2.0, CONV_DEMOSAIC, PF(BAYRG10), PF(BAYRG8), PF(RGB8_PACKED), PF(BGR8_PACKED),
        PF(RGB10_PACKED), PF(RGB8_PLANAR), PF(RGB10_PLANAR)),
    ROW(BAYGB10, 10, 16, 2.0, CONV_DEMOSAIC, PF(BAYGB10), PF(BAYGB8), PF(RGB8_PACKED), PF(BGR8_PACKED),
        PF(RGB10_PACKED), PF(RGB8_PLANAR), PF(RGB10_PLANAR)),
    ROW(BAYBG10, 10, 16, 2.0, CONV_DEMOSAIC, PF(BAYBG10)),
    ROW(BAYGR12, 12, 16, 2.0, CONV_DEMOSAIC, PF(BAYGR12), PF(BAYGR8), PF(BAYGR10), PF(RGB8_PACKED),
        PF(RGB10_PACKED), PF(RGB12_PACKED), PF(RGB8_PLANAR), PF(RGB10_PLANAR), PF(RGB12_PLANAR), PF(BGR8_PACKED)),
    ROW(BAYRG12, 12, 16, 2.0, CONV_DEMOSAIC, PF(BAYRG12), PF(BAYRG8), PF(BAYRG10), PF(RGB8_PACKED),
        PF(RGB10_PACKED), PF(RGB12_PACKED), PF(RGB8_PLANAR), PF(RGB10_PLANAR), PF(RGB12_PLANAR), PF(BGR8_PACKED)),
    ROW(BAYGB12, 12, 16, 2.0, CONV_DEMOSAIC, PF(BAYGB12), PF(BAYGB8), PF(BAYGB10), PF(RGB8_PACKED),
        PF(RGB10_PACKED), PF(RGB12_PACKED), PF(RGB8_PLANAR), PF(RGB10_PLANAR), PF(RGB12_PLANAR), PF(BGR8_PACKED)),
    ROW(BAYBG12, 12, 16, 2.0, CONV_DEMOSAIC, PF(BAYBG12)),
    ROW(RGB8_PACKED, 8, 24, 3.0, CONV_RGB, PF(RGB8_PACKED), PF(RGBA8_PACKED), PF(BGR8_PACKED), PF(BGRA8_PACKED),
        PF(MONO8)),
    ROW(BGR8_PACKED, 8, 24, 3.0, CONV_RGB, PF(BGR8_PACKED), PF(RGBA8_PACKED), PF(BGRA8_PACKED), PF(MONO8)),
    ROW(RGBA8_PACKED, 8, 32, 4.0, CONV_RGB, PF(RGBA8_PACKED), PF(RGB8_PACKED), PF(BGRA8_PACKED), PF(BGR8_PACKED),
        PF(MONO8)),
    ROW(BGRA8_PACKED, 8, 32, 4.0, CONV_RGB, PF(BGRA8_PACKED), PF(RGB8_PACKED), PF(BGR8_PACKED), PF(MONO8)),
    ROW(RGB10_PACKED, 10, 48, 6.0, CONV_RGB, PF(RGB10_PACKED), PF(BGR10_PACKED), PF(RGBA8_PACKED), PF(RGB8_PACKED),
        PF(BGRA8_PACKED), PF(BGR8_PACKED), PF(MONO8)),
    ROW(BGR10_PACKED, 10, 48, 6.0, CONV_RGB, PF(BGR10_PACKED), PF(RGBA8_PACKED), PF(RGB8_PACKED), PF(BGRA8_PACKED),
        PF(BGR8_PACKED), PF(MONO8)),
    ROW(RGB12_PACKED, 12, 48, 6.0, CONV_RGB, PF(RGB12_PACKED), PF(RGBA8_PACKED), PF(RGB8_PACKED), PF(BGRA8_PACKED),
        PF(BGR8_PACKED), PF(MONO8)),
    ROW(BGR12_PACKED, 12, 48, 6.0, CONV_RGB, PF(BGR12_PACKED), PF(RGB10_PACKED), PF(RGBA8_PACKED), PF(RGB8_PACKED),
        PF(BGRA8_PACKED), PF(BGR8_PACKED), PF(MONO8)),
    ROW(RGB10V1_PACKED, 10, 32, 4.0, CONV_NONE, PF(RGB10V1_PACKED)),
    ROW(RGB10V2_PACKED, 10, 32, 4.0, CONV_NONE, PF(RGB10V2_PACKED)),
    ROW(YUV411_PACKED, 8, 12, 1.5, CONV_YUV, PF(YUV411_PACKED), PF(RGB8_PACKED), PF(BGRA8_PACKED), PF(BGR8_PACKED),
        PF(MONO8)),
    ROW(YUV422_PACKED, 8, 16, 2.0, CONV_YUV, PF(YUV422_PACKED), PF(RGBA8_PACKED), PF(RGB8_PACKED), PF(BGRA8_PACKED),
        PF(BGR8_PACKED), PF(MONO8)),
    ROW(YUV444_PACKED, 8, 24, 3.0, CONV_YUV, PF(YUV444_PACKED), PF(RGBA8_PACKED), PF(RGB8_PACKED), PF(BGRA8_PACKED),
        PF(BGR8_PACKED), PF(MONO8)),
    ROW(RGB8_PLANAR, 8, 24, 3.0, CONV_RGB_PLANAR, PF(RGB8_PLANAR)),
    ROW(RGB10_PLANAR, 10, 48, 6.0, CONV_RGB_PLANAR, PF(RGB10_PLANAR), PF(RGB8_PLANAR)),
    ROW(RGB12_PLANAR, 12, 48, 6.0, CONV_RGB_PLANAR, PF(RGB12_PLANAR), PF(RGB8_PLANAR), PF(RGB10_PLANAR)),
    // Offers destinations but has no converter: a transform away from it fails.
    ROW(RGB16_PLANAR, 16, 48, 6.0, CONV_NONE, PF(RGB16_PLANAR), PF(RGB8_PLANAR), PF(RGB10_PLANAR), PF(RGB12_PLANAR)),
    ROW(MONO14, 14, 16, 2.0, CONV_MONO, PF(MONO14), PF(MONO8), PF(MONO10), PF(MONO12)),
};

#undef ROW
#undef PF

static_assert(sizeof(kCatalogue) / sizeof(kCatalogue[0]) == 39, "catalogue has 39 formats");

// Capacity of the value array of the host's list record.
const int kMaxListValues = static_cast<int>(sizeof(KORVAX_TypeListINT::aValues) / sizeof(int32_t));

} // namespace

void CImgProc::BuildPixelFormatCatalogue()
{
    for (const sCatalogueRow& row : kCatalogue) {
        sPixelFormatNode node;
        std::strncpy(node.msFormatName, row.name, sizeof(node.msFormatName) - 1);
        node.miFormatBppEff = row.bppEff;
        node.miFormatBpp = row.bpp;
        node.mdFormatBytePerPixel = row.factor;
        for (int i = 0; i < kMaxDestinations && row.destinations[i] != 0; ++i)
            node.mlDestinationFormats.push_back(row.destinations[i]);

        switch (row.converter) {
        case CONV_MONO:
            node.mpFormatConverter = &mConvMono;
            break;
        case CONV_DEMOSAIC:
            node.mpFormatConverter = &mConvDemosaic;
            break;
        case CONV_RGB:
            node.mpFormatConverter = &mConvRGB;
            break;
        case CONV_YUV:
            node.mpFormatConverter = &mConvYUV;
            break;
        case CONV_RGB_PLANAR:
            node.mpFormatConverter = &mConvRGBPlanar;
            break;
        case CONV_NONE:
            node.mpFormatConverter = nullptr;
            break;
        }

        AddSupportedPixelFormats(&node.mlDestinationFormats);
        mPixelFormatMap[row.code] = node;
    }
}

// Union of all destination lists, in order of first appearance.
void CImgProc::AddSupportedPixelFormats(std::list<uint32_t>* formats)
{
    for (uint32_t code : *formats) {
        bool known = false;
        for (uint32_t have : mSupportedFormats) {
            if (have == code) {
                known = true;
                break;
            }
        }
        if (!known)
            mSupportedFormats.push_back(code);
    }
}

// Works from the size field of the code, not from the catalogue: YUV411
// (field 0x0C) therefore counts 2.0 bytes per pixel although its frames take
// 1.5. Buffer and transform sizes rest on this, so it is kept.
int CImgProc::CalculateImageSize(int format, int width, int height)
{
    if (format == 0)
        return -1;

    const uint32_t code = static_cast<uint32_t>(format);
    double factor;
    if (code == static_cast<uint32_t>(KORVA_PIXTYPE_MONO10_PACKED) ||
        code == static_cast<uint32_t>(KORVA_PIXTYPE_MONO12_PACKED)) {
        factor = 1.5;
    } else {
        switch ((code & KORVA_PIX_EFFECTIVE_PIXEL_SIZE_MASK) >> KORVA_PIX_EFFECTIVE_PIXEL_SIZE_SHIFT) {
        case 0x08:
            factor = 1.0;
            break;
        case 0x0A:
        case 0x0C:
        case 0x10:
            factor = 2.0;
            break;
        case 0x14:
        case 0x18:
            factor = 3.0;
            break;
        case 0x20:
            factor = 4.0;
            break;
        case 0x24:
        case 0x30:
            factor = 6.0;
            break;
        default:
            factor = 0.0;
            break;
        }
    }
    return KvTruncToInt32(static_cast<double>(width) * factor * static_cast<double>(height));
}

// Interleaved channels only: planar formats count as one, the alpha channel
// of RGBA/BGRA is not counted. No caller inside the plug-in.
int CImgProc::NumberOfCanals(int format)
{
    switch (static_cast<uint32_t>(format)) {
    case KORVA_PIXTYPE_MONO8:
    case KORVA_PIXTYPE_MONO8_SIGNED:
    case KORVA_PIXTYPE_MONO10:
    case KORVA_PIXTYPE_MONO10_PACKED:
    case KORVA_PIXTYPE_MONO12:
    case KORVA_PIXTYPE_MONO12_PACKED:
    case KORVA_PIXTYPE_MONO16:
    case KORVA_PIXTYPE_BAYGR8:
    case KORVA_PIXTYPE_BAYRG8:
    case KORVA_PIXTYPE_BAYGB8:
    case KORVA_PIXTYPE_BAYBG8:
    case KORVA_PIXTYPE_BAYGR10:
    case KORVA_PIXTYPE_BAYRG10:
    case KORVA_PIXTYPE_BAYGB10:
    case KORVA_PIXTYPE_BAYBG10:
    case KORVA_PIXTYPE_BAYGR12:
    case KORVA_PIXTYPE_BAYRG12:
    case KORVA_PIXTYPE_BAYGB12:
    case KORVA_PIXTYPE_BAYBG12:
    case KORVA_PIXTYPE_RGB8_PLANAR:
    case KORVA_PIXTYPE_RGB10_PLANAR:
    case KORVA_PIXTYPE_RGB12_PLANAR:
    case KORVA_PIXTYPE_RGB16_PLANAR:
        return 1;
    case KORVA_PIXTYPE_YUV422_PACKED:
        return 2;
    case KORVA_PIXTYPE_RGB8_PACKED:
    case KORVA_PIXTYPE_BGR8_PACKED:
    case KORVA_PIXTYPE_RGBA8_PACKED:
    case KORVA_PIXTYPE_BGRA8_PACKED:
    case KORVA_PIXTYPE_RGB10_PACKED:
    case KORVA_PIXTYPE_BGR10_PACKED:
    case KORVA_PIXTYPE_RGB12_PACKED:
    case KORVA_PIXTYPE_BGR12_PACKED:
    case KORVA_PIXTYPE_RGB10V1_PACKED:
    case KORVA_PIXTYPE_RGB10V2_PACKED:
    case KORVA_PIXTYPE_YUV444_PACKED:
        return 3;
    default:
        // Also YUV411, MONO14 and the two look-up variants.
        return 0;
    }
}

// A null pointer is the caller's fault; there is no check here.
int CImgProc::getImageLength(int* length)
{
    const int size = CalculateImageSize(static_cast<int>(mMemSrc.miPixelFormat), mMemSrc.miWidth, mMemSrc.miHeight);
    if (mMemSrc.miPixelFormat == 0 || mMemSrc.miWidth == 0 || mMemSrc.miHeight == 0) {
        *length = 0;
        return RESULT_OK;
    }
    if (size == -1) {
        *length = 0;
        return RESULT_FAIL;
    }
    *length = size;
    return RESULT_OK;
}

// No validation: an unknown code enters an empty record and leaves the
// source view with depth 0, factor 0.0 and no converter.
int CImgProc::setPixelFormat(int format)
{
    const uint32_t code = static_cast<uint32_t>(format);
    sPixelFormatNode& node = mPixelFormatMap[code];
    mMemSrc.SetPixelFormat(code, &node);
    createLookUpTables(1.0, 1.0, 1.0, 1.0);
    return RESULT_OK;
}

// Deliberately loose: any catalogue code is accepted whatever the source
// format is. Whether the source offers it is checked at transform time by
// isDestinationPixelFormatSupp.
int CImgProc::setDestinationPixelFormat(int format)
{
    const uint32_t code = static_cast<uint32_t>(format);
    const sPixelFormatNode node = mPixelFormatMap[code];
    if (node.mlDestinationFormats.empty())
        return RESULT_BAD_PARAM;

    bool supported = false;
    for (uint32_t have : mSupportedFormats) {
        if (have == code) {
            supported = true;
            break;
        }
    }
    if (!supported)
        return RESULT_BAD_PARAM;

    mMemDst.SetPixelFormat(code, &node);
    return RESULT_OK;
}

// Despite its name this sets the destination view's format on success; the
// transform driver relies on that.
int CImgProc::isDestinationPixelFormatSupp(int format)
{
    const uint32_t code = static_cast<uint32_t>(format);
    const sPixelFormatNode node = mPixelFormatMap[code];
    if (node.mlDestinationFormats.empty())
        return RESULT_BAD_PARAM;

    const sPixelFormatNode source = mPixelFormatMap[mMemSrc.miPixelFormat];
    if (source.mlDestinationFormats.empty())
        return RESULT_NOT_SUPPORTED;

    bool offered = false;
    for (uint32_t have : source.mlDestinationFormats) {
        if (have == code) {
            offered = true;
            break;
        }
    }
    if (!offered)
        return RESULT_NOT_SUPPORTED;

    mMemDst.SetPixelFormat(code, &node);
    return RESULT_OK;
}

// The host may ask for the list of any format, not only the source's.
int CImgProc::getDestinationPixelFormat(int format, KORVA_FeatureState* state, KORVAX_TypeListINT* list)
{
    // The host reads type, index and flags even from a refused request, so
    // they are written first. The size words belong to the caller.
    list->iType = KORVA_TYPE_TAG;
    list->iCurrent = 0;
    state->stateFlag1 = true;
    state->stateFlag2 = true;
    state->stateFlag3 = false;
    state->stateFlag4 = true;

    const uint32_t code = static_cast<uint32_t>(format);
    const sPixelFormatNode node = mPixelFormatMap[code];
    if (node.mlDestinationFormats.empty())
        return RESULT_BAD_PARAM;

    // Lists hold no duplicates; should one ever appear, the first match counts.
    int dstPosition = -1;
    int ownPosition = -1;
    int count = 0;
    int position = 0;
    for (uint32_t entry : node.mlDestinationFormats) {
        if (dstPosition < 0 && entry == mMemDst.miPixelFormat)
            dstPosition = position;
        if (ownPosition < 0 && entry == code)
            ownPosition = position;
        if (count < kMaxListValues)
            list->aValues[count++] = static_cast<int32_t>(entry);
        ++position;
    }

    if (dstPosition >= 0)
        list->iCurrent = dstPosition;
    else if (ownPosition >= 0)
        list->iCurrent = ownPosition;
    list->iCount = count;
    return RESULT_OK;
}

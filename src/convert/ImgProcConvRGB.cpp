#include "ImgProcConvRGB.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "AverageHistogram.h"
#include "ImgProc.h"
#include "KorvaPixelFormats.h"
#include "KvAssert.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"
#include "ImgProcConvRows.h"

namespace {

// Samples are read and written through memcpy: rows of 16-bit data need not
// be aligned.
template <typename S>
inline uint32_t Load(const unsigned char* p);

template <>
inline uint32_t Load<BYTE>(const unsigned char* p)
{
    return p[0];
}

template <>
inline uint32_t Load<WORD>(const unsigned char* p)
{
    WORD w;
    std::memcpy(&w, p, sizeof w);
    return w;
}

// A byte destination keeps the low byte of the value, a word destination all
// of it.
template <typename D>
inline void Store(unsigned char* p, uint32_t v);

template <>
inline void Store<BYTE>(unsigned char* p, uint32_t v)
{
    p[0] = static_cast<BYTE>(v);
}

template <>
inline void Store<WORD>(unsigned char* p, uint32_t v)
{
    const WORD w = static_cast<WORD>(v);
    std::memcpy(p, &w, sizeof w);
}

enum eFourth { FOURTH_NONE, FOURTH_OPAQUE, FOURTH_CARRIED };

// Colour to colour. Tables follow the memory position of the source
// component, not its colour; the reversed map only changes where the
// results land.
template <typename S, typename D, int SrcPixel, bool Reversed, eFourth Fourth>
void ColourRow(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c)
{
    const size_t SD = sizeof(D);
    for (int32_t x = 0; x < width; ++x) {
        const uint32_t v0 = c.lut0[Load<S>(src)];
        const uint32_t v1 = c.lut1[Load<S>(src + sizeof(S))];
        const uint32_t v2 = c.lut2[Load<S>(src + 2 * sizeof(S))];
        if constexpr (Reversed) {
            Store<D>(dst, v2);
            Store<D>(dst + SD, v1);
            Store<D>(dst + 2 * SD, v0);
        } else {
            Store<D>(dst, v0);
            Store<D>(dst + SD, v1);
            Store<D>(dst + 2 * SD, v2);
        }
        if constexpr (Fourth == FOURTH_OPAQUE)
            dst[3] = 0xFF;
        else if constexpr (Fourth == FOURTH_CARRIED)
            dst[3] = src[3];
        src += SrcPixel;
        dst += c.dstStep;
    }
}

// Grey by memory position: the first component always weighs 30, also when
// it is blue.
template <typename S, typename D, int SrcPixel>
void GreyRow(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c)
{
    for (int32_t x = 0; x < width; ++x) {
        const uint32_t g0 = c.lut0[Load<S>(src)];
        const uint32_t g1 = c.lut1[Load<S>(src + sizeof(S))];
        const uint32_t g2 = c.lut2[Load<S>(src + 2 * sizeof(S))];
        Store<D>(dst, (30 * g0 + 60 * g1 + 10 * g2) / 100);
        src += SrcPixel;
        dst += c.dstStep;
    }
}

// Packed source into three 8-bit planes that follow each other at
// planeDistance bytes. Plane k always uses table k.
template <typename S, int SrcPixel, bool Reversed>
void PlanesRow(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c)
{
    unsigned char* p0 = dst;
    unsigned char* p1 = reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(dst) + c.planeDistance);
    unsigned char* p2 = reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(dst) + 2 * c.planeDistance);
    const size_t first = Reversed ? 2 * sizeof(S) : 0;
    const size_t last = Reversed ? 0 : 2 * sizeof(S);
    for (int32_t x = 0; x < width; ++x) {
        Store<BYTE>(p0, c.lut0[Load<S>(src + first)]);
        Store<BYTE>(p1, c.lut1[Load<S>(src + sizeof(S))]);
        Store<BYTE>(p2, c.lut2[Load<S>(src + last)]);
        src += SrcPixel;
        p0 += c.dstStep;
        p1 += c.dstStep;
        p2 += c.dstStep;
    }
}

bool IsRedFirst(uint32_t f)
{
    return f == KORVA_PIXTYPE_RGB8_PACKED || f == KORVA_PIXTYPE_RGBA8_PACKED || f == KORVA_PIXTYPE_RGB10_PACKED ||
           f == KORVA_PIXTYPE_RGB12_PACKED;
}

bool IsBlueFirst(uint32_t f)
{
    return f == KORVA_PIXTYPE_BGR8_PACKED || f == KORVA_PIXTYPE_BGRA8_PACKED || f == KORVA_PIXTYPE_BGR10_PACKED ||
           f == KORVA_PIXTYPE_BGR12_PACKED;
}

bool IsFourByte(uint32_t f)
{
    return f == KORVA_PIXTYPE_RGBA8_PACKED || f == KORVA_PIXTYPE_BGRA8_PACKED;
}

bool IsGrey(uint32_t f)
{
    return f == KORVA_PIXTYPE_MONO8 || f == KORVA_PIXTYPE_MONO10 || f == KORVA_PIXTYPE_MONO12 ||
           f == KORVA_PIXTYPE_MONO16;
}

bool IsPlanar(uint32_t f)
{
    return f == KORVA_PIXTYPE_RGB8_PLANAR || f == KORVA_PIXTYPE_RGB10_PLANAR || f == KORVA_PIXTYPE_RGB12_PLANAR;
}

template <bool Reversed>
RgbRowFunction PickBytesToBytes(bool srcFour, bool dstFour)
{
    if (srcFour && dstFour)
        return &ColourRow<BYTE, BYTE, 4, Reversed, FOURTH_CARRIED>;
    if (srcFour)
        return &ColourRow<BYTE, BYTE, 4, Reversed, FOURTH_NONE>;
    if (dstFour)
        return &ColourRow<BYTE, BYTE, 3, Reversed, FOURTH_OPAQUE>;
    return &ColourRow<BYTE, BYTE, 3, Reversed, FOURTH_NONE>;
}

template <bool Reversed>
RgbRowFunction PickWordsToBytes(bool dstFour)
{
    if (dstFour)
        return &ColourRow<WORD, BYTE, 6, Reversed, FOURTH_OPAQUE>;
    return &ColourRow<WORD, BYTE, 6, Reversed, FOURTH_NONE>;
}

enum eDepth { DEPTH_NONE, DEPTH_8_TO_8, DEPTH_DEEP_TO_8, DEPTH_DEEP_TO_DEEP };

// Classifies the pair once. A null result means the destination is served
// by no branch: the rows are still visited, nothing is written.
// Element widths follow the effective depths, not the codes, so a source
// whose depth does not match its code is read as its depth says. Sources
// above 8 bits are read as three words per pixel whatever the code; only the
// 8-bit paths know a four-byte source.
RgbRowFunction PickPackedRow(uint32_t srcFormat, uint32_t dstFormat, int32_t srcBpp, int32_t dstBpp, int* dstPixel)
{
    eDepth depth = DEPTH_NONE;
    if (srcBpp == 8 && dstBpp == 8)
        depth = DEPTH_8_TO_8;
    else if (srcBpp > 8 && dstBpp == 8)
        depth = DEPTH_DEEP_TO_8;
    else if (srcBpp > 8 && dstBpp > 8)
        depth = DEPTH_DEEP_TO_DEEP;

    const bool srcFour = IsFourByte(srcFormat);
    const bool dstFour = IsFourByte(dstFormat);
    const bool srcRedFirst = IsRedFirst(srcFormat);

    if (IsGrey(dstFormat)) {
        switch (depth) {
        case DEPTH_8_TO_8:
            *dstPixel = 1;
            return srcFour ? &GreyRow<BYTE, BYTE, 4> : &GreyRow<BYTE, BYTE, 3>;
        case DEPTH_DEEP_TO_8:
            // The row is read as bytes, three per pixel, so only its first
            // half is seen and the halves of the words mix. Kept as is.
            *dstPixel = 1;
            return &GreyRow<BYTE, BYTE, 3>;
        case DEPTH_DEEP_TO_DEEP:
            *dstPixel = 2;
            return &GreyRow<WORD, WORD, 6>;
        default:
            return nullptr;
        }
    }

    if (IsPlanar(dstFormat)) {
        *dstPixel = 1;
        switch (depth) {
        case DEPTH_8_TO_8:
            // 8-bit sources land reversed in the planes whatever their
            // colour order.
            return srcFour ? &PlanesRow<BYTE, 4, true> : &PlanesRow<BYTE, 3, true>;
        case DEPTH_DEEP_TO_8:
            return srcRedFirst ? &PlanesRow<WORD, 6, false> : &PlanesRow<WORD, 6, true>;
        default:
            return nullptr;  // deeper planes are not written
        }
    }

    const bool dstRedFirst = IsRedFirst(dstFormat);
    if (!dstRedFirst && !IsBlueFirst(dstFormat))
        return nullptr;
    const bool keptOrder = srcRedFirst == dstRedFirst;
    switch (depth) {
    case DEPTH_8_TO_8:
        *dstPixel = dstFour ? 4 : 3;
        return keptOrder ? PickBytesToBytes<false>(srcFour, dstFour) : PickBytesToBytes<true>(srcFour, dstFour);
    case DEPTH_DEEP_TO_8:
        *dstPixel = dstFour ? 4 : 3;
        return keptOrder ? PickWordsToBytes<false>(dstFour) : PickWordsToBytes<true>(dstFour);
    case DEPTH_DEEP_TO_DEEP:
        *dstPixel = 6;
        return keptOrder ? &ColourRow<WORD, WORD, 6, false, FOURTH_NONE> : &ColourRow<WORD, WORD, 6, true, FOURTH_NONE>;
    default:
        return nullptr;  // an 8-bit source is not widened
    }
}

// Vector bodies in front of the portable loops, which finish each row.
template <int SrcPixel, bool Reversed, eFourth Fourth>
void ColourVectorRow(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c)
{
    const int32_t done = c.bytes(src, dst, width);
    ColourRow<BYTE, BYTE, SrcPixel, Reversed, Fourth>(src + SrcPixel * static_cast<ptrdiff_t>(done),
                                                      dst + done * c.dstStep, width - done, c);
}

template <int SrcPixel>
void GreyVectorRow(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c)
{
    const int32_t done = c.bytes(src, dst, width);
    GreyRow<BYTE, BYTE, SrcPixel>(src + SrcPixel * static_cast<ptrdiff_t>(done), dst + done, width - done, c);
}

// Deep samples in memory order need no reorder: one rescale over the row's
// samples, up to the first vector with a sample above the depth.
void WordsVectorRow(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c)
{
    const int32_t done = c.words(src, dst, 3 * width, c.rescale, nullptr) / 3;
    ColourRow<WORD, BYTE, 6, false, FOURTH_NONE>(src + 6 * static_cast<ptrdiff_t>(done), dst + 3 * done,
                                                 width - done, c);
}

template <bool Reversed, eFourth Fourth>
void DeepVectorRow(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c)
{
    const int32_t done = c.deep(src, dst, width, c.rescale);
    ColourRow<WORD, BYTE, 6, Reversed, Fourth>(src + 6 * static_cast<ptrdiff_t>(done), dst + done * c.dstStep,
                                               width - done, c);
}

// Replaces a portable row by its vector form where the level has a body and
// the tables have the shape the body computes.
RgbRowFunction VectorForm(RgbRowFunction row, sRgbRow* c, const sConvLutShape& shape, const sConvRowBodies& bodies,
                          int32_t srcBpp)
{
    const bool identity = shape.identity8[0] && shape.identity8[1] && shape.identity8[2];
    struct sBytesForm {
        RgbRowFunction portable;
        ConvBytesBody body;
        RgbRowFunction vector;
    };
    const sBytesForm forms[] = {
        {&GreyRow<BYTE, BYTE, 3>, bodies.grey[0], &GreyVectorRow<3>},
        {&GreyRow<BYTE, BYTE, 4>, bodies.grey[1], &GreyVectorRow<4>},
        {&ColourRow<BYTE, BYTE, 3, false, FOURTH_NONE>, bodies.reorder[0][0][0], &ColourVectorRow<3, false, FOURTH_NONE>},
        {&ColourRow<BYTE, BYTE, 3, true, FOURTH_NONE>, bodies.reorder[0][0][1], &ColourVectorRow<3, true, FOURTH_NONE>},
        {&ColourRow<BYTE, BYTE, 3, false, FOURTH_OPAQUE>, bodies.reorder[0][1][0],
         &ColourVectorRow<3, false, FOURTH_OPAQUE>},
        {&ColourRow<BYTE, BYTE, 3, true, FOURTH_OPAQUE>, bodies.reorder[0][1][1], &ColourVectorRow<3, true, FOURTH_OPAQUE>},
        {&ColourRow<BYTE, BYTE, 4, false, FOURTH_NONE>, bodies.reorder[1][0][0], &ColourVectorRow<4, false, FOURTH_NONE>},
        {&ColourRow<BYTE, BYTE, 4, true, FOURTH_NONE>, bodies.reorder[1][0][1], &ColourVectorRow<4, true, FOURTH_NONE>},
        {&ColourRow<BYTE, BYTE, 4, false, FOURTH_CARRIED>, bodies.reorder[1][1][0],
         &ColourVectorRow<4, false, FOURTH_CARRIED>},
        {&ColourRow<BYTE, BYTE, 4, true, FOURTH_CARRIED>, bodies.reorder[1][1][1],
         &ColourVectorRow<4, true, FOURTH_CARRIED>},
    };
    for (const sBytesForm& f : forms) {
        if (f.portable != row)
            continue;
        if (f.body == nullptr || !identity)
            return row;
        c->bytes = f.body;
        return f.vector;
    }
    const int32_t srcMax = LargestSampleValue(srcBpp);
    if (!shape.Rescales(0, srcMax) || !shape.Rescales(1, srcMax) || !shape.Rescales(2, srcMax))
        return row;
    if (row == &ColourRow<WORD, BYTE, 6, false, FOURTH_NONE> && bodies.words8 != nullptr) {
        c->rescale = shape.rescale;
        c->words = bodies.words8;
        return &WordsVectorRow;
    }
    struct sDeepForm {
        RgbRowFunction portable;
        ConvDeepBody body;
        RgbRowFunction vector;
    };
    const sDeepForm deep[] = {
        {&ColourRow<WORD, BYTE, 6, true, FOURTH_NONE>, bodies.deep[1][0], &DeepVectorRow<true, FOURTH_NONE>},
        {&ColourRow<WORD, BYTE, 6, false, FOURTH_OPAQUE>, bodies.deep[0][1], &DeepVectorRow<false, FOURTH_OPAQUE>},
        {&ColourRow<WORD, BYTE, 6, true, FOURTH_OPAQUE>, bodies.deep[1][1], &DeepVectorRow<true, FOURTH_OPAQUE>},
    };
    for (const sDeepForm& f : deep) {
        if (f.portable != row || f.body == nullptr)
            continue;
        c->rescale = shape.rescale;
        c->deep = f.body;
        return f.vector;
    }
    return row;
}

// Placement arithmetic wraps in 32 bits like the view's own addressing.
int32_t DstRow(int32_t stepY, int32_t y, int32_t startY)
{
    return static_cast<int32_t>(static_cast<uint32_t>(stepY) * static_cast<uint32_t>(y) +
                                static_cast<uint32_t>(startY));
}

template <typename S>
void PlanarRow(const unsigned char* const src[3], unsigned char* const dst[3], int32_t width, const sPlanarRow& r)
{
    const ptrdiff_t step = r.step;
    const WORD* const* lut = r.lut;
    const unsigned char* s0 = src[0];
    const unsigned char* s1 = src[1];
    const unsigned char* s2 = src[2];
    unsigned char* d0 = dst[0];
    unsigned char* d1 = dst[1];
    unsigned char* d2 = dst[2];
    for (int32_t x = 0; x < width; ++x) {
        Store<BYTE>(d0, lut[0][Load<S>(s0)]);
        Store<BYTE>(d1, lut[1][Load<S>(s1)]);
        Store<BYTE>(d2, lut[2][Load<S>(s2)]);
        s0 += sizeof(S);
        s1 += sizeof(S);
        s2 += sizeof(S);
        d0 += step;
        d1 += step;
        d2 += step;
    }
}

// Identity tables leave 8-bit planes as they are.
void PlanarCopyRow(const unsigned char* const src[3], unsigned char* const dst[3], int32_t width, const sPlanarRow& r)
{
    for (int k = 0; k < 3; ++k)
        r.bytes(src[k], dst[k], width);
}

// Each plane through its own table's register form; the portable loop
// finishes all three from the shortest plane's end.
void PlanarWordsRow(const unsigned char* const src[3], unsigned char* const dst[3], int32_t width, const sPlanarRow& r)
{
    int32_t done = width;
    for (int k = 0; k < 3; ++k) {
        const int32_t d = r.words(src[k], dst[k], width, r.rescale, r.lut[k]);
        done = d < done ? d : done;
    }
    const unsigned char* const restSrc[3] = {src[0] + 2 * static_cast<ptrdiff_t>(done),
                                             src[1] + 2 * static_cast<ptrdiff_t>(done),
                                             src[2] + 2 * static_cast<ptrdiff_t>(done)};
    unsigned char* const restDst[3] = {dst[0] + done, dst[1] + done, dst[2] + done};
    PlanarRow<WORD>(restSrc, restDst, width - done, r);
}

// Bytes one packed row call reads: sources above 8 bits are read as three
// words per pixel, 8-bit ones as three or four bytes.
int64_t PackedReadBytes(uint32_t srcFormat, int32_t srcBpp)
{
    return srcBpp > 8 ? 6 : (IsFourByte(srcFormat) ? 4 : 3);
}

}  // namespace

void PickRgbRow(uint32_t srcFormat, uint32_t dstFormat, int32_t srcBpp, int32_t dstBpp, int32_t stepX,
                const WORD* const lut[3], const sConvLutShape& shape, uintptr_t planeDistance, KvCpuLevel level,
                sRgbRow* c)
{
    int dstPixel = 0;
    c->lut0 = lut[0];
    c->lut1 = lut[1];
    c->lut2 = lut[2];
    c->planeDistance = planeDistance;
    c->bytes = nullptr;
    c->words = nullptr;
    c->deep = nullptr;
    c->convert = PickPackedRow(srcFormat, dstFormat, srcBpp, dstBpp, &dstPixel);
    c->dstPixel = dstPixel;
    c->dstStep = static_cast<ptrdiff_t>(stepX) * dstPixel;
    if (c->convert == nullptr || stepX != 1)
        return;
    c->convert = VectorForm(c->convert, c, shape, ConvRowBodies(level), srcBpp);
}

CImgProcConvRGB::CImgProcConvRGB() {}

CImgProcConvRGB::~CImgProcConvRGB() {}

bool CImgProcConvRGB::OnConvert()
{
    mpImgProc->createLookUpTables(1.0, 1.0, 1.0, 1.0);
    KV_ASSERT(mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGB8_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_BGR8_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGBA8_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_BGRA8_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGB10_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_BGR10_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGB12_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_BGR12_PACKED,
              "ImgProcConvRGB");

    const int32_t width = mRectDst.Width();
    // Plane distance of a planar destination: the region's pitch times the
    // run's height, in 32 bits (not the full plane of the view).
    const uint32_t plane =
        static_cast<uint32_t>(mpMemDst->GetPitch()) * static_cast<uint32_t>(mRectDst.Height());
    const WORD* const lut[3] = {mpImgProc->mpLUT[0], mpImgProc->mpLUT[1], mpImgProc->mpLUT[2]};
    sRgbRow context;
    PickRgbRow(mpMemSrc->miPixelFormat, mpMemDst->miPixelFormat, mpMemSrc->miBppEff, mpMemDst->miBppEff, miStepX, lut,
               mpImgProc->mLutShape, static_cast<uintptr_t>(static_cast<intptr_t>(static_cast<int32_t>(plane))), KvCpuActive(), &context);
    const RgbRowFunction row = context.convert;

    // A planar destination is written as three planes from one pointer; when
    // one of them would leave the buffer, all three go through scratch rows
    // that lie WriteStride() apart.
    const bool planes = IsPlanar(mpMemDst->miPixelFormat);
    mRowGuard.Begin(*mpMemSrc, *mpMemDst,
                    CRowGuard::Span(width, 1, PackedReadBytes(mpMemSrc->miPixelFormat, mpMemSrc->miBppEff)),
                    CRowGuard::Span(width, miStepX, context.dstPixel));
    const int32_t top = mRectSrc.top;
    const sEvenRows even = CRowGuard::EvenRows(*mpMemSrc, 0, top, mRectSrc.bottom, *mpMemDst, miDstStartX,
                                               DstRow(miStepY, top, miDstStartY), miStepY);
    // Packed rows that lie back to back in both buffers go through in long
    // calls: each pixel depends on its own source pixel only.
    const int64_t rows = static_cast<int64_t>(mRectSrc.bottom) - top;
    const int64_t join = planes || row == nullptr || miStepX != 1 || rows < 2 ? 1
                                                                               : mRowGuard.JoinableRows(even, rows, width);
    if (join > 1) {
        for (int64_t k = 0; k < rows; k += join) {
            const int64_t n = rows - k < join ? rows - k : join;
            row(even.Src(k), even.Dst(k), static_cast<int32_t>(n * width), context);
        }
        return true;
    }
    for (int32_t y = top; y < mRectSrc.bottom; ++y) {
        unsigned char* dst =
            even.on ? even.Dst(y - top) : mpMemDst->GetImagePointer(miDstStartX, DstRow(miStepY, y, miDstStartY), 0);
        const unsigned char* src = even.on ? even.Src(y - top) : mpMemSrc->GetImagePointer(0, y, 0);
        if (dst == nullptr || src == nullptr)
            return true;
        if (row == nullptr)
            continue;
        if (!planes) {
            row(mRowGuard.Read(src, 0), mRowGuard.Write(dst, 0), width, context);
        } else {
            unsigned char* plane[3];
            for (int k = 0; k < 3; ++k)
                plane[k] = reinterpret_cast<unsigned char*>(reinterpret_cast<uintptr_t>(dst) +
                                                            static_cast<uintptr_t>(k) * context.planeDistance);
            if (mRowGuard.WriteInside(plane[0]) && mRowGuard.WriteInside(plane[1]) && mRowGuard.WriteInside(plane[2])) {
                row(mRowGuard.Read(src, 0), dst, width, context);
            } else {
                sRgbRow scratch = context;
                scratch.planeDistance = static_cast<uintptr_t>(mRowGuard.WriteStride());
                for (int k = 0; k < 3; ++k)
                    plane[k] = mRowGuard.WriteCopy(plane[k], k);
                row(mRowGuard.Read(src, 0), plane[0], width, scratch);
            }
        }
        mRowGuard.Flush();
    }
    return true;
}

void PickPlanarRow(int32_t srcBpp, int32_t dstBpp, int32_t stepX, const uint16_t* const lut[3],
                   const sConvLutShape& shape, KvCpuLevel level, sPlanarRow* r)
{
    r->step = stepX;
    r->convert = nullptr;
    r->bytes = nullptr;
    r->words = nullptr;
    for (int k = 0; k < 3; ++k)
        r->lut[k] = lut[k];
    const sConvRowBodies& bodies = ConvRowBodies(level);
    if (srcBpp > 8 && dstBpp == 8) {
        r->convert = &PlanarRow<WORD>;
        const int32_t srcMax = LargestSampleValue(srcBpp);
        if (stepX == 1 && bodies.words8 != nullptr && shape.Rescales(0, srcMax) && shape.Rescales(1, srcMax) &&
            shape.Rescales(2, srcMax)) {
            r->rescale = shape.rescale;
            r->words = bodies.words8;
            r->convert = &PlanarWordsRow;
        }
    } else if (srcBpp == 8 && dstBpp == 8) {
        r->convert = &PlanarRow<BYTE>;
        if (stepX == 1 && bodies.copy != nullptr && shape.identity8[0] && shape.identity8[1] &&
            shape.identity8[2]) {
            r->bytes = bodies.copy;
            r->convert = &PlanarCopyRow;
        }
    }
}

CImgProcConvRGBPlanar::CImgProcConvRGBPlanar() {}

CImgProcConvRGBPlanar::~CImgProcConvRGBPlanar() {}

bool CImgProcConvRGBPlanar::OnConvert()
{
    // RGB16_PLANAR is admitted here although no catalogue entry sends it.
    KV_ASSERT(mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGB8_PLANAR ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGB10_PLANAR ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGB12_PLANAR ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_RGB16_PLANAR,
              "ImgProcConvRGB");
    KV_ASSERT(mpMemDst->miPixelFormat == KORVA_PIXTYPE_RGB8_PLANAR, "ImgProcConvRGB");
    mpImgProc->createLookUpTables(1.0, 1.0, 1.0, 1.0);

    const int32_t width = mRectDst.Width();
    const WORD* const lut[3] = {mpImgProc->mpLUT[0], mpImgProc->mpLUT[1], mpImgProc->mpLUT[2]};
    sPlanarRow planarRow;
    PickPlanarRow(mpMemSrc->miBppEff, mpMemDst->miBppEff, miStepX, lut, mpImgProc->mLutShape, KvCpuActive(),
                  &planarRow);
    const PlanarRowFunction row = planarRow.convert;
    const int32_t srcBpp = mpMemSrc->miBppEff;
    mRowGuard.Begin(*mpMemSrc, *mpMemDst, CRowGuard::Span(width, 1, srcBpp > 8 ? 2 : 1),
                    CRowGuard::Span(width, miStepX, 1));

    for (int32_t y = mRectSrc.top; y < mRectSrc.bottom; ++y) {
        const int32_t dstY = DstRow(miStepY, y, miDstStartY);
        unsigned char* dst[3];
        const unsigned char* src[3];
        for (int32_t k = 0; k < 3; ++k)
            dst[k] = mpMemDst->GetImagePointer(miDstStartX, dstY, k);
        for (int32_t k = 0; k < 3; ++k)
            src[k] = mpMemSrc->GetImagePointer(0, y, k);
        if (dst[0] == nullptr || dst[1] == nullptr || dst[2] == nullptr || src[0] == nullptr || src[1] == nullptr ||
            src[2] == nullptr)
            return true;
        if (row == nullptr)
            continue;
        const unsigned char* in[3];
        unsigned char* out[3];
        for (int32_t k = 0; k < 3; ++k) {
            in[k] = mRowGuard.Read(src[k], k);
            out[k] = mRowGuard.Write(dst[k], k);
        }
        row(in, out, width, planarRow);
        mRowGuard.Flush();
    }
    return true;
}

double CImgProcConvRGB::OnAverage()
{
    CAverageHistogram::SampleRgb(*this);
    return 0.0;
}

double CImgProcConvRGBPlanar::OnAverage()
{
    CAverageHistogram::SamplePlanar(*this);
    return 0.0;
}

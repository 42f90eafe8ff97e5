#include "ImgProcConvYUV.h"

#include <cstddef>
#include <cstdint>

#include "AverageHistogram.h"
#include "ImgProc.h"
#include "KorvaPixelFormats.h"
#include "KvAssert.h"
#include "KvMath.h"
#include "MemoryAccess.h"
#include "ImgProcConvRows.h"

namespace {

// Chroma terms of one group in 16.16 fixed point. Neutral chroma is 127, and
// there is no rounding term: the arithmetic shift rounds toward -infinity.
struct Chroma {
    int64_t red;    // v * 1.403, still scaled
    int64_t green;  // u * 0.344 + v * 0.714, already shifted
    int64_t blue;   // u * 1.773, still scaled
};

inline Chroma MakeChroma(unsigned char u8, unsigned char v8)
{
    const int64_t u = static_cast<int64_t>(u8) - 127;
    const int64_t v = static_cast<int64_t>(v8) - 127;
    Chroma c;
    c.red = v * 91947;
    c.green = (u * 22544 + v * 46791) >> 16;
    c.blue = u * 116195;
    return c;
}

inline unsigned char Saturate(int64_t v)
{
    return static_cast<unsigned char>(v < 0 ? 0 : (v > 255 ? 255 : v));
}

inline unsigned char Limit255(unsigned v)
{
    return static_cast<unsigned char>(v > 255u ? 255u : v);
}

// One colour pixel: Red and Blue are the byte offsets of the two outer
// samples, Bytes the pixel width. Alpha is written as 0.
template <int Red, int Blue, int Bytes>
inline void PutColour(unsigned char* p, uint16_t luma, const Chroma& c)
{
    const int64_t scaled = static_cast<int64_t>(luma) * 65536;
    p[Red] = Saturate((scaled + c.red) >> 16);
    p[1] = Saturate(static_cast<int64_t>(luma) - c.green);
    p[Blue] = Saturate((scaled + c.blue) >> 16);
    if (Bytes == 4)
        p[3] = 0;
}

// --- colour destinations ----------------------------------------------------

template <int Red, int Blue, int Bytes>
void Yuv444ToColour(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    for (int32_t x = 0; x < width; ++x) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        PutColour<Red, Blue, Bytes>(dst + x * dstStep, lut[s[1]], MakeChroma(s[0], s[2]));
    }
}

// Blocks of two groups, four pixels. The last block may lie partly behind the
// row's end (widths of 2 mod 4); it is converted whole all the same.
template <int Red, int Blue, int Bytes>
void Yuv422ToColour(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    const int64_t end = static_cast<int64_t>(width / 2) * 4;
    for (int64_t at = 0; at < end; at += 8) {
        const unsigned char* s = src + at;
        unsigned char* d = dst + (at / 2) * dstStep;
        const Chroma c0 = MakeChroma(s[0], s[2]);
        const Chroma c1 = MakeChroma(s[4], s[6]);
        PutColour<Red, Blue, Bytes>(d, lut[s[1]], c0);
        PutColour<Red, Blue, Bytes>(d + dstStep, lut[s[3]], c0);
        PutColour<Red, Blue, Bytes>(d + 2 * dstStep, lut[s[5]], c1);
        PutColour<Red, Blue, Bytes>(d + 3 * dstStep, lut[s[7]], c1);
    }
}

// Groups of four pixels; the last width mod 4 pixels are not written.
template <int Red, int Blue, int Bytes>
void Yuv411ToColour(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    const int64_t end = static_cast<int64_t>(width / 4) * 6;
    for (int64_t at = 0; at < end; at += 6) {
        const unsigned char* s = src + at;
        unsigned char* d = dst + (at / 6) * 4 * dstStep;
        const Chroma c = MakeChroma(s[0], s[3]);
        PutColour<Red, Blue, Bytes>(d, lut[s[1]], c);
        PutColour<Red, Blue, Bytes>(d + dstStep, lut[s[2]], c);
        PutColour<Red, Blue, Bytes>(d + 2 * dstStep, lut[s[4]], c);
        PutColour<Red, Blue, Bytes>(d + 3 * dstStep, lut[s[5]], c);
    }
}

// --- grey destination -------------------------------------------------------

// The 444 grey path goes through the table twice; the subsampled ones once.
void Yuv444ToGrey(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    for (int32_t x = 0; x < width; ++x) {
        const unsigned char once = Limit255(lut[src[3 * static_cast<std::ptrdiff_t>(x) + 1]]);
        dst[x * dstStep] = static_cast<unsigned char>(lut[once]);
    }
}

void Yuv422ToGrey(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    const int64_t end = static_cast<int64_t>(width / 2) * 4;
    for (int64_t at = 0; at < end; at += 8) {
        const unsigned char* s = src + at;
        unsigned char* d = dst + (at / 2) * dstStep;
        d[0] = Limit255(lut[s[1]]);
        d[dstStep] = Limit255(lut[s[3]]);
        d[2 * dstStep] = Limit255(lut[s[5]]);
        d[3 * dstStep] = Limit255(lut[s[7]]);
    }
}

void Yuv411ToGrey(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    const int64_t end = static_cast<int64_t>(width / 4) * 6;
    for (int64_t at = 0; at < end; at += 6) {
        const unsigned char* s = src + at;
        unsigned char* d = dst + (at / 6) * 4 * dstStep;
        d[0] = Limit255(lut[s[1]]);
        d[dstStep] = Limit255(lut[s[2]]);
        d[2 * dstStep] = Limit255(lut[s[4]]);
        d[3 * dstStep] = Limit255(lut[s[5]]);
    }
}

// --- same format: luma through the table, chroma copied, no clamp ------------

void Yuv444ToSame(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    for (int32_t x = 0; x < width; ++x) {
        const unsigned char* s = src + 3 * static_cast<std::ptrdiff_t>(x);
        unsigned char* d = dst + x * dstStep;
        d[0] = s[0];
        d[1] = static_cast<unsigned char>(lut[s[1]]);
        d[2] = s[2];
    }
}

// A block keeps its own byte order; only the blocks' order follows dstStep.
void Yuv422ToSame(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    const int64_t end = static_cast<int64_t>(width / 2) * 4;
    for (int64_t at = 0; at < end; at += 8) {
        const unsigned char* s = src + at;
        unsigned char* d = dst + (at / 8) * dstStep;
        d[0] = s[0];
        d[1] = static_cast<unsigned char>(lut[s[1]]);
        d[2] = s[2];
        d[3] = static_cast<unsigned char>(lut[s[3]]);
        d[4] = s[4];
        d[5] = static_cast<unsigned char>(lut[s[5]]);
        d[6] = s[6];
        d[7] = static_cast<unsigned char>(lut[s[7]]);
    }
}

void Yuv411ToSame(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const std::ptrdiff_t dstStep = row.dstStep;
    const uint16_t* lut = row.lut;
    const int64_t end = static_cast<int64_t>(width / 4) * 6;
    for (int64_t at = 0; at < end; at += 6) {
        const unsigned char* s = src + at;
        unsigned char* d = dst + (at / 6) * dstStep;
        d[0] = s[0];
        d[1] = static_cast<unsigned char>(lut[s[1]]);
        d[2] = static_cast<unsigned char>(lut[s[2]]);
        d[3] = s[3];
        d[4] = static_cast<unsigned char>(lut[s[4]]);
        d[5] = static_cast<unsigned char>(lut[s[5]]);
    }
}

enum eYuvSource { YUV_411, YUV_422, YUV_444 };

// Vector bodies in front of the portable loops, which finish the rows in
// their blocks and groups.
template <int Red, int Blue, int Bytes>
void Yuv422ToColourVector(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const int32_t done = row.bytes(src, dst, width);
    Yuv422ToColour<Red, Blue, Bytes>(src + 2 * static_cast<std::ptrdiff_t>(done), dst + done * row.dstStep,
                                     width - done, row);
}

template <int Red, int Blue, int Bytes>
void Yuv444ToColourVector(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const int32_t done = row.bytes(src, dst, width);
    Yuv444ToColour<Red, Blue, Bytes>(src + 3 * static_cast<std::ptrdiff_t>(done), dst + done * row.dstStep,
                                     width - done, row);
}

template <int Red, int Blue, int Bytes>
void Yuv411ToColourVector(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const int32_t done = row.bytes(src, dst, width);
    Yuv411ToColour<Red, Blue, Bytes>(src + 6 * static_cast<std::ptrdiff_t>(done / 4), dst + done * row.dstStep,
                                     width - done, row);
}

// With an identity table grey is the luma bytes, which the bodies gather.
template <eYuvSource Source>
void YuvToGreyVector(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row)
{
    const int32_t done = row.bytes(src, dst, width);
    const std::ptrdiff_t read = Source == YUV_411 ? 6 * static_cast<std::ptrdiff_t>(done / 4)
                                                  : (Source == YUV_422 ? 2 : 3) * static_cast<std::ptrdiff_t>(done);
    const YuvRowConverter rest = Source == YUV_411 ? Yuv411ToGrey : Source == YUV_422 ? Yuv422ToGrey : Yuv444ToGrey;
    rest(src + read, dst + done, width - done, row);
}

template <int Red, int Blue, int Bytes>
YuvRowConverter VectorRow(eYuvSource source)
{
    switch (source) {
    case YUV_411:
        return Yuv411ToColourVector<Red, Blue, Bytes>;
    case YUV_422:
        return Yuv422ToColourVector<Red, Blue, Bytes>;
    default:
        return Yuv444ToColourVector<Red, Blue, Bytes>;
    }
}

// --- selection --------------------------------------------------------------

template <int Red, int Blue, int Bytes>
YuvRowConverter ColourRow(eYuvSource source)
{
    switch (source) {
    case YUV_411:
        return Yuv411ToColour<Red, Blue, Bytes>;
    case YUV_422:
        return Yuv422ToColour<Red, Blue, Bytes>;
    default:
        return Yuv444ToColour<Red, Blue, Bytes>;
    }
}

}  // namespace

void PickYuvRow(uint32_t srcFormat, uint32_t dstFormat, int32_t stepX, const uint16_t* lut,
                const sConvLutShape& shape, KvCpuLevel level, sYuvRow* row)
{
    // Any other destination, a different YUV format included, counts as
    // three-byte blue-first.
    const bool grey = dstFormat == static_cast<uint32_t>(KORVA_PIXTYPE_MONO8);
    const bool redFirst = dstFormat == static_cast<uint32_t>(KORVA_PIXTYPE_RGBA8_PACKED) ||
                          dstFormat == static_cast<uint32_t>(KORVA_PIXTYPE_RGB8_PACKED);
    const bool fourBytes = dstFormat == static_cast<uint32_t>(KORVA_PIXTYPE_RGBA8_PACKED) ||
                           dstFormat == static_cast<uint32_t>(KORVA_PIXTYPE_BGRA8_PACKED);
    const eYuvSource source = srcFormat == static_cast<uint32_t>(KORVA_PIXTYPE_YUV411_PACKED)   ? YUV_411
                              : srcFormat == static_cast<uint32_t>(KORVA_PIXTYPE_YUV422_PACKED) ? YUV_422
                                                                                                : YUV_444;

    // The 444 loops step stepX whole pixels; the subsampled ones only take
    // its direction, one unit (pixel, or group when the layout stays) at a time.
    YuvRowConverter convertRow;
    std::ptrdiff_t unit;
    if (srcFormat == dstFormat) {
        static const YuvRowConverter same[] = {Yuv411ToSame, Yuv422ToSame, Yuv444ToSame};
        static const std::ptrdiff_t groupBytes[] = {6, 8, 3};
        convertRow = same[source];
        unit = groupBytes[source];
    } else if (grey) {
        static const YuvRowConverter toGrey[] = {Yuv411ToGrey, Yuv422ToGrey, Yuv444ToGrey};
        convertRow = toGrey[source];
        unit = 1;
    } else if (redFirst) {
        convertRow = fourBytes ? ColourRow<0, 2, 4>(source) : ColourRow<0, 2, 3>(source);
        unit = fourBytes ? 4 : 3;
    } else {
        convertRow = fourBytes ? ColourRow<2, 0, 4>(source) : ColourRow<2, 0, 3>(source);
        unit = fourBytes ? 4 : 3;
    }
    row->convert = convertRow;
    row->unit = unit;
    row->dstStep = source == YUV_444 ? static_cast<std::ptrdiff_t>(stepX) * unit : (stepX < 1 ? -unit : unit);
    row->lut = lut;
    row->bytes = nullptr;

    // Grey and colour rows walking forward, one pixel a step, have vector
    // bodies.
    if (srcFormat == dstFormat || row->dstStep != unit || !shape.identity8[0])
        return;
    const sConvRowBodies& bodies = ConvRowBodies(level);
    if (grey) {
        static const YuvRowConverter greyVector[] = {YuvToGreyVector<YUV_411>, YuvToGreyVector<YUV_422>,
                                                     YuvToGreyVector<YUV_444>};
        if (bodies.yuvGrey[source] != nullptr) {
            row->bytes = bodies.yuvGrey[source];
            row->convert = greyVector[source];
        }
        return;
    }
    const ConvBytesBody(&set)[2][2] = source == YUV_411   ? bodies.yuv411
                                      : source == YUV_422 ? bodies.yuv422
                                                          : bodies.yuv444;
    const ConvBytesBody body = set[redFirst ? 1 : 0][fourBytes ? 1 : 0];
    if (body == nullptr)
        return;
    row->bytes = body;
    if (redFirst)
        row->convert = fourBytes ? VectorRow<0, 2, 4>(source) : VectorRow<0, 2, 3>(source);
    else
        row->convert = fourBytes ? VectorRow<2, 0, 4>(source) : VectorRow<2, 0, 3>(source);
}

namespace {

// Bytes one row call reads and writes. Each source is walked in blocks (a
// pixel, two groups, one group); a block yields `pixels` pixels, or itself
// unchanged when the format stays. `direction` is the step in units.
void RowSpans(uint32_t srcFormat, bool same, int32_t width, int64_t direction, int64_t unit, sRowSpan& read,
              sRowSpan& write)
{
    const int source = srcFormat == static_cast<uint32_t>(KORVA_PIXTYPE_YUV411_PACKED)   ? 0
                       : srcFormat == static_cast<uint32_t>(KORVA_PIXTYPE_YUV422_PACKED) ? 1
                                                                                         : 2;
    static const int64_t blockBytes[] = {6, 8, 3};
    static const int64_t pixels[] = {4, 4, 1};
    const int64_t blocks = source == 2 ? width : (source == 0 ? width / 4 : (width / 2 + 1) / 2);
    read = CRowGuard::Span(blocks, 1, blockBytes[source]);
    write = same ? CRowGuard::Span(blocks, direction, blockBytes[source])
                 : CRowGuard::Span(blocks * pixels[source], direction, unit);
}

}  // namespace

CImgProcConvYUV::CImgProcConvYUV() {}

CImgProcConvYUV::~CImgProcConvYUV() {}

bool CImgProcConvYUV::OnConvert()
{
    KV_ASSERT(mpMemSrc->miPixelFormat == KORVA_PIXTYPE_YUV411_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_YUV422_PACKED ||
                  mpMemSrc->miPixelFormat == KORVA_PIXTYPE_YUV444_PACKED,
              "ImgProcConvYUV");
    KV_ASSERT(mpMemDst->miPixelFormat == KORVA_PIXTYPE_RGB8_PACKED ||
                  mpMemDst->miPixelFormat == KORVA_PIXTYPE_BGR8_PACKED ||
                  mpMemDst->miPixelFormat == KORVA_PIXTYPE_RGBA8_PACKED ||
                  mpMemDst->miPixelFormat == KORVA_PIXTYPE_BGRA8_PACKED ||
                  mpMemDst->miPixelFormat == KORVA_PIXTYPE_MONO8 ||
                  mpMemDst->miPixelFormat == KORVA_PIXTYPE_YUV411_PACKED ||
                  mpMemDst->miPixelFormat == KORVA_PIXTYPE_YUV422_PACKED ||
                  mpMemDst->miPixelFormat == KORVA_PIXTYPE_YUV444_PACKED,
              "ImgProcConvYUV");

    const int32_t width = mRectDst.Width();
    mpImgProc->createLookUpTables(1.0, 1.0, 1.0, 1.0);
    sYuvRow row;
    PickYuvRow(mpMemSrc->miPixelFormat, mpMemDst->miPixelFormat, miStepX, mpImgProc->mpLUT[0], mpImgProc->mLutShape,
               KvCpuActive(), &row);
    sRowSpan readSpan, writeSpan;
    RowSpans(mpMemSrc->miPixelFormat, mpMemSrc->miPixelFormat == mpMemDst->miPixelFormat, width,
             row.dstStep / row.unit, row.unit, readSpan, writeSpan);
    mRowGuard.Begin(*mpMemSrc, *mpMemDst, readSpan, writeSpan);

    // Rows are counted signed: an empty or inverted rectangle visits none.
    const int32_t top = mRectSrc.top;
    const sEvenRows even = CRowGuard::EvenRows(*mpMemSrc, 0, top, mRectSrc.bottom, *mpMemDst, miDstStartX,
                                               KvWrap32(static_cast<uint32_t>(miStepY) * static_cast<uint32_t>(top) +
                                                        static_cast<uint32_t>(miDstStartY)),
                                               miStepY);
    for (int32_t y = top; y < mRectSrc.bottom; ++y) {
        const int32_t dstY = KvWrap32(static_cast<uint32_t>(miStepY) * static_cast<uint32_t>(y) +
                                    static_cast<uint32_t>(miDstStartY));
        unsigned char* dst = even.on ? even.Dst(y - top) : mpMemDst->GetImagePointer(miDstStartX, dstY, 0);
        const unsigned char* src = even.on ? even.Src(y - top) : mpMemSrc->GetImagePointer(0, y, 0);
        // A missing row ends the run; the rows written so far stay.
        if (dst == nullptr || src == nullptr)
            return true;
        row.convert(mRowGuard.Read(src, 0), mRowGuard.Write(dst, 0), width, row);
        mRowGuard.Flush();
    }
    return true;
}

double CImgProcConvYUV::OnAverage()
{
    CAverageHistogram::SampleYuv(*this);
    return 0.0;
}

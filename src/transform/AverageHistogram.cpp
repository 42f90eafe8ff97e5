#include "AverageHistogram.h"

#include <cmath>
#include <cstring>

#include "ImgProcConv.h"
#include "KorvaPixelFormats.h"
#include "KvMath.h"
#include "MemoryAccess.h"

namespace {

enum : int {
    kCellTotal = 65536,
    kCellValueSum = 65539,
    kCellCount0 = 65542,
    kCellSum0 = 65545,
};

template <typename T>
int32_t Load(const unsigned char* p)
{
    T value;
    std::memcpy(&value, p, sizeof value);
    return value;
}

// Sites next to the region (a sample or a row further) are read as the
// sampling rules say. A row whose sites would reach outside the source
// buffer is read from a copy in which those bytes are 0; the check is made
// once per row.
void GuardRows(CImgProcConv& converter, int64_t bytes)
{
    CMemoryAccess& src = *converter.mpMemSrc;
    converter.mRowGuard.Begin(src, src, sRowSpan{0, static_cast<std::ptrdiff_t>(bytes > 0 ? bytes : 0)},
                              sRowSpan{0, 0}, 2, 0);
}

struct Region {
    explicit Region(const CImgProcConv& converter)
        : x0(converter.mRectAverage.left),
          y0(converter.mRectAverage.top),
          width(converter.mRectAverage.Width()),
          height(converter.mRectAverage.Height()),
          step(converter.miAverageStep)
    {
    }
    // Only the upper half of the region is measured.
    int32_t RowEnd() const { return KvAdd32(y0, height / 2); }
    int32_t x0, y0, width, height, step;
};

}  // namespace

CAverageHistogram::CAverageHistogram(CImgProcConv& converter) : mpCells(converter.mpHistogram)
{
    const int32_t largest = KvTruncToInt32(std::pow(2.0, converter.mpMemSrc->miBppEff) - 1.0);
    miThreshold1 = KvTruncToInt32(static_cast<float>(largest) * 0.9375f);
    miThreshold2 = KvTruncToInt32(static_cast<float>(largest) * 0.9961f);
}

void CAverageHistogram::Record(int32_t value, int32_t valueSumIncrement)
{
    // Sample values come from at most 16 bits and index the histogram directly.
    int32_t* cells = mpCells;
    cells[kCellTotal] = KvAdd32(cells[kCellTotal], 1);
    cells[value] = KvAdd32(cells[value], 1);
    cells[kCellValueSum] = KvAdd32(cells[kCellValueSum], valueSumIncrement);
    const int n = value < miThreshold1 ? 0 : (value < miThreshold2 ? 1 : 2);
    cells[kCellCount0 + n] = KvAdd32(cells[kCellCount0 + n], 1);
    cells[kCellSum0 + n] = KvAdd32(cells[kCellSum0 + n], value);
}

template <typename T>
void CAverageHistogram::SampleFourSites(CImgProcConv& converter, CAverageHistogram& histogram)
{
    CMemoryAccess& src = *converter.mpMemSrc;
    const Region region(converter);
    GuardRows(converter, (static_cast<int64_t>(region.width) + 2) * static_cast<int64_t>(sizeof(T)));
    for (int32_t y = region.y0; y < region.RowEnd(); y = KvAdd32(y, region.step)) {
        const unsigned char* p = src.GetImagePointer(region.x0, y, 0);
        const unsigned char* q = src.GetImagePointer(region.x0, KvAdd32(y, 1), 0);
        if (p == nullptr || q == nullptr)
            continue;
        p = converter.mRowGuard.Read(p, 0);
        q = converter.mRowGuard.Read(q, 1);
        for (int32_t x = 0; x < region.width; x += region.step) {
            int32_t v = Load<T>(p + x * sizeof(T));
            const int32_t b = Load<T>(p + (x + 2) * sizeof(T));
            const int32_t c = Load<T>(q + x * sizeof(T));
            const int32_t d = Load<T>(q + (x + 2) * sizeof(T));
            v = v > b ? v : b;
            v = v > c ? v : c;
            v = v > d ? v : d;
            histogram.Record(v, v);
        }
    }
}

void CAverageHistogram::SamplePacked(CImgProcConv& converter, CAverageHistogram& histogram)
{
    CMemoryAccess& src = *converter.mpMemSrc;
    const Region region(converter);
    const int32_t shift = src.miBppEff - 8;
    const int32_t mask = shift == 2 ? 0x33 : (shift == 4 ? 0xFF : 0);
    const int32_t odd = region.x0 & 1;
    // One value of a 3-byte group: its first pixel at even region starts,
    // its second at odd ones.
    auto value = [shift, mask, odd](const unsigned char* g) {
        const int32_t m = g[1] & mask;
        return odd == 0 ? ((g[0] << shift) | (m & 15)) : ((g[2] << shift) | (m >> 4));
    };
    const int32_t groups = region.width / 2;
    GuardRows(converter, groups > 0 ? 3 * static_cast<int64_t>(groups) + 6 : 0);
    for (int32_t y = region.y0; y < region.RowEnd(); y = KvAdd32(y, region.step)) {
        const unsigned char* p = src.GetImagePointer(region.x0, y, 0);
        const unsigned char* q = src.GetImagePointer(region.x0, KvAdd32(y, 1), 0);
        if (p == nullptr || q == nullptr)
            continue;
        // An odd index addresses the middle of its pair: back to the group start.
        p = converter.mRowGuard.Read(p - odd, 0);
        q = converter.mRowGuard.Read(q - odd, 1);
        for (int32_t g = 0; g < groups; g += region.step) {
            int32_t v = value(p + 3 * g);
            const int32_t b = value(p + 3 * g + 6);
            const int32_t c = value(q + 3 * g);
            const int32_t d = value(q + 3 * g + 6);
            v = v > b ? v : b;
            v = v > c ? v : c;
            v = v > d ? v : d;
            histogram.Record(v, 1);
        }
    }
}

void CAverageHistogram::SampleMono(CImgProcConv& converter, bool packedAllowed)
{
    CAverageHistogram histogram(converter);
    CMemoryAccess& src = *converter.mpMemSrc;
    if (packedAllowed &&
        (src.miPixelFormat == KORVA_PIXTYPE_MONO10_PACKED || src.miPixelFormat == KORVA_PIXTYPE_MONO12_PACKED))
        SamplePacked(converter, histogram);
    else if (src.mdBytePerPixel == 1.0)
        SampleFourSites<uint8_t>(converter, histogram);
    else if (src.miBppEff > 8)
        SampleFourSites<uint16_t>(converter, histogram);
}

template <typename T>
void CAverageHistogram::SampleRgbPixels(CImgProcConv& converter, CAverageHistogram& histogram, int pixelSize,
                                        int count, bool redFirst)
{
    CMemoryAccess& src = *converter.mpMemSrc;
    const Region region(converter);
    const int red = redFirst ? 0 : 2;
    const int blue = redFirst ? 2 : 0;
    GuardRows(converter, count > 0 ? (static_cast<int64_t>(count) - 1) * pixelSize + 3 * sizeof(T) : 0);
    for (int32_t y = region.y0; y < region.RowEnd(); y = KvAdd32(y, region.step)) {
        const unsigned char* p = src.GetImagePointer(region.x0, y, 0);
        if (p == nullptr)
            continue;
        p = converter.mRowGuard.Read(p, 0);
        for (int32_t x = 0; x < count; x += region.step) {
            const unsigned char* pixel = p + static_cast<intptr_t>(x) * pixelSize;
            const int32_t r = Load<T>(pixel + red * sizeof(T));
            const int32_t g = Load<T>(pixel + sizeof(T));
            const int32_t b = Load<T>(pixel + blue * sizeof(T));
            const int32_t v = (29 * r) / 100 + (60 * g) / 100 + (11 * b) / 100;
            histogram.Record(v, v);
        }
    }
}

void CAverageHistogram::SampleRgb(CImgProcConv& converter)
{
    CAverageHistogram histogram(converter);
    CMemoryAccess& src = *converter.mpMemSrc;
    const uint32_t code = src.miPixelFormat;
    const bool redFirst = code == KORVA_PIXTYPE_RGB8_PACKED || code == KORVA_PIXTYPE_RGBA8_PACKED ||
                          code == KORVA_PIXTYPE_RGB10_PACKED || code == KORVA_PIXTYPE_RGB12_PACKED ||
                          code == KORVA_PIXTYPE_RGB10V1_PACKED || code == KORVA_PIXTYPE_RGB10V2_PACKED ||
                          code == 0x02300033u || code == 0x02240034u;
    const int32_t width = converter.mRectAverage.Width();
    // The count divides a width in pixels by the pixel size: only the first
    // part of each row is measured.
    if (code == KORVA_PIXTYPE_RGBA8_PACKED || code == KORVA_PIXTYPE_BGRA8_PACKED)
        SampleRgbPixels<uint8_t>(converter, histogram, 4, width >> 2, redFirst);
    else if (src.miBppEff == 8)
        SampleRgbPixels<uint8_t>(converter, histogram, 3, width / 3, redFirst);
    else if (src.miBppEff > 8)
        SampleRgbPixels<uint16_t>(converter, histogram, 6, width / 6, redFirst);
}

template <typename T>
void CAverageHistogram::SamplePlanarRow(CImgProcConv& converter, CAverageHistogram& histogram)
{
    CMemoryAccess& src = *converter.mpMemSrc;
    const Region region(converter);
    GuardRows(converter, (static_cast<int64_t>(region.width) + 2) * static_cast<int64_t>(sizeof(T)));
    for (int32_t y = region.y0; y < region.RowEnd(); y = KvAdd32(y, region.step)) {
        const unsigned char* p = src.GetImagePointer(region.x0, y, 0);
        if (p == nullptr)
            continue;
        p = converter.mRowGuard.Read(p, 0);
        for (int32_t x = 0; x < region.width; x += region.step) {
            const int32_t a = Load<T>(p + x * sizeof(T));
            const int32_t b = Load<T>(p + (x + 2) * sizeof(T));
            const int32_t v = a > b ? a : b;
            histogram.Record(v, v);
        }
    }
}

void CAverageHistogram::SamplePlanar(CImgProcConv& converter)
{
    CAverageHistogram histogram(converter);
    if (converter.mpMemSrc->miBppEff == 8)
        SamplePlanarRow<uint8_t>(converter, histogram);
    else
        SamplePlanarRow<uint16_t>(converter, histogram);
}

void CAverageHistogram::SampleYuv(CImgProcConv& converter)
{
    CAverageHistogram histogram(converter);
    CMemoryAccess& src = *converter.mpMemSrc;
    const Region region(converter);
    const uint32_t code = src.miPixelFormat;
    int32_t start, groupSize, groups;
    if (code == KORVA_PIXTYPE_YUV411_PACKED) {
        start = 2 * (region.x0 - 3 * (region.x0 / 6));
        groupSize = 6;
        groups = region.width / 6;
    } else if (code == KORVA_PIXTYPE_YUV422_PACKED || code == 0x02100032u) {
        start = KvAdd32(region.x0, region.x0 & 3);
        groupSize = 4;
        groups = region.width >> 2;
    } else if (code == KORVA_PIXTYPE_YUV444_PACKED) {
        start = KvAdd32(region.x0, region.x0 & 1);
        groupSize = 3;
        groups = region.width / 3;
    } else {
        return;
    }
    GuardRows(converter, groups > 0 ? (static_cast<int64_t>(groups) - 1) * groupSize + 2 : 0);
    for (int32_t y = region.y0; y < region.RowEnd(); y = KvAdd32(y, region.step)) {
        if (static_cast<uint32_t>(converter.mRectAverage.right) < static_cast<uint32_t>(start))
            return;
        const unsigned char* p = src.GetImagePointer(start, y, 0);
        if (p == nullptr)
            continue;
        p = converter.mRowGuard.Read(p, 0);
        for (int32_t i = 0; i < groups; ++i) {
            const unsigned char sample = p[static_cast<intptr_t>(i) * groupSize + 1];
            histogram.Record(sample, sample);
        }
    }
}

#include "ImgProcConvFilter.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <new>
#include <vector>

#include "ImgProc.h"
#include "MemoryAccess.h"

const int32_t Box3x3[9] = {1, 1, 1, 1, 1, 1, 1, 1, 1};
const int32_t Box3x3Div = 9;

const int32_t Box5x5[25] = {1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1};
const int32_t Box5x5Div = 25;

const int32_t Laplace3x3[9] = {
    0, 1,  0,
    1, -4, 1,
    0, 1,  0,
};
const int32_t Laplace3x3Div = 1;

const int32_t Laplace5x5[25] = {
    0, 0, 0,  0, 0,
    0, 0, 1,  0, 0,
    0, 1, -4, 1, 0,
    0, 0, 1,  0, 0,
    0, 0, 0,  0, 0,
};
const int32_t Laplace5x5Div = 1;

CImgProcConvFilter::CImgProcConvFilter()
    : miFilterType(-1),
      mpMatrix(nullptr),
      miMatrixDiv(1),
      miMatrixWidth(0),
      miMatrixHeight(0),
      mpRows(nullptr),
      mpSums(nullptr),
      miMatrixCount(0),
      miRowCount(0),
      miSumCount(0)
{
}

CImgProcConvFilter::~CImgProcConvFilter()
{
    Free();
}

bool CImgProcConvFilter::SetParameter(KORVA_ImageFilter filter, int* /*matrix*/, int /*divisor*/, int width,
                                      int height)
{
    // Negative values have no kernel either and are refused like those above 5.
    if (filter > 5 || filter <= 0)
        return false;
    if (filter == 5) {
        // A caller's own kernel is not taken; only its size is kept.
        miMatrixWidth = width;
        miMatrixHeight = height;
        return false;
    }

    const int32_t* table = nullptr;
    int32_t tableSize = 0;
    int32_t tableDiv = 0;
    miMatrixDiv = 1;
    switch (static_cast<int32_t>(filter)) {
    case 1:
        table = Box3x3;
        tableSize = 3;
        tableDiv = Box3x3Div;
        break;
    case 2:
        table = Box5x5;
        tableSize = 5;
        tableDiv = Box5x5Div;
        break;
    case 3:
        table = Laplace3x3;
        tableSize = 3;
        tableDiv = Laplace3x3Div;
        break;
    default:
        table = Laplace5x5;
        tableSize = 5;
        tableDiv = Laplace5x5Div;
        break;
    }
    miMatrixWidth = tableSize;
    miMatrixHeight = tableSize;

    // Free clears the sizes when a kernel was held, so every call after the
    // first allocates empty arrays.
    Free();
    if (miMatrixWidth != miMatrixHeight || tableDiv == 0)
        return false;

    const int32_t matrixCount = miMatrixWidth * miMatrixWidth;
    // Zeroed rather than left indeterminate: the constructor's call copies
    // no element into it.
    mpMatrix = new (std::nothrow) int32_t[matrixCount]();
    mpRows = new (std::nothrow) unsigned char*[miMatrixHeight]();
    mpSums = new (std::nothrow) int32_t[miMatrixHeight]();
    if (mpMatrix == nullptr || mpRows == nullptr || mpSums == nullptr)
        return false;
    miRowCount = miMatrixHeight;
    miSumCount = miMatrixHeight;

    // The caller's size decides how much is copied, but never past the
    // kernel table or the array just allocated.
    const int64_t wanted = static_cast<int64_t>(width) * height;
    const int64_t limit = std::min<int64_t>(tableSize * tableSize, matrixCount);
    const int64_t count = std::max<int64_t>(0, std::min(wanted, limit));
    std::memcpy(mpMatrix, table, static_cast<size_t>(count) * sizeof(int32_t));
    miMatrixCount = static_cast<int32_t>(count);

    miMatrixDiv = tableDiv;
    miMatrixWidth = width;
    miMatrixHeight = height;
    miFilterType = filter;
    return true;
}

void CImgProcConvFilter::Free()
{
    if (mpMatrix != nullptr) {
        delete[] mpMatrix;
        mpMatrix = nullptr;
        miMatrixWidth = 0;
        miMatrixHeight = 0;
    }
    miMatrixCount = 0;
    if (mpRows != nullptr) {
        delete[] mpRows;
        mpRows = nullptr;
    }
    miRowCount = 0;
    if (mpSums != nullptr) {
        delete[] mpSums;
        mpSums = nullptr;
    }
    miSumCount = 0;
}

namespace {

// The bytes of a view's buffer; a pointer from GetImagePointer is only
// followed where it lies inside them.
struct sSpan {
    uintptr_t begin;
    uintptr_t end;
};

sSpan BufferSpan(const CMemoryAccess* view)
{
    sSpan span = {0, 0};
    if (view->mpBasePointer != nullptr && view->miBufferLength > 0) {
        span.begin = reinterpret_cast<uintptr_t>(view->mpBasePointer);
        span.end = span.begin + static_cast<uintptr_t>(view->miBufferLength);
    }
    return span;
}

// Widens `count` samples of `bytes` bytes each from `row` into `out`. Samples
// that do not lie wholly inside the buffer, or a null row, read as 0.
void StageRow(const sSpan& span, const unsigned char* row, int bytes, int32_t* out, int64_t count)
{
    int64_t readable = 0;
    const uintptr_t at = reinterpret_cast<uintptr_t>(row);
    if (row != nullptr && at >= span.begin && at < span.end)
        readable = std::min<int64_t>(count, static_cast<int64_t>((span.end - at) / static_cast<uintptr_t>(bytes)));
    if (bytes == 1) {
        for (int64_t i = 0; i < readable; ++i)
            out[i] = row[i];
    } else {
        for (int64_t i = 0; i < readable; ++i)
            out[i] = row[2 * i] | row[2 * i + 1] << 8;
    }
    std::fill(out + readable, out + count, 0);
}

}  // namespace

bool CImgProcConvFilter::Convert()
{
    if (!Sanity())
        return false;
    if (mpMemSrc->GetImagePointer(0, 0, 0) == nullptr || mpMemDst->GetImagePointer(0, 0, 0) == nullptr)
        return false;
    if (mpMemSrc->miPixelFormat != mpMemDst->miPixelFormat)
        return false;
    if (mpMemSrc->miRoiWidth != mpMemDst->miRoiWidth || mpMemSrc->miRoiHeight != mpMemDst->miRoiHeight)
        return false;

    // Where the arithmetic itself cannot run, refuse before anything is written:
    // no divisor, no window, or a window larger than the kernel that was copied.
    const int32_t H = miMatrixHeight;
    if (miMatrixDiv == 0 || H <= 0 || mpMatrix == nullptr || mpRows == nullptr || H > miRowCount ||
        static_cast<int64_t>(H) * H > miMatrixCount)
        return false;
    const int32_t srcBpp = mpMemSrc->miBppEff;
    const int32_t dstBpp = mpMemDst->miBppEff;
    const int64_t shift = ((static_cast<int64_t>(srcBpp) + 7) & ~int64_t(7)) - std::min(srcBpp, dstBpp);
    if (shift < 0 || shift > 31)
        return false;
    const int32_t C = std::max(mpMemDst->miCanals, 0);
    if (C > miSumCount) {
        int32_t* sums = new (std::nothrow) int32_t[C]();
        if (sums == nullptr)
            return false;
        delete[] mpSums;
        mpSums = sums;
        miSumCount = C;
    }

    const int32_t width = mpMemDst->miRoiWidth;
    const int32_t height = mpMemSrc->miRoiHeight;
    const int32_t top = 0;
    const int32_t startX = mbFlipHorizontal ? width - 1 : 0;
    const int32_t startY = mbFlipVertical ? mpMemDst->miRoiHeight - 1 : 0;
    const int32_t c = mbFlipHorizontal ? -1 : 1;
    const int32_t r = mbFlipVertical ? -1 : 1;

    // The tables are not used here; a stage wired to no image object has none.
    if (mpImgProc != nullptr)
        mpImgProc->createLookUpTables(1.0, 1.0, 1.0, 1.0);

    const bool srcBytes = mpMemSrc->mdBytePerPixel == 1.0;
    const int srcSize = srcBytes ? 1 : 2;
    const int dstSize = srcBytes || dstBpp <= 8 ? 1 : 2;
    const sSpan srcSpan = BufferSpan(mpMemSrc);
    const sSpan dstSpan = BufferSpan(mpMemDst);

    // Each ring row is widened once into a staging row long enough for the
    // whole window, so that the pixel loop reads without bounds checks.
    const int64_t rowSamples = std::max<int64_t>(0, (static_cast<int64_t>(width) + H - 1) * C);
    const int64_t outSamples = std::max<int64_t>(0, static_cast<int64_t>(width) * C);
    std::vector<int32_t> staged;
    std::vector<int32_t> out;
    try {
        staged.resize(static_cast<size_t>(rowSamples * H));
        out.resize(static_cast<size_t>(outSamples));
    } catch (const std::bad_alloc&) {
        return false;
    }
    auto fetch = [&](int32_t slot, int64_t row) {
        mpRows[slot] = row <= INT32_MAX ? mpMemSrc->GetImagePointer(0, static_cast<int32_t>(row), 0) : nullptr;
        StageRow(srcSpan, mpRows[slot], srcSize, staged.data() + slot * rowSamples, rowSamples);
    };
    for (int32_t i = 0; i < H; ++i)
        fetch(i, i);

    const int32_t half = H / 2;
    const int32_t firstColumn = half * c + startX;
    // The row expression holds the rectangle's top, not y: every pass lands
    // in the same destination row.
    unsigned char* dstRow = mpMemDst->GetImagePointer(firstColumn, (half + top) * r + startY, 0);

    // Pixel x, sample n goes to sample offset x * c * C + n from dstRow; over
    // the row these offsets form one contiguous span starting at spanStart.
    const int64_t spanStart = c > 0 ? 0 : -(static_cast<int64_t>(width) - 1) * C;
    int64_t writeLo = 0;
    int64_t writeHi = 0;
    const uintptr_t dstAt = reinterpret_cast<uintptr_t>(dstRow);
    if (dstRow != nullptr && dstAt >= dstSpan.begin && dstAt <= dstSpan.end) {
        const int64_t before = static_cast<int64_t>((dstAt - dstSpan.begin) / static_cast<uintptr_t>(dstSize));
        const int64_t after = static_cast<int64_t>((dstSpan.end - dstAt) / static_cast<uintptr_t>(dstSize));
        writeLo = std::max(spanStart, -before);
        writeHi = std::min(spanStart + outSamples, after);
    }

    const int32_t div = miMatrixDiv;
    for (int32_t y = top; y < height; ++y) {
        if (writeLo < writeHi) {
            for (int32_t x = 0; x < width; ++x) {
                std::fill(mpSums, mpSums + C, 0);
                for (int32_t ky = 0; ky < H; ++ky) {
                    const int32_t* row = staged.data() + ((static_cast<int64_t>(ky) + y) % H) * rowSamples;
                    for (int32_t kx = 0; kx < H; ++kx) {
                        const int32_t k = mpMatrix[ky * H + kx];
                        if (k == 0)
                            continue;
                        const int32_t* samples = row + (static_cast<int64_t>(x) + kx) * C;
                        for (int32_t n = 0; n < C; ++n)
                            mpSums[n] += k * samples[n];
                    }
                }
                const int64_t at = static_cast<int64_t>(x) * c * C - spanStart;
                for (int32_t n = 0; n < C; ++n)
                    out[static_cast<size_t>(at + n)] = (mpSums[n] / div) >> shift;
            }
            // Stored without clamping: the low 8 or 16 bits.
            for (int64_t i = writeLo; i < writeHi; ++i) {
                const int32_t v = out[static_cast<size_t>(i - spanStart)];
                if (dstSize == 1) {
                    dstRow[i] = static_cast<unsigned char>(v);
                } else {
                    dstRow[2 * i] = static_cast<unsigned char>(v);
                    dstRow[2 * i + 1] = static_cast<unsigned char>(v >> 8);
                }
            }
        }
        fetch(y % H, static_cast<int64_t>(y) + H);
    }
    return true;
}

bool CImgProcConvFilter::OnConvert()
{
    return false;
}

#include "ImgProcConv.h"

#include <cmath>
#include <cstring>

#include "ImageAddress.h"
#include "ImgProc.h"
#include "KvAssert.h"
#include "KvMath.h"
#include "MemoryAccess.h"

CImgProcConv::CImgProcConv()
    : mpImgProc(nullptr),
      mpMemSrc(nullptr),
      mpMemDst(nullptr),
      mbFlipHorizontal(false),
      mbFlipVertical(false),
      miStepY(1),
      miStepX(1),
      miDstStartX(0),
      miDstStartY(0),
      mRectSrc(0, 0, 0, 0),
      mRectDst(0, 0, 0, 0),
      miAverageStep(1),
      mRectAverage(0, 0, 0, 0),
      mpHistogram(nullptr)
{
}

CImgProcConv::~CImgProcConv()
{
    // The work block is of no use once the converter is gone; releasing it
    // keeps leak checkers quiet.
    delete[] mpHistogram;
}

bool CImgProcConv::Sanity()
{
    return mpMemSrc != nullptr && mpMemDst != nullptr;
}

bool CImgProcConv::Convert()
{
    KV_ASSERT(mpImgProc, "ImgProcConv");
    if (!Sanity())
        return false;
    if (mpMemSrc->GetImagePointer(0, 0, 0) == nullptr)
        return false;
    if (mpMemDst->GetImagePointer(0, 0, 0) == nullptr)
        return false;
    if (mpMemSrc->miRoiWidth != mpMemDst->miRoiWidth || mpMemSrc->miRoiHeight != mpMemDst->miRoiHeight)
        return false;
    mRectSrc.SetRect(0, 0, mpMemSrc->miRoiWidth, mpMemSrc->miRoiHeight);
    mRectDst.SetRect(0, 0, mpMemDst->miRoiWidth, mpMemDst->miRoiHeight);
    // The flip flags are announced but never carried out.
    return OnConvert();
}

// Cells of the work block behind the histogram.
enum : int {
    kCellTotal = 65536,
    kCellCount0 = 65542,
    kCellSum0 = 65545,
};

namespace {

// Mean of a tail of the histogram: moment over count by truncating 32-bit
// division, or 0.0 for an empty count.
double TailMean(int32_t moment, int32_t count)
{
    return count != 0 ? static_cast<double>(moment / count) : 0.0;
}

}  // namespace

bool CImgProcConv::Average(int step, int left, int top, int right, int bottom, double* mean, double* dark,
                           double* bright)
{
    KV_ASSERT(mpImgProc, "ImgProcConv");
    if (!Sanity() || mpMemSrc->GetImagePointer(0, 0, 0) == nullptr)
        return false;
    if (mpMemSrc->miRoiWidth != mpMemDst->miRoiWidth || mpMemSrc->miRoiHeight != mpMemDst->miRoiHeight)
        return false;
    mRectSrc.SetRect(0, 0, mpMemSrc->miRoiWidth, mpMemSrc->miRoiHeight);
    mRectAverage.SetRect(left, top, right, bottom);
    if (static_cast<uint32_t>(left) < static_cast<uint32_t>(mRectSrc.left) ||
        static_cast<uint32_t>(top) < static_cast<uint32_t>(mRectSrc.top) ||
        static_cast<uint32_t>(right) > static_cast<uint32_t>(mRectSrc.right) ||
        static_cast<uint32_t>(bottom) > static_cast<uint32_t>(mRectSrc.bottom))
        return false;

    miAverageStep = step;
    if (mpHistogram == nullptr)
        mpHistogram = new int32_t[kHistogramCells];
    std::memset(mpHistogram, 0, kHistogramCells * sizeof(int32_t));
    OnAverage();

    const int32_t* histogram = mpHistogram;
    // The histogram has room for 16-bit samples; deeper formats do not exist.
    int32_t levels = KvTruncToInt32(std::pow(2.0, mpMemSrc->miBppEff));
    if (levels > 65536)
        levels = 65536;
    const int32_t total = histogram[kCellTotal];
    const int32_t cut = total / 10;

    // Darkest tenth, extended to the first bin that reaches it.
    int32_t running = 0;
    int32_t moment = 0;
    for (int32_t v = 0; v < levels; ++v) {
        running = KvWrap32(static_cast<int64_t>(running) + histogram[v]);
        moment = KvWrap32(static_cast<int64_t>(moment) + static_cast<int64_t>(v) * histogram[v]);
        if (cut != 0 && running >= cut)
            break;
    }
    *dark = TailMean(moment, running);

    // Brightest tenth. The cell above the largest value is counted first;
    // for 16-bit samples that is the total, which empties the tail.
    running = levels >= 0 ? histogram[levels] : 0;
    moment = 0;
    if (!(cut != 0 && running >= cut)) {
        for (int32_t v = levels - 1; v >= 0; --v) {
            running = KvWrap32(static_cast<int64_t>(running) + histogram[v]);
            moment = KvWrap32(static_cast<int64_t>(moment) + static_cast<int64_t>(v) * histogram[v]);
            if (cut != 0 && running >= cut)
                break;
        }
    }
    *bright = TailMean(moment, running);

    // The class means weighted by their shares, added in this order and
    // truncated: the mean of all samples, as the sum of three products.
    double result = 0.0;
    for (int n = 0; n < 3; ++n) {
        const int32_t count = histogram[kCellCount0 + n];
        const int32_t sum = histogram[kCellSum0 + n];
        const double share = total != 0 ? static_cast<double>(count) / static_cast<double>(total) : 0.0;
        const double classMean = sum != 0 ? static_cast<double>(sum) / static_cast<double>(count) : 0.0;
        result = result + classMean * share;
    }
    *mean = static_cast<double>(KvTruncToInt32(result));
    return true;
}

double CImgProcConv::OnAverage()
{
    return -1.0;
}

namespace {

uintptr_t Addr(const unsigned char* p)
{
    return reinterpret_cast<uintptr_t>(p);
}

// Bytes of the destination that a border copy may touch: the image chunk,
// clipped to the view's buffer. Empty when either is missing.
struct sByteWindow {
    uintptr_t begin;
    uintptr_t end;
};

sByteWindow DstWindow(CMemoryAccess* mem)
{
    const sKORVAP_ChunkData& image = mem->mChunkData[KORVA_CHUNK_IMAGE];
    sByteWindow w = {0, 0};
    if (image.mpChunkBase == nullptr || image.miChunkLength <= 0 || mem->mpBasePointer == nullptr ||
        mem->miBufferLength <= 0)
        return w;
    const uintptr_t chunkBegin = Addr(image.mpChunkBase);
    const uintptr_t chunkEnd = chunkBegin + static_cast<uintptr_t>(image.miChunkLength);
    const uintptr_t bufBegin = Addr(mem->mpBasePointer);
    const uintptr_t bufEnd = bufBegin + static_cast<uintptr_t>(mem->miBufferLength);
    w.begin = chunkBegin > bufBegin ? chunkBegin : bufBegin;
    w.end = chunkEnd < bufEnd ? chunkEnd : bufEnd;
    if (w.end < w.begin)
        w.end = w.begin;
    return w;
}

bool Inside(const sByteWindow& w, uintptr_t at, int64_t count)
{
    return at >= w.begin && at <= w.end && static_cast<uint64_t>(count) <= w.end - at;
}

// Source and destination may overlap.
inline void CopyBytes(uintptr_t to, uintptr_t from, int64_t count)
{
    // Border pixels are a few bytes: a loop through a buffer beats a call.
    if (count <= 16) {
        unsigned char buffer[16];
        for (int64_t i = 0; i < count; ++i)
            buffer[i] = reinterpret_cast<const unsigned char*>(from)[i];
        for (int64_t i = 0; i < count; ++i)
            reinterpret_cast<unsigned char*>(to)[i] = buffer[i];
        return;
    }
    std::memmove(reinterpret_cast<void*>(to), reinterpret_cast<const void*>(from), static_cast<size_t>(count));
}

// One copy of the repair, skipped when a byte of either side would lie
// outside the window.
void MoveBytes(const sByteWindow& w, uintptr_t to, uintptr_t from, int64_t count)
{
    if (count <= 0 || !Inside(w, to, count) || !Inside(w, from, count))
        return;
    CopyBytes(to, from, count);
}

bool InRange(int64_t v, int64_t limit)
{
    return v >= 0 && v < limit;
}

// Shared by both forms: `planes` is 1 for a packed destination, 3 for a
// planar one, whose rows are repeated at +S and +2S and whose column step
// runs down all three planes as if they were one tall image.
void RepairBorder(CMemoryAccess* mem, int bytesPerPixel, int matrixSize, int planes, int32_t planeSize)
{
    const int64_t h = matrixSize / 2;
    if (h <= 0)
        return;
    const int64_t W = mem->miRoiWidth;
    const int64_t H = mem->miRoiHeight;
    const int64_t rowsLimit = H * planes;
    const int64_t bpp = bytesPerPixel;
    const sByteWindow window = DstWindow(mem);
    const CImageAddress address(mem);

    // Frames smaller than 2h + 1 in either direction would make the mirrors
    // reach outside the image: a copy is made only if its pixels exist, their
    // addresses are not null and all its bytes lie in the image chunk and the
    // buffer. On frames of normal size no copy is skipped.
    auto pixel = [&](int64_t x, int64_t y) -> unsigned char* {
        if (!InRange(x, W) || !InRange(y, rowsLimit))
            return nullptr;
        return address.At(static_cast<int32_t>(x), static_cast<int32_t>(y));
    };
    auto copy = [&](const unsigned char* to, const unsigned char* from, int64_t count) {
        if (to == nullptr || from == nullptr)
            return;
        const uintptr_t toAddr = Addr(to);
        const uintptr_t fromAddr = Addr(from);
        // The plane distance is 32-bit and may be negative after wrapping.
        const uintptr_t step = static_cast<uintptr_t>(static_cast<intptr_t>(planeSize));
        for (int p = 0; p < planes; ++p) {
            const uintptr_t shift = step * static_cast<uintptr_t>(p);
            MoveBytes(window, toAddr + shift, fromAddr + shift, count);
        }
    };

    // Rows: mirrored around row h and row H - 1 - h, from column h to the end.
    const int64_t rowBytes = (W - h) * bpp;
    for (int64_t i = 0; i < h; ++i) {
        copy(pixel(h, i), pixel(h, 2 * h - i), rowBytes);
        copy(pixel(h, H - 1 - i), pixel(h, H - 2 * h - 1 + i), rowBytes);
    }

    // Columns: for a planar image the rows simply run on into the next planes.
    // The offset j counts bytes, not pixels, on both sides; the demosaic
    // border depends on exactly this pattern.
    if (H < 1)
        return;
    // Where every row lies one pitch after the last, the copies of the first
    // and the last row inside the window mean those of every row in between
    // are too (the window is one range, the addresses grow with the row):
    // the addresses are then stepped instead of formed and checked per row.
    int64_t pitch = 0, step = 0;
    if (W > 2 * h && address.Affine(static_cast<int32_t>(W), static_cast<int32_t>(rowsLimit), &pitch, &step)) {
        const uintptr_t first = Addr(address.At(0, 0));
        bool inside = true;
        for (int64_t y : {int64_t(0), rowsLimit - 1}) {
            const uintptr_t row = first + static_cast<uintptr_t>(y * pitch);
            for (int64_t j = 0; j < h; ++j) {
                const uintptr_t at[4] = {row + static_cast<uintptr_t>(j),
                                         row + static_cast<uintptr_t>((2 * h - j) * step + j),
                                         row + static_cast<uintptr_t>((W - 1 - j) * step + j),
                                         row + static_cast<uintptr_t>((W - 2 * h - 1 + j) * step + j)};
                for (uintptr_t a : at)
                    inside = inside && Inside(window, a, bpp);
            }
        }
        if (inside) {
            uintptr_t row = first;
            for (int64_t y = 0; y < rowsLimit; ++y, row += static_cast<uintptr_t>(pitch)) {
                for (int64_t j = 0; j < h; ++j) {
                    CopyBytes(row + static_cast<uintptr_t>(j), row + static_cast<uintptr_t>((2 * h - j) * step + j),
                              bpp);
                    CopyBytes(row + static_cast<uintptr_t>((W - 1 - j) * step + j),
                              row + static_cast<uintptr_t>((W - 2 * h - 1 + j) * step + j), bpp);
                }
            }
            return;
        }
    }
    for (int64_t y = 0; y < rowsLimit; ++y) {
        unsigned char* left = pixel(0, y);
        for (int64_t j = 0; j < h; ++j) {
            const unsigned char* srcLeft = pixel(2 * h - j, y);
            if (left != nullptr && srcLeft != nullptr)
                MoveBytes(window, Addr(left) + static_cast<uintptr_t>(j), Addr(srcLeft) + static_cast<uintptr_t>(j),
                          bpp);
            const unsigned char* srcRight = pixel(W - 2 * h - 1 + j, y);
            unsigned char* right = pixel(W - 1 - j, y);
            if (right != nullptr && srcRight != nullptr)
                MoveBytes(window, Addr(right) + static_cast<uintptr_t>(j), Addr(srcRight) + static_cast<uintptr_t>(j),
                          bpp);
        }
    }
}

}  // namespace

bool CImgProcConv::RepairDstBorder(int bytesPerPixel, int matrixSize)
{
    RepairBorder(mpMemDst, bytesPerPixel, matrixSize, 1, 0);
    return true;
}

bool CImgProcConv::RepairDstPlanarBorder(int bytesPerPixel, int matrixSize)
{
    // Plane size from the region's pitch and the run's height, wrapping in
    // 32 bits like the rest of the addressing.
    const uint32_t planeSize = static_cast<uint32_t>(mpMemDst->GetPitch()) * static_cast<uint32_t>(mRectDst.Height());
    RepairBorder(mpMemDst, bytesPerPixel, matrixSize, 3, static_cast<int32_t>(planeSize));
    return true;
}

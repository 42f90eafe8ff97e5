// White balance measured on the mosaic itself, from 2 by 2 cells of an 8-bit
// Bayer frame.
#include <cstddef>
#include <cstdint>

#include "ImgProcConvDemosaic.h"
#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"

namespace {

// Only cells with every value in this range count: dark and saturated cells
// would pull the means toward black or white.
inline bool Usable(int32_t value)
{
    return value >= 21 && value <= 249;
}

}  // namespace

bool CImgProcConvDemosaic::GetBalance(double* red, double* green, double* blue)
{
    if (red == nullptr || green == nullptr || blue == nullptr) {
        return false;
    }
    const unsigned char* source = mpMemSrc->GetImagePointer(0, 0, 0);
    // Rows lie at the source region's width; the cells are bounded by the
    // destination's region, which the image object keeps the same size.
    const std::ptrdiff_t stride = mpMemSrc->miRoiWidth;
    const int32_t width = mpMemDst->miRoiWidth;
    const int32_t height = mpMemDst->miRoiHeight;

    // Byte offsets of the sites inside a cell, (x, y) being (column, row):
    // p00 = 0, p10 = 1, p01 = stride, p11 = stride + 1.
    std::ptrdiff_t redAt;
    std::ptrdiff_t greenAt1;
    std::ptrdiff_t greenAt2;
    std::ptrdiff_t blueAt;
    switch (mpMemSrc->miPixelFormat) {
    case KORVA_PIXTYPE_BAYRG8:
        redAt = 0;
        greenAt1 = 1;
        greenAt2 = stride;
        blueAt = stride + 1;
        break;
    case KORVA_PIXTYPE_BAYGR8:
        redAt = 1;
        greenAt1 = 0;
        greenAt2 = stride + 1;
        blueAt = stride;
        break;
    case KORVA_PIXTYPE_BAYGB8:
    // BG is read as GB, green on the main diagonal. Callers depend on the
    // factors as they come out, so it stays.
    case KORVA_PIXTYPE_BAYBG8:
        redAt = stride;
        greenAt1 = 0;
        greenAt2 = stride + 1;
        blueAt = 1;
        break;
    default:
        return false;
    }
    if (height - 2 < 1) {
        return false;
    }
    // A view without an image has nothing to measure.
    if (source == nullptr) {
        return false;
    }

    // A cell row reads two rows of the mosaic; where that would reach
    // outside the source buffer it is read from a copy in which the bytes
    // outside are 0.
    const int64_t lastX = width > 2 ? ((static_cast<int64_t>(width) - 3) & ~int64_t(1)) : -1;
    const std::ptrdiff_t lo = stride < 0 ? stride : 0;
    const std::ptrdiff_t hi = lastX < 0 ? lo : (stride > 0 ? stride : 0) + static_cast<std::ptrdiff_t>(lastX) + 2;
    mRowGuard.Begin(*mpMemSrc, *mpMemSrc, sRowSpan{lo, hi}, sRowSpan{0, 0}, 1, 0);

    double sumRed = 0.0;
    double sumGreen = 0.0;
    double sumBlue = 0.0;
    int32_t count = 0;
    for (int32_t y = 0; y < height - 2; y += 2) {
        const unsigned char* row = mRowGuard.Read(
            reinterpret_cast<const unsigned char*>(reinterpret_cast<uintptr_t>(source) +
                                                   static_cast<uintptr_t>(static_cast<std::ptrdiff_t>(y) * stride)),
            0);
        for (int32_t x = 0; x < width - 2; x += 2) {
            const unsigned char* cell = row + x;
            const int32_t r = cell[redAt];
            // Shifted, not rounded.
            const int32_t g = (cell[greenAt1] + cell[greenAt2]) >> 1;
            const int32_t b = cell[blueAt];
            if (Usable(r) && Usable(g) && Usable(b)) {
                sumRed += r;
                sumGreen += g;
                sumBlue += b;
                ++count;
            }
        }
    }
    if (count == 0) {
        return false;
    }

    const double meanRed = sumRed / count;
    const double meanGreen = sumGreen / count;
    const double meanBlue = sumBlue / count;
    double top = meanRed;
    if (meanGreen > top) {
        top = meanGreen;
    }
    if (meanBlue > top) {
        top = meanBlue;
    }
    // The floor keeps a division by zero out; with the usable range above it
    // never comes into play.
    const double floor = 0.1;
    *red = top / (meanRed > floor ? meanRed : floor);
    *green = top / (meanGreen > floor ? meanGreen : floor);
    *blue = top / (meanBlue > floor ? meanBlue : floor);
    return true;
}

// White balance measured on the mosaic itself, from 2 by 2 cells of an 8-bit
// Bayer frame.
#include <cstddef>
#include <cstdint>

#include "DemosaicRows.h"
#include "ImgProcConvDemosaic.h"
#include "KvCpu.h"
#include "KorvaPixelFormats.h"
#include "MemoryAccess.h"

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

    DemosaicCellLayout layout;
    switch (mpMemSrc->miPixelFormat) {
    case KORVA_PIXTYPE_BAYRG8:
        layout = kCellRG;
        break;
    case KORVA_PIXTYPE_BAYGR8:
        layout = kCellGR;
        break;
    case KORVA_PIXTYPE_BAYGB8:
    // BG is read as GB, green on the main diagonal. Callers depend on the
    // factors as they come out, so it stays.
    case KORVA_PIXTYPE_BAYBG8:
        layout = kCellGB;
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

    // Whole-number sums are exact in any order, so the rows may be summed by
    // any instruction level and the means come out the same.
    const DemosaicBalanceFn row = DemosaicRows::For(KvCpuActive()).balance[layout];
    const uint32_t cells = width - 2 > 0 ? (static_cast<uint32_t>(width - 2) + 1u) / 2u : 0u;
    DemosaicBalanceSums sums = {0, 0, 0, 0};
    // A cell row reads two rows of the mosaic; where one would reach outside
    // the source buffer it is read from a copy in which the bytes outside
    // are 0.
    mRowGuard.Begin(*mpMemSrc, *mpMemSrc, sRowSpan{0, static_cast<std::ptrdiff_t>(2 * static_cast<int64_t>(cells))},
                    sRowSpan{0, 0}, 2, 0);
    for (int32_t y = 0; y < height - 2; y += 2) {
        const unsigned char* top = reinterpret_cast<const unsigned char*>(
            reinterpret_cast<uintptr_t>(source) + static_cast<uintptr_t>(static_cast<std::ptrdiff_t>(y) * stride));
        const unsigned char* bottom = reinterpret_cast<const unsigned char*>(
            reinterpret_cast<uintptr_t>(top) + static_cast<uintptr_t>(stride));
        row(mRowGuard.Read(top, 0), mRowGuard.Read(bottom, 1), cells, &sums);
    }
    const int32_t count = static_cast<int32_t>(sums.count);
    if (count == 0) {
        return false;
    }
    const double sumRed = static_cast<double>(sums.red);
    const double sumGreen = static_cast<double>(sums.green);
    const double sumBlue = static_cast<double>(sums.blue);

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

// 5 by 5 high-quality bilinear demosaic: every output sample is a weighted
// sum of the mosaic around it, with a kernel per wanted colour and site.
// Included by ImgProcConvDemosaic.cpp (and by the kernel tables' unit, so
// that their definitions are checked against these declarations).
#ifndef IMGPROCCONVDEMOSAIC_HQBL_INL
#define IMGPROCCONVDEMOSAIC_HQBL_INL

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "ImgProcConvDemosaic.h"
#include "MemoryAccess.h"
#include "PixelTypes.h"

// Kernels in row-major order (entry 5 * row + column), each with its divisor.
// They live in another unit so that they are read at run time.
extern const int32_t GreenAtNotGreen[25];
extern const int32_t GreenAtGreen[25];
extern const int32_t RedAtGreenInRed[25];
extern const int32_t RedAtGreenInBlue[25];
extern const int32_t RedAtBlue[25];
extern const int32_t RedAtRed[25];
extern const int32_t BlueAtGreenInBlue[25];
extern const int32_t BlueAtGreenInRed[25];
extern const int32_t BlueAtRedInRed[25];
extern const int32_t BlueAtBlue[25];
extern const int32_t GreenAtNotGreenDiv;
extern const int32_t GreenAtGreenDiv;
extern const int32_t RedAtGreenInRedDiv;
extern const int32_t RedAtGreenInBlueDiv;
extern const int32_t RedAtBlueDiv;
extern const int32_t RedAtRedDiv;
extern const int32_t BlueAtGreenInBlueDiv;
extern const int32_t BlueAtGreenInRedDiv;
extern const int32_t BlueAtRedInRedDiv;
extern const int32_t BlueAtBlueDiv;

namespace hqbl {

// Source rows and 16-bit destinations carry no alignment guarantee.
template <typename T>
inline T Load(const T* p)
{
    T v;
    std::memcpy(&v, p, sizeof v);
    return v;
}

template <typename T>
inline void Store(T* p, int32_t value)
{
    const T v = static_cast<T>(value);
    std::memcpy(p, &v, sizeof v);
}

// The non-zero taps of one kernel: the zero taps are dropped once per call so
// that their samples are never read. Tap t reads taps[t][i] for output i.
template <typename S>
struct Kernel {
    const S* taps[25];
    int32_t weights[25];
    int32_t count;
    int32_t divisor;

    void Set(const int32_t* kernel, int32_t div, S* const* window)
    {
        count = 0;
        for (int k = 0; k < 5; ++k) {
            for (int j = 0; j < 5; ++j) {
                const int32_t w = kernel[5 * k + j];
                if (w != 0) {
                    taps[count] = window[k] + j;
                    weights[count] = w;
                    ++count;
                }
            }
        }
        divisor = div;
    }

    // Sum, truncating division, arithmetic shift, then the 0..255 clamp that
    // applies whatever the destination's width.
    int32_t Apply(std::ptrdiff_t i, int shift) const
    {
        int32_t sum = 0;
        for (int32_t t = 0; t < count; ++t) {
            sum += weights[t] * static_cast<int32_t>(Load(taps[t] + i));
        }
        int32_t v = (sum / divisor) >> shift;
        if (v < 0) {
            v = 0;
        } else if (v >= 256) {
            v = 255;
        }
        return v;
    }
};

// Green, red and blue kernels for both column parities of one row phase.
template <typename S>
struct SiteKernels {
    Kernel<S> green[2];
    Kernel<S> red[2];
    Kernel<S> blue[2];

    void Set(int phase, S* const* window)
    {
        // mbRedAtOdd does not enter: all four source phases share this table.
        if (phase == 0) {
            green[0].Set(GreenAtNotGreen, GreenAtNotGreenDiv, window);
            red[0].Set(RedAtRed, RedAtRedDiv, window);
            blue[0].Set(BlueAtRedInRed, BlueAtRedInRedDiv, window);
            green[1].Set(GreenAtGreen, GreenAtGreenDiv, window);
            red[1].Set(RedAtGreenInRed, RedAtGreenInRedDiv, window);
            blue[1].Set(BlueAtGreenInRed, BlueAtGreenInRedDiv, window);
        } else {
            green[0].Set(GreenAtGreen, GreenAtGreenDiv, window);
            red[0].Set(RedAtGreenInBlue, RedAtGreenInBlueDiv, window);
            blue[0].Set(BlueAtGreenInBlue, BlueAtGreenInBlueDiv, window);
            green[1].Set(GreenAtNotGreen, GreenAtNotGreenDiv, window);
            red[1].Set(RedAtBlue, RedAtBlueDiv, window);
            blue[1].Set(BlueAtBlue, BlueAtBlueDiv, window);
        }
    }
};

}  // namespace hqbl

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_HQBLLUT(int rowPhase, int columns, S** rows, D* destination, SD,
                                                   int step)
{
    const int width = columns - miMatrixSize;
    if (width < 1) {
        return columns;
    }
    // A source of fewer than five rows lets the caller's row loop run with
    // rows beyond the image in the ring; nothing of such a window is read.
    if (mRectSrc.bottom - mRectSrc.top < 5) {
        return columns;
    }
    // Window row k is ring entry (rowPhase + k) % 5. For a blue-first source
    // the last window row wraps round to the oldest row; that is how this
    // method has always looked at such sources.
    S* window[5];
    for (int k = 0; k < 5; ++k) {
        window[k] = rows[(rowPhase + k) % 5];
        if (window[k] == nullptr) {
            return columns;  // a truncated frame: no row to read
        }
    }
    // The mask is wanted: a 10-bit source comes out at 0..15, not 0..255.
    const int shift = (16 - mpMemSrc->miBppEff) & 7;

    hqbl::SiteKernels<S> kernels;
    kernels.Set(rowPhase & 1, window);

    const std::ptrdiff_t pixelStep = step;
    for (int i = 0; i < width; ++i) {
        const int c = i & 1;
        D& pixel = destination[i * pixelStep];
        const int32_t green = kernels.green[c].Apply(i, shift);
        const int32_t red = kernels.red[c].Apply(i, shift);
        const int32_t blue = kernels.blue[c].Apply(i, shift);
        // Packed pixels are byte-aligned records: member stores are safe.
        pixel.green = static_cast<decltype(pixel.green)>(green);
        pixel.red = static_cast<decltype(pixel.red)>(red);
        pixel.blue = static_cast<decltype(pixel.blue)>(blue);
    }
    return miMatrixSize;
}

template <typename S, typename D, typename SD>
int CImgProcConvDemosaic::DemosaicTemplate_HQBLLUT(int rowPhase, int columns, S** rows, D** destination, SD,
                                                   int step)
{
    const int width = columns - miMatrixSize;
    if (width < 1) {
        return columns;
    }
    // See the packed form for these two guards.
    if (mRectSrc.bottom - mRectSrc.top < 5) {
        return columns;
    }
    S* window[5];
    for (int k = 0; k < 5; ++k) {
        window[k] = rows[(rowPhase + k) % 5];
        if (window[k] == nullptr) {
            return columns;
        }
    }
    const int shift = (16 - mpMemSrc->miBppEff) & 7;

    hqbl::SiteKernels<S> kernels;
    kernels.Set(rowPhase & 1, window);

    // Planes come in the order blue, green, red.
    D* const blueOut = destination[0];
    D* const greenOut = destination[1];
    D* const redOut = destination[2];
    const std::ptrdiff_t pixelStep = step;
    for (int i = 0; i < width; ++i) {
        const int c = i & 1;
        const std::ptrdiff_t at = i * pixelStep;
        hqbl::Store(greenOut + at, kernels.green[c].Apply(i, shift));
        hqbl::Store(redOut + at, kernels.red[c].Apply(i, shift));
        hqbl::Store(blueOut + at, kernels.blue[c].Apply(i, shift));
    }
    return miMatrixSize;
}

#endif

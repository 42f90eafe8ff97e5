// Converters of the packed RGB/BGR source formats and of the planar RGB
// source formats.
#ifndef IMGPROCCONVRGB_H
#define IMGPROCCONVRGB_H

#include <cstddef>
#include <cstdint>

#include "ImgProcConv.h"
#include "ImgProcConvRows.h"

struct sRgbRow;
typedef void (*RgbRowFunction)(const unsigned char* src, unsigned char* dst, int32_t width, const sRgbRow& c);

// Everything a packed row needs besides its two pointers; fixed for the
// whole call.
struct sRgbRow {
    RgbRowFunction convert;   // null: the rows are visited, nothing is written
    const uint16_t* lut0;
    const uint16_t* lut1;
    const uint16_t* lut2;
    ptrdiff_t dstStep;        // bytes from one destination pixel to the next
    int dstPixel;             // bytes of one destination pixel
    uintptr_t planeDistance;  // planar destination: bytes between planes
    ConvBytesBody bytes;      // vector bodies, where the row has one
    ConvWordsBody words;
    ConvDeepBody deep;
    sConvRescale rescale;
};

// The row of a packed source for a format pair at an instruction level.
void PickRgbRow(uint32_t srcFormat, uint32_t dstFormat, int32_t srcBpp, int32_t dstBpp, int32_t stepX,
                const uint16_t* const lut[3], const sConvLutShape& shape, uintptr_t planeDistance, KvCpuLevel level,
                sRgbRow* c);

struct sPlanarRow;
typedef void (*PlanarRowFunction)(const unsigned char* const src[3], unsigned char* const dst[3], int32_t width,
                                  const sPlanarRow& r);

struct sPlanarRow {
    PlanarRowFunction convert;  // null: nothing is written
    ptrdiff_t step;
    const uint16_t* lut[3];
    ConvBytesBody bytes;
    ConvWordsBody words;
    sConvRescale rescale;
};

// The row of a planar source at an instruction level.
void PickPlanarRow(int32_t srcBpp, int32_t dstBpp, int32_t stepX, const uint16_t* const lut[3],
                   const sConvLutShape& shape, KvCpuLevel level, sPlanarRow* r);

class CImgProcConvRGB : public CImgProcConv {
public:
    CImgProcConvRGB();
    ~CImgProcConvRGB() override;

    bool OnConvert() override;
    double OnAverage() override;
};

class CImgProcConvRGBPlanar : public CImgProcConv {
public:
    CImgProcConvRGBPlanar();
    ~CImgProcConvRGBPlanar() override;

    bool OnConvert() override;
    double OnAverage() override;
};

#endif

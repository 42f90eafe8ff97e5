// Converter of the YUV source formats.
#ifndef IMGPROCCONVYUV_H
#define IMGPROCCONVYUV_H

#include <cstddef>
#include <cstdint>

#include "ImgProcConv.h"
#include "ImgProcConvRows.h"

struct sYuvRow;
typedef void (*YuvRowConverter)(const unsigned char* src, unsigned char* dst, int32_t width, const sYuvRow& row);

struct sYuvRow {
    YuvRowConverter convert;
    // Byte distance between consecutive destination pixels (or, for the
    // same-format loops, between consecutive groups); it carries the
    // direction of the walk.
    std::ptrdiff_t dstStep;
    std::ptrdiff_t unit;  // bytes of one destination pixel, or of a group
    const uint16_t* lut;
    ConvBytesBody bytes;  // vector body, where the row has one
};

// The row for a format pair at an instruction level.
void PickYuvRow(uint32_t srcFormat, uint32_t dstFormat, int32_t stepX, const uint16_t* lut,
                const sConvLutShape& shape, KvCpuLevel level, sYuvRow* row);

class CImgProcConvYUV : public CImgProcConv {
public:
    CImgProcConvYUV();
    ~CImgProcConvYUV() override;

    bool OnConvert() override;
    double OnAverage() override;
};

#endif

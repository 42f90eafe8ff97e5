// Converter of every monochrome source format.
#ifndef IMGPROCCONVMONO_H
#define IMGPROCCONVMONO_H

#include <cstdint>

#include "ImgProcConv.h"
#include "ImgProcConvRows.h"

struct sMonoRow;
typedef void (*MonoRowConverter)(const unsigned char* src, unsigned char* dst, int32_t width, const sMonoRow& row);

// One row of the converter with everything it needs, picked once per frame.
struct sMonoRow {
    MonoRowConverter convert;
    int32_t stepX;
    const uint16_t* lut;
    sConvRescale rescale;  // the table's register form, for the vector bodies
    ConvWordsBody words;
    ConvUnpackBody unpack;
};

// The row for a format pair at an instruction level; false for a source the
// converter does not serve.
bool PickMonoRow(uint32_t srcFormat, uint32_t dstFormat, int32_t srcBpp, int32_t dstBpp, double srcBytePerPixel,
                 int32_t stepX, const uint16_t* lut, const sConvLutShape& shape, KvCpuLevel level,
                 sMonoRow* row);

class CImgProcConvMono : public CImgProcConv {
public:
    CImgProcConvMono();
    ~CImgProcConvMono() override;

    bool OnConvert() override;
    double OnAverage() override;
};

#endif

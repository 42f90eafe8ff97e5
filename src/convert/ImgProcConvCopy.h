// Copies the rows of the source region element by element; only doCopy runs it.
#ifndef IMGPROCCONVCOPY_H
#define IMGPROCCONVCOPY_H

#include <cstdint>

#include "ImgProcConv.h"
#include "KvCpu.h"

typedef void (*CopyRowFunction)(const unsigned char* src, unsigned char* dst, int32_t count, int32_t stepX);

// The row copy for a source's element width at an instruction level.
CopyRowFunction PickCopyRow(double srcBytePerPixel, int32_t srcBpp, int32_t stepX, KvCpuLevel level);

class CImgProcConvCopy : public CImgProcConv {
public:
    CImgProcConvCopy();
    ~CImgProcConvCopy() override;

    bool OnConvert() override;
};

#endif

// Copies the rows of the source region element by element; only doCopy runs it.
#ifndef IMGPROCCONVCOPY_H
#define IMGPROCCONVCOPY_H

#include "ImgProcConv.h"

class CImgProcConvCopy : public CImgProcConv {
public:
    CImgProcConvCopy();
    ~CImgProcConvCopy() override;

    bool OnConvert() override;
};

#endif

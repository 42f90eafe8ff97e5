// Empty abstract member of the converter family; nothing creates it.
#ifndef IMGPROCDEMOSAIC_H
#define IMGPROCDEMOSAIC_H

#include "ImgProcConv.h"

class CImgProcDemosaic : public CImgProcConv {
public:
    CImgProcDemosaic();
    ~CImgProcDemosaic() override;
};

#endif

// Resampling stage; the stretch it forwards to computes nothing.
#ifndef IMGPROCCONVSCALE_H
#define IMGPROCCONVSCALE_H

#include <cstdint>

#include "ImgProcConv.h"
#include "KorvaTypes.h"

class CImgProcConvScale : public CImgProcConv {
public:
    CImgProcConvScale();
    ~CImgProcConvScale() override;

    bool Convert() override;
    bool OnConvert() override;

    // Accepts 1 to 6; the value is kept but not passed on to the stretch.
    bool SetParameter(KORVA_Scale scale);

    int32_t miScale;
};

#endif

// Converter of every Bayer source format.
#ifndef IMGPROCCONVDEMOSAIC_H
#define IMGPROCCONVDEMOSAIC_H

#include <cstdint>

#include "ImgProcConv.h"
#include "KorvaTypes.h"

class CImgProcConvDemosaic : public CImgProcConv {
public:
    CImgProcConvDemosaic();
    ~CImgProcConvDemosaic() override;

    bool OnConvert() override;

    // Selects the method and its neighbourhood size; false leaves both as
    // they are.
    bool SetType(KORVA_Demosaic type);
    // Colour balance measured from the current Bayer frame.
    bool GetBalance(double* red, double* green, double* blue);

    KORVA_Demosaic miDemosaicType;
    int32_t miMatrixSize;
    unsigned char** mppRows;  // owned, miMatrixSize source rows
    uint16_t* mpLUTRed;       // the image object's tone tables, not owned
    uint16_t* mpLUTGreen;
    uint16_t* mpLUTBlue;
    int32_t miReserved256;
};

#endif

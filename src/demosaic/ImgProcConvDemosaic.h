// Converter of every Bayer source format.
#ifndef IMGPROCCONVDEMOSAIC_H
#define IMGPROCCONVDEMOSAIC_H

#include <cstdint>
#include <vector>

#include "DemosaicRows.h"
#include "ImgProcConv.h"
#include "KorvaTypes.h"

class CImgProcConvDemosaic : public CImgProcConv {
public:
    CImgProcConvDemosaic();
    ~CImgProcConvDemosaic() override;

    bool OnConvert() override;
    double OnAverage() override;

    // Selects the method and its neighbourhood size; false leaves both as
    // they are.
    bool SetType(KORVA_Demosaic type);
    // Colour balance measured from the current Bayer frame.
    bool GetBalance(double* red, double* green, double* blue);

    // Pixel templates, one instantiation per source sample S, destination
    // sample or packed pixel D and destination sample width SD. The plane
    // forms take three destination pointers in the order blue, green, red.
    template <typename S, typename D, typename SD>
    int DemosaicTemplate_NNLUT(int rowPhase, int columns, S** rows, D* destination, SD one, int step, int redAtOdd);
    template <typename S, typename D, typename SD>
    int DemosaicTemplate_NNLUT(int rowPhase, int columns, S** rows, D** destination, SD one, int step, int redAtOdd);
    template <typename S, typename D, typename SD>
    int DemosaicTemplate_BLLUT(int rowPhase, int columns, S** rows, D* destination, SD one, int step);
    template <typename S, typename D, typename SD>
    int DemosaicTemplate_BLLUT(int rowPhase, int columns, S** rows, D** destination, SD one, int step, int redAtOdd);
    template <typename S, typename D, typename SD>
    int DemosaicTemplate_HQBLLUT(int rowPhase, int columns, S** rows, D* destination, SD one, int step);
    template <typename S, typename D, typename SD>
    int DemosaicTemplate_HQBLLUT(int rowPhase, int columns, S** rows, D** destination, SD one, int step);
    template <typename S, typename D, typename SD>
    int BayerToMonoTemplate_LUT(S* source, D* destination, SD one, int first, int second);

    KORVA_Demosaic miDemosaicType;
    int32_t miMatrixSize;
    unsigned char** mppRows;  // owned, miMatrixSize source rows
    uint16_t* mpLUTRed;       // the image object's tone tables, not owned
    uint16_t* mpLUTGreen;
    uint16_t* mpLUTBlue;
    int32_t miReserved256;

    // Row functions of the instruction level in force, picked per frame,
    // and the 8-bit view of the tables that their fast paths use.
    const DemosaicRowSet* mpRowSet;
    DemosaicByteTables mByteTables;
    // Destination frames larger than this many bytes go out with streaming
    // stores: they would not stay in the caches anyway, and a streaming store
    // need not read a line before it writes it. Smaller frames are written in
    // place. The bytes are the same either way.
    int64_t miStreamBytes;
    // Scratch row of frames that go out with streaming stores; grow-only.
    std::vector<unsigned char> mStreamRow;
};

#endif

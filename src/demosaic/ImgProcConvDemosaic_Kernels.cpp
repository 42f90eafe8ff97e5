// Kernels of the 5 by 5 demosaic. Kept out of the templates' unit so that
// they are read at run time rather than folded into the code. Pairs such as
// RedAtRed and BlueAtBlue hold the same values and stay separate tables.
#include "ImgProcConvDemosaic_HQBL.inl"

extern const int32_t GreenAtNotGreen[25] = {
    0,  0, -1, 0, 0,   //
    0,  0, 2,  0, 0,   //
    -1, 2, 4,  2, -1,  //
    0,  0, 2,  0, 0,   //
    0,  0, -1, 0, 0,
};
extern const int32_t GreenAtGreen[25] = {
    0, 0,  0, 0,  0,  //
    0, -1, 0, -1, 0,  //
    0, 0,  8, 0,  0,  //
    0, -1, 0, -1, 0,  //
    0, 0,  0, 0,  0,
};
extern const int32_t RedAtGreenInRed[25] = {
    0,  0,  1,  0,  0,   //
    0,  -2, 0,  -2, 0,   //
    -2, 8,  10, 8,  -2,  //
    0,  -2, 0,  -2, 0,   //
    0,  0,  1,  0,  0,
};
extern const int32_t RedAtGreenInBlue[25] = {
    0, 0,  -2, 0,  0,  //
    0, -2, 8,  -2, 0,  //
    1, 0,  10, 0,  1,  //
    0, -2, 8,  -2, 0,  //
    0, 0,  -2, 0,  0,
};
extern const int32_t RedAtBlue[25] = {
    0,  0, -3, 0, 0,   //
    0,  4, 0,  4, 0,   //
    -3, 0, 12, 0, -3,  //
    0,  4, 0,  4, 0,   //
    0,  0, -3, 0, 0,
};
extern const int32_t RedAtRed[25] = {
    -1, 0, -2, 0, -1,  //
    0,  0, 0,  0, 0,   //
    -2, 0, 16, 0, -2,  //
    0,  0, 0,  0, 0,   //
    -1, 0, -2, 0, -1,
};
extern const int32_t BlueAtGreenInBlue[25] = {
    0,  0,  1,  0,  0,   //
    0,  -2, 0,  -2, 0,   //
    -2, 8,  10, 8,  -2,  //
    0,  -2, 0,  -2, 0,   //
    0,  0,  1,  0,  0,
};
extern const int32_t BlueAtGreenInRed[25] = {
    0, 0,  -2, 0,  0,  //
    0, -2, 8,  -2, 0,  //
    1, 0,  10, 0,  1,  //
    0, -2, 8,  -2, 0,  //
    0, 0,  -2, 0,  0,
};
extern const int32_t BlueAtRedInRed[25] = {
    0,  0, -3, 0, 0,   //
    0,  4, 0,  4, 0,   //
    -3, 0, 12, 0, -3,  //
    0,  4, 0,  4, 0,   //
    0,  0, -3, 0, 0,
};
extern const int32_t BlueAtBlue[25] = {
    -1, 0, -2, 0, -1,  //
    0,  0, 0,  0, 0,   //
    -2, 0, 16, 0, -2,  //
    0,  0, 0,  0, 0,   //
    -1, 0, -2, 0, -1,
};

extern const int32_t GreenAtNotGreenDiv = 8;
extern const int32_t GreenAtGreenDiv = 4;
extern const int32_t RedAtGreenInRedDiv = 16;
extern const int32_t RedAtGreenInBlueDiv = 16;
extern const int32_t RedAtBlueDiv = 16;
extern const int32_t RedAtRedDiv = 4;
extern const int32_t BlueAtGreenInBlueDiv = 16;
extern const int32_t BlueAtGreenInRedDiv = 16;
extern const int32_t BlueAtRedInRedDiv = 16;
extern const int32_t BlueAtBlueDiv = 4;

extern const int32_t BayerToMonoKernel[25] = {
    0,  -1, -2, -1, 0,   //
    -1, 2,  6,  2,  -1,  //
    -2, 6,  16, 6,  -2,  //
    -1, 2,  6,  2,  -1,  //
    0,  -1, -2, -1, 0,
};
extern const int32_t BayerToMonoKernelDiv = 32;

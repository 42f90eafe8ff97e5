// The kernels of the 5x5 demosaic, defined in ImgProcConvDemosaic_Kernels.cpp.
#ifndef DEMOSAIC_KERNELS_H
#define DEMOSAIC_KERNELS_H

#include <cstdint>

// Kernels in row-major order (entry 5 * row + column), each with its divisor.
// They live in another unit so that they are read at run time.
extern const int32_t GreenAtNotGreen[25];
extern const int32_t GreenAtGreen[25];
extern const int32_t RedAtGreenInRed[25];
extern const int32_t RedAtGreenInBlue[25];
extern const int32_t RedAtBlue[25];
extern const int32_t RedAtRed[25];
extern const int32_t BlueAtGreenInBlue[25];
extern const int32_t BlueAtGreenInRed[25];
extern const int32_t BlueAtRedInRed[25];
extern const int32_t BlueAtBlue[25];
extern const int32_t GreenAtNotGreenDiv;
extern const int32_t GreenAtGreenDiv;
extern const int32_t RedAtGreenInRedDiv;
extern const int32_t RedAtGreenInBlueDiv;
extern const int32_t RedAtBlueDiv;
extern const int32_t RedAtRedDiv;
extern const int32_t BlueAtGreenInBlueDiv;
extern const int32_t BlueAtGreenInRedDiv;
extern const int32_t BlueAtRedInRedDiv;
extern const int32_t BlueAtBlueDiv;

// The brightness kernel of a Bayer mosaic, divisor 32: every site class
// weighs 8 of 32 at any phase.
extern const int32_t BayerToMonoKernel[25];
extern const int32_t BayerToMonoKernelDiv;

#endif

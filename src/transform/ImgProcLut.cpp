// Tone look-up tables of the image object and the colour balance that
// feeds them.
#include <cmath>
#include <cstdint>

#include "ImgProc.h"
#include "ImgProcConvRows.h"
#include "KvMath.h"

// Depths without an entry (8, 11, 13, 15, ...) count as 8-bit.
int32_t LargestSampleValue(int32_t bppEff)
{
    switch (bppEff) {
    case 10:
        return 1023;
    case 12:
        return 4095;
    case 14:
        return 16383;
    case 16:
        return 65535;
    default:
        return 255;
    }
}

void CImgProc::createLookUpTables(double gainRed, double gainGreen, double gainBlue, double gamma)
{
    if (mMemSrc.miPixelFormat == 0 || mMemDst.miPixelFormat == 0)
        return;

    // A full 16-bit build costs 3 x 65536 pow calls, so an unchanged key must
    // return before anything else. The gamma is deliberately not part of it.
    const int32_t srcFormat = static_cast<int32_t>(mMemSrc.miPixelFormat);
    const int32_t dstFormat = static_cast<int32_t>(mMemDst.miPixelFormat);
    if (srcFormat == miLutSrcFormat && dstFormat == miLutDstFormat && gainRed == mdLutGain[0] &&
        gainGreen == mdLutGain[1] && gainBlue == mdLutGain[2])
        return;

    miLutSrcFormat = srcFormat;
    miLutDstFormat = dstFormat;
    mdLutGain[0] = gainRed;
    mdLutGain[1] = gainGreen;
    mdLutGain[2] = gainBlue;

    const int32_t srcMax = LargestSampleValue(mMemSrc.miBppEff);
    const int32_t dstMax = LargestSampleValue(mMemDst.miBppEff);
    const double gains[3] = {gainRed, gainGreen, gainBlue};
    // pow(x, 1.0) returns x exactly, so skipping it for the gamma every
    // caller passes gives bit-identical tables at a fraction of the cost.
    const bool linear = (gamma == 1.0);

    // Entries above srcMax are left as they are; converters never index them.
    for (int32_t i = 0; i <= srcMax; ++i) {
        for (int c = 0; c < 3; ++c) {
            int32_t v = KvTruncToInt32(i * gains[c]);
            // Gain acts on the source scale, so a gain above 1 saturates;
            // gains are not expected to be negative, so no lower clamp.
            if (v > srcMax)
                v = srcMax;
            const double base = static_cast<double>(v) / srcMax;
            const double shaped = linear ? base : std::pow(base, gamma);
            const double r = shaped * dstMax + 0.5;
            mpLUT[c][i] = static_cast<uint16_t>(KvTruncToInt32(r));
        }
    }
    RecordLutShape();
}

void CImgProc::RecordLutShape()
{
    mLutShape = ConvLutShapeOf(mpLUT, LargestSampleValue(mMemSrc.miBppEff));
}

double CImgProc::Function_SCurve(double x, double exponent, double /*ignored*/, double xLow, double xHigh,
                                 double xMid, double yLow, double yHigh)
{
    if (!(xLow < x))
        return yLow;
    if (!(x < xHigh))
        return yHigh;
    // xLow is not subtracted from xMid here; the statistics are tuned to
    // this curve as it is.
    const double yMid = yLow + (yHigh - yLow) * xMid / (xHigh - xLow);
    if (xMid > x)
        return yLow + (yMid - yLow) * std::pow((x - xLow) / (xMid - xLow), exponent);
    return yHigh - (yHigh - yMid) * std::pow((xHigh - x) / (xHigh - xMid), exponent);
}

int CImgProc::setDemosaicColorBalance(double red, double green, double blue)
{
    if (red == mdBalanceRed && green == mdBalanceGreen && blue == mdBalanceBlue)
        return RESULT_OK;
    mdBalanceRed = red;
    mdBalanceGreen = green;
    mdBalanceBlue = blue;
    // The factors enter the tables as gains at the next demosaic run; here
    // the tables are only brought in line with the current formats.
    createLookUpTables(1.0, 1.0, 1.0, 1.0);
    return RESULT_OK;
}

int CImgProc::getDemosaicColorBalance(double* red, double* green, double* blue)
{
    // Measured from the current Bayer frame, not the stored factors.
    return mConvDemosaic.GetBalance(red, green, blue) ? 1 : 0;
}

// Sampling of a region into a converter's statistics work block, one rule
// per source family. Each converter's OnAverage hands its family's rule
// the converter itself; the reduction lives in CImgProcConv::Average.
#ifndef AVERAGE_HISTOGRAM_H
#define AVERAGE_HISTOGRAM_H

#include <cstdint>

class CImgProcConv;

class CAverageHistogram {
public:
    // Thresholds of the three brightness classes from the source's depth.
    explicit CAverageHistogram(CImgProcConv& converter);

    // Mono and Bayer sources: the largest of four sites, two of a row and
    // two of the next. Packed 10/12-bit groups only where packed is allowed.
    static void SampleMono(CImgProcConv& converter, bool packedAllowed);
    // Packed RGB and BGR sources.
    static void SampleRgb(CImgProcConv& converter);
    // Planar RGB sources: plane 0 only.
    static void SamplePlanar(CImgProcConv& converter);
    // YUV sources: the Y byte of each group.
    static void SampleYuv(CImgProcConv& converter);

    int32_t miThreshold1;
    int32_t miThreshold2;

private:
    void Record(int32_t value, int32_t valueSumIncrement);
    template <typename T>
    static void SampleFourSites(CImgProcConv& converter, CAverageHistogram& histogram);
    static void SamplePacked(CImgProcConv& converter, CAverageHistogram& histogram);
    template <typename T>
    static void SampleRgbPixels(CImgProcConv& converter, CAverageHistogram& histogram, int pixelSize, int count,
                                bool redFirst);
    template <typename T>
    static void SamplePlanarRow(CImgProcConv& converter, CAverageHistogram& histogram);

    int32_t* mpCells;
};

#endif

// The built-in chart of the demo: colour bars, a grey ramp, fine lines and a
// colour wheel in 8-bit RGB, and its Bayer mosaics in each of the four
// phases, so that every demosaic path can be looked at without a camera.
#ifndef FRAMECONV_TEST_CHART_H
#define FRAMECONV_TEST_CHART_H

#include <cstdint>
#include <string>
#include <vector>

enum class BayerPhase { RG, GR, GB, BG };

struct RgbImage {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgb;  // three bytes a pixel, red first
};

class TestChart {
public:
    static RgbImage Generate(int width, int height);

    // Colour channel (0 red, 1 green, 2 blue) that a mosaic of this phase
    // samples at (x, y). The phase names the first two sites of row 0.
    static int ChannelAt(BayerPhase phase, int x, int y);
    // 8 bits: one byte a site. 12 bits: 16-bit little-endian words holding
    // the 8-bit value shifted left by 4, as a 12-bit sensor would give it.
    static std::vector<uint8_t> Mosaic(const RgbImage& chart, BayerPhase phase, int bits);
    // BAYxx8 / BAYxx10 / BAYxx12 code of a phase; 0 for other depths.
    static uint32_t BayerCode(BayerPhase phase, int bits);
    static const char* PhaseName(BayerPhase phase);
    static bool ParsePhase(const std::string& text, BayerPhase& phase);
};

#endif

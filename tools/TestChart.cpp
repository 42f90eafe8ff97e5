#include "TestChart.h"

#include <algorithm>
#include <cctype>
#include <cmath>

#include "KorvaPixelFormats.h"

namespace {

void Put(RgbImage& image, int x, int y, int r, int g, int b)
{
    uint8_t* p = image.rgb.data() + (static_cast<size_t>(y) * image.width + x) * 3;
    p[0] = static_cast<uint8_t>(r);
    p[1] = static_cast<uint8_t>(g);
    p[2] = static_cast<uint8_t>(b);
}

// Hue (0..1535 in six sectors of 256) to a fully saturated colour.
void Hue(int hue, int& r, int& g, int& b)
{
    const int sector = hue / 256, f = hue % 256;
    switch (sector) {
    case 0: r = 255; g = f; b = 0; break;
    case 1: r = 255 - f; g = 255; b = 0; break;
    case 2: r = 0; g = 255; b = f; break;
    case 3: r = 0; g = 255 - f; b = 255; break;
    case 4: r = f; g = 0; b = 255; break;
    default: r = 255; g = 0; b = 255 - f; break;
    }
}

}  // namespace

RgbImage TestChart::Generate(int width, int height)
{
    RgbImage image;
    image.width = width;
    image.height = height;
    image.rgb.assign(static_cast<size_t>(width) * height * 3, 0);
    if (width <= 0 || height <= 0)
        return image;

    static const int bars[8][3] = {{255, 255, 255}, {255, 255, 0}, {0, 255, 255}, {0, 255, 0},
                                   {255, 0, 255},   {255, 0, 0},   {0, 0, 255},   {0, 0, 0}};
    const int barsBottom = height * 35 / 100;
    const int rampBottom = height / 2;
    const int half = width / 2;
    const int cx = half + half / 2, cy = (rampBottom + height) / 2;
    const int radius = std::max(1, std::min(half / 2, (height - rampBottom) / 2) - 4);

    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x) {
            if (y < barsBottom) {
                const int* c = bars[x * 8 / width];
                Put(image, x, y, c[0], c[1], c[2]);
            } else if (y < rampBottom) {
                const int v = width > 1 ? x * 255 / (width - 1) : 0;
                Put(image, x, y, v, v, v);
            } else if (x < half) {
                // Line groups of period 2, 4, 6 and 8 pixels, vertical lines
                // on top, horizontal ones below: where demosaicing blurs or
                // colours edges shows first here.
                const int band = (x * 4) / std::max(1, half);
                const int period = 2 * (band + 1);
                const bool upper = y < (rampBottom + height) / 2;
                const int t = upper ? x : y;
                const bool on = (t % period) < period / 2;
                const int v = on ? 255 : 0;
                Put(image, x, y, v, v, v);
            } else {
                const int dx = x - cx, dy = y - cy;
                const int d2 = dx * dx + dy * dy;
                if (d2 > radius * radius) {
                    Put(image, x, y, 128, 128, 128);
                    continue;
                }
                const double angle = std::atan2(static_cast<double>(dy), static_cast<double>(dx));
                int hue = static_cast<int>((angle + M_PI) / (2.0 * M_PI) * 1536.0);
                hue = std::min(std::max(hue, 0), 1535);
                int r, g, b;
                Hue(hue, r, g, b);
                // Saturation grows with the radius: white at the centre.
                const int s = static_cast<int>(std::sqrt(static_cast<double>(d2)) * 256.0 / radius);
                const int k = std::min(s, 256);
                Put(image, x, y, 255 - ((255 - r) * k >> 8), 255 - ((255 - g) * k >> 8), 255 - ((255 - b) * k >> 8));
            }
        }
    }
    return image;
}

int TestChart::ChannelAt(BayerPhase phase, int x, int y)
{
    const int site = (y & 1) * 2 + (x & 1);  // 0 1 / 2 3
    static const int layout[4][4] = {
        {0, 1, 1, 2},  // RG: R G / G B
        {1, 0, 2, 1},  // GR: G R / B G
        {1, 2, 0, 1},  // GB: G B / R G
        {2, 1, 1, 0},  // BG: B G / G R
    };
    return layout[static_cast<int>(phase)][site];
}

std::vector<uint8_t> TestChart::Mosaic(const RgbImage& chart, BayerPhase phase, int bits)
{
    const bool wide = bits > 8;
    const size_t pixels = static_cast<size_t>(chart.width) * chart.height;
    std::vector<uint8_t> out(pixels * (wide ? 2 : 1));
    for (int y = 0; y < chart.height; ++y) {
        for (int x = 0; x < chart.width; ++x) {
            const size_t i = static_cast<size_t>(y) * chart.width + x;
            const uint8_t v = chart.rgb[i * 3 + ChannelAt(phase, x, y)];
            if (wide) {
                const uint16_t w = static_cast<uint16_t>(v << (bits - 8));
                out[2 * i] = static_cast<uint8_t>(w & 0xFF);
                out[2 * i + 1] = static_cast<uint8_t>(w >> 8);
            } else {
                out[i] = v;
            }
        }
    }
    return out;
}

uint32_t TestChart::BayerCode(BayerPhase phase, int bits)
{
    static const uint32_t codes[4][3] = {
        {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_BAYRG10, KORVA_PIXTYPE_BAYRG12},
        {KORVA_PIXTYPE_BAYGR8, KORVA_PIXTYPE_BAYGR10, KORVA_PIXTYPE_BAYGR12},
        {KORVA_PIXTYPE_BAYGB8, KORVA_PIXTYPE_BAYGB10, KORVA_PIXTYPE_BAYGB12},
        {KORVA_PIXTYPE_BAYBG8, KORVA_PIXTYPE_BAYBG10, KORVA_PIXTYPE_BAYBG12},
    };
    const int column = bits == 8 ? 0 : bits == 10 ? 1 : bits == 12 ? 2 : -1;
    return column < 0 ? 0 : codes[static_cast<int>(phase)][column];
}

const char* TestChart::PhaseName(BayerPhase phase)
{
    static const char* names[4] = {"RG", "GR", "GB", "BG"};
    return names[static_cast<int>(phase)];
}

bool TestChart::ParsePhase(const std::string& text, BayerPhase& phase)
{
    std::string upper;
    for (char c : text)
        upper += static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    for (BayerPhase p : {BayerPhase::RG, BayerPhase::GR, BayerPhase::GB, BayerPhase::BG}) {
        if (upper == PhaseName(p)) {
            phase = p;
            return true;
        }
    }
    return false;
}

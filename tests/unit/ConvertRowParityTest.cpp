// Every vector row of the mono, packed RGB, planar, YUV and copy converters
// against the portable loop, byte for byte, at every instruction level this
// CPU has; then whole frames of every non-Bayer format pair through the image
// object, lowest level against highest.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "ImgProc.h"
#include "ImgProcConvCopy.h"
#include "ImgProcConvMono.h"
#include "ImgProcConvRGB.h"
#include "ImgProcConvYUV.h"
#include "KorvaPixelFormats.h"
#include "KvCpu.h"
#include "TestFrames.h"

namespace {

typedef std::vector<unsigned char> Bytes;
typedef std::function<void(const unsigned char* src, unsigned char* dst, int32_t width)> Row;

const int kGuard = 67;
const int kMaxWidth = 3 * 64 + 3;  // three of the widest vectors plus three

std::vector<KvCpuLevel> FastLevels()
{
    std::vector<KvCpuLevel> levels;
    for (KvCpuLevel l : {KvCpuLevel::Avx2, KvCpuLevel::Avx512})
        if (static_cast<int>(l) <= static_cast<int>(KvCpuSupported()))
            levels.push_back(l);
    return levels;
}

// Three tables as createLookUpTables builds them (gain 1, gamma 1) for the
// depths, with noise above the source depth; or noise throughout.
struct Tables {
    std::vector<uint16_t> t[3];
    const uint16_t* p[3];
    sConvLutShape shape;
    Tables(int srcMax, int dstMax, bool built, std::mt19937& rng)
    {
        for (int c = 0; c < 3; ++c) {
            t[c].resize(65536);
            for (int i = 0; i < 65536; ++i)
                t[c][i] = built && i <= srcMax ? static_cast<uint16_t>(static_cast<int>(
                                                     static_cast<double>(i) / srcMax * dstMax + 0.5))
                                               : static_cast<uint16_t>(rng());
            p[c] = t[c].data();
        }
        shape = ConvLutShapeOf(p, srcMax);
        // Unrecognised built tables would leave every vector row below untried.
        if (built && dstMax == 255) {
            EXPECT_TRUE(shape.identity8[0] || shape.rescale8[0]) << srcMax;
        }
    }
};

struct RowCase {
    const char* name;
    double srcBytes, dstBytes;  // per pixel, for the buffers (planes: all three)
    int srcMax, dstMax;         // sample range of the tables
    std::function<Row(KvCpuLevel, const Tables&)> pick;
};

Row Mono(uint32_t s, uint32_t d, int sBpp, int dBpp, double sFactor, KvCpuLevel level, const Tables& t)
{
    sMonoRow row;
    EXPECT_TRUE(PickMonoRow(s, d, sBpp, dBpp, sFactor, 1, t.p[0], t.shape, level, &row));
    return [row](const unsigned char* src, unsigned char* dst, int32_t w) { row.convert(src, dst, w, row); };
}

Row Rgb(uint32_t s, uint32_t d, int sBpp, int dBpp, KvCpuLevel level, const Tables& t)
{
    sRgbRow row;
    PickRgbRow(s, d, sBpp, dBpp, 1, t.p, t.shape, 0, level, &row);
    EXPECT_NE(row.convert, nullptr);
    return [row](const unsigned char* src, unsigned char* dst, int32_t w) { row.convert(src, dst, w, row); };
}

// Planes of a row follow each other at width * element bytes.
Row Planar(int sBpp, KvCpuLevel level, const Tables& t)
{
    sPlanarRow row;
    PickPlanarRow(sBpp, 8, 1, t.p, t.shape, level, &row);
    const size_t element = sBpp > 8 ? 2 : 1;
    return [row, element](const unsigned char* src, unsigned char* dst, int32_t w) {
        const unsigned char* s[3] = {src, src + element * w, src + 2 * element * w};
        unsigned char* d[3] = {dst, dst + w, dst + 2 * w};
        row.convert(s, d, w, row);
    };
}

Row Yuv(uint32_t s, uint32_t d, KvCpuLevel level, const Tables& t)
{
    sYuvRow row;
    PickYuvRow(s, d, 1, t.p[0], t.shape, level, &row);
    return [row](const unsigned char* src, unsigned char* dst, int32_t w) { row.convert(src, dst, w, row); };
}

Row Copy(double factor, int bpp, KvCpuLevel level)
{
    const CopyRowFunction f = PickCopyRow(factor, bpp, 1, level);
    return [f](const unsigned char* src, unsigned char* dst, int32_t w) { f(src, dst, w, 1); };
}

std::vector<RowCase> RowCases()
{
    using L = KvCpuLevel;
    std::vector<RowCase> cases;
    for (int bpp : {10, 12, 14, 16}) {
        const uint32_t code = bpp == 10 ? KORVA_PIXTYPE_MONO10 : bpp == 12 ? KORVA_PIXTYPE_MONO12
                              : bpp == 14 ? KORVA_PIXTYPE_MONO14 : KORVA_PIXTYPE_MONO16;
        cases.push_back({"mono words", 2, 1, (1 << bpp) - 1, 255, [=](L l, const Tables& t) {
                             return Mono(code, KORVA_PIXTYPE_MONO8, bpp, 8, 2.0, l, t);
                         }});
    }
    cases.push_back({"mono10 packed", 1.5, 1, 1023, 255, [](L l, const Tables& t) {
                         return Mono(KORVA_PIXTYPE_MONO10_PACKED, KORVA_PIXTYPE_MONO8, 10, 8, 1.5, l, t);
                     }});
    cases.push_back({"mono12 packed", 1.5, 1, 4095, 255, [](L l, const Tables& t) {
                         return Mono(KORVA_PIXTYPE_MONO12_PACKED, KORVA_PIXTYPE_MONO8, 12, 8, 1.5, l, t);
                     }});
    cases.push_back({"mono10 packed to words", 1.5, 2, 1023, 1023, [](L l, const Tables& t) {
                         return Mono(KORVA_PIXTYPE_MONO10_PACKED, KORVA_PIXTYPE_MONO10, 10, 10, 1.5, l, t);
                     }});
    cases.push_back({"mono12 packed to words", 1.5, 2, 4095, 4095, [](L l, const Tables& t) {
                         return Mono(KORVA_PIXTYPE_MONO12_PACKED, KORVA_PIXTYPE_MONO12, 12, 12, 1.5, l, t);
                     }});
    const uint32_t colour8[] = {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_RGBA8_PACKED,
                                KORVA_PIXTYPE_BGRA8_PACKED};
    for (uint32_t s : colour8) {
        const double sBytes = s == KORVA_PIXTYPE_RGBA8_PACKED || s == KORVA_PIXTYPE_BGRA8_PACKED ? 4 : 3;
        cases.push_back({"colour8 to grey", sBytes, 1, 255, 255, [=](L l, const Tables& t) {
                             return Rgb(s, KORVA_PIXTYPE_MONO8, 8, 8, l, t);
                         }});
        for (uint32_t d : colour8) {
            const double dBytes = d == KORVA_PIXTYPE_RGBA8_PACKED || d == KORVA_PIXTYPE_BGRA8_PACKED ? 4 : 3;
            cases.push_back({"colour8 reorder", sBytes, dBytes, 255, 255, [=](L l, const Tables& t) {
                                 return Rgb(s, d, 8, 8, l, t);
                             }});
        }
        const uint32_t yuv[] = {KORVA_PIXTYPE_YUV411_PACKED, KORVA_PIXTYPE_YUV422_PACKED,
                                KORVA_PIXTYPE_YUV444_PACKED};
        for (int k = 0; k < 3; ++k)
            cases.push_back({"yuv to colour", 1.5 + 0.5 * k + (k == 2 ? 0.5 : 0), sBytes, 255, 255,
                             [=](L l, const Tables& t) { return Yuv(yuv[k], s, l, t); }});
    }
    const uint32_t yuv[] = {KORVA_PIXTYPE_YUV411_PACKED, KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_YUV444_PACKED};
    for (int k = 0; k < 3; ++k)
        cases.push_back({"yuv to grey", 1.5 + 0.5 * k + (k == 2 ? 0.5 : 0), 1, 255, 255,
                         [=](L l, const Tables& t) { return Yuv(yuv[k], KORVA_PIXTYPE_MONO8, l, t); }});
    for (int bpp : {10, 12}) {
        const uint32_t rgb = bpp == 10 ? KORVA_PIXTYPE_RGB10_PACKED : KORVA_PIXTYPE_RGB12_PACKED;
        for (uint32_t d : colour8) {
            const double dBytes = d == KORVA_PIXTYPE_RGBA8_PACKED || d == KORVA_PIXTYPE_BGRA8_PACKED ? 4 : 3;
            cases.push_back({"rgb words to bytes", 6, dBytes, (1 << bpp) - 1, 255,
                             [=](L l, const Tables& t) { return Rgb(rgb, d, bpp, 8, l, t); }});
        }
        cases.push_back({"planar words", 6, 3, (1 << bpp) - 1, 255,
                         [=](L l, const Tables& t) { return Planar(bpp, l, t); }});
    }
    cases.push_back({"planar bytes", 3, 3, 255, 255, [](L l, const Tables& t) { return Planar(8, l, t); }});
    cases.push_back({"copy bytes", 1, 1, 255, 255, [](L l, const Tables&) { return Copy(1.0, 8, l); }});
    cases.push_back({"copy words", 2, 2, 4095, 4095, [](L l, const Tables&) { return Copy(2.0, 12, l); }});
    return cases;
}

// Source words within the depth with a rare one above it, or any words.
Bytes RandomSource(size_t bytes, int srcMax, bool anyWords, std::mt19937& rng)
{
    Bytes b(bytes);
    for (size_t i = 0; i + 1 < bytes; i += 2) {
        unsigned w = rng() & 0xFFFF;
        if (!anyWords && rng() % 512 != 0)
            w %= static_cast<unsigned>(srcMax) + 1;
        b[i] = static_cast<unsigned char>(w);
        b[i + 1] = static_cast<unsigned char>(w >> 8);
    }
    return b;
}

TEST(ConvertRowParity, EveryVectorRowMatchesThePortableLoop)
{
    std::mt19937 rng(20261122);
    for (const RowCase& c : RowCases()) {
        for (bool built : {true, false}) {
            const Tables tables(c.srcMax, c.dstMax, built, rng);
            const Row reference = c.pick(KvCpuLevel::Baseline, tables);
            for (KvCpuLevel level : FastLevels()) {
                const Row fast = c.pick(level, tables);
                for (int width = 1; width <= kMaxWidth; ++width) {
                    const int offset = width % 3;  // odd and even starts of both rows
                    const size_t srcBytes = static_cast<size_t>(c.srcBytes * width) + 16 + offset;
                    const Bytes src = RandomSource(srcBytes, c.srcMax, width % 2 == 0, rng);
                    const size_t dstBytes = static_cast<size_t>(c.dstBytes * width) + 2 * kGuard + 8;
                    Bytes want(dstBytes, testframes::kUntouched), got(want);
                    reference(src.data() + offset, want.data() + kGuard + offset, width);
                    fast(src.data() + offset, got.data() + kGuard + offset, width);
                    ASSERT_EQ(want, got) << c.name << ", " << KvCpuLevelName(level) << ", width " << width
                                         << (built ? ", built tables" : ", random tables");
                }
            }
        }
    }
}

// Whole frames through doTransform: rows are written top to bottom and some
// run into the next one, which a row test alone would not see.
Bytes Transform(uint32_t srcFormat, uint32_t dstFormat, int w, int h, KvCpuLevel level)
{
    KvCpuOverride(level);
    std::mt19937 rng(srcFormat ^ (dstFormat << 3) ^ static_cast<uint32_t>(w));
    auto image = testframes::MakeFrame(static_cast<int>(srcFormat), w, h, [&rng](int) { return rng() & 0xFF; });
    image->setDestinationPixelFormat(static_cast<int>(dstFormat));
    int length = 0;
    image->getTransformBufferLength(&length);
    Bytes out(static_cast<size_t>(length) + 4 * w + 64, testframes::kUntouched);
    const int result = image->doTransform(out.data(), length);
    out.push_back(static_cast<unsigned char>(result));
    KvCpuResetOverride();
    return out;
}

TEST(ConvertRowParity, EveryNonBayerPairMatchesAcrossLevels)
{
    std::vector<KvCpuLevel> levels;
    for (KvCpuLevel level : {KvCpuLevel::Avx2, KvCpuLevel::Avx512})
        if (level <= KvCpuSupported())
            levels.push_back(level);
    if (levels.empty())
        GTEST_SKIP() << "no vector level on this CPU";
    CImgProc catalogue;
    int pairs = 0;
    for (const auto& entry : catalogue.mPixelFormatMap) {
        const sPixelFormatNode& node = entry.second;
        if (node.mpFormatConverter == nullptr || node.mpFormatConverter == &catalogue.mConvDemosaic)
            continue;
        for (uint32_t dst : node.mlDestinationFormats) {
            // The planar converter stops the process for any other destination.
            if (node.mpFormatConverter == &catalogue.mConvRGBPlanar && dst != KORVA_PIXTYPE_RGB8_PLANAR)
                continue;
            for (int w : {203, 66}) {
                const Bytes want = Transform(entry.first, dst, w, 3, KvCpuLevel::Baseline);
                for (KvCpuLevel level : levels)
                    ASSERT_EQ(want, Transform(entry.first, dst, w, 3, level))
                        << node.msFormatName << " to " << catalogue.mPixelFormatMap[dst].msFormatName << ", width "
                        << w << ", level " << static_cast<int>(level);
            }
            ++pairs;
        }
    }
    EXPECT_GT(pairs, 40);
}

}  // namespace

#include <gtest/gtest.h>

#include <set>
#include <string>

#include "KorvaPixelFormats.h"
#include "PairPolicy.h"
#include "PixelFormatNames.h"

TEST(PixelFormatNames, ThirtyNineUniqueNamesAndCodesMapBothWays)
{
    const auto& all = PixelFormatNames::All();
    ASSERT_EQ(all.size(), 39u);
    std::set<std::string> names;
    std::set<uint32_t> codes;
    for (const PixelFormatInfo& info : all) {
        names.insert(info.name);
        codes.insert(info.code);
        const PixelFormatInfo* byName = PixelFormatNames::FindByName(info.name);
        ASSERT_NE(byName, nullptr) << info.name;
        EXPECT_EQ(byName->code, info.code) << info.name;
        const PixelFormatInfo* byCode = PixelFormatNames::FindByCode(info.code);
        ASSERT_NE(byCode, nullptr) << info.name;
        EXPECT_STREQ(byCode->name, info.name);
        EXPECT_EQ(info.bytesPerPixel, info.storedBits / 8.0) << info.name;
    }
    EXPECT_EQ(names.size(), 39u);
    EXPECT_EQ(codes.size(), 39u);
}

TEST(PixelFormatNames, NamesMatchTheCodesOfTheInterface)
{
    EXPECT_EQ(PixelFormatNames::FindByName("BAYRG8")->code, static_cast<uint32_t>(KORVA_PIXTYPE_BAYRG8));
    EXPECT_EQ(PixelFormatNames::FindByName("MONO12_PACKED")->code, static_cast<uint32_t>(KORVA_PIXTYPE_MONO12_PACKED));
    EXPECT_EQ(PixelFormatNames::FindByName("YUV422_PACKED")->code, static_cast<uint32_t>(KORVA_PIXTYPE_YUV422_PACKED));
    EXPECT_EQ(PixelFormatNames::FindByName("MONO8_LUT")->code, 0x81080001u);
    EXPECT_EQ(PixelFormatNames::FindByName("korva_pixtype_rgb8_planar")->code,
              static_cast<uint32_t>(KORVA_PIXTYPE_RGB8_PLANAR));
    EXPECT_EQ(PixelFormatNames::FindByName("RGB8"), nullptr);
    EXPECT_EQ(PixelFormatNames::FindByCode(0), nullptr);
    EXPECT_EQ(PixelFormatNames::NameOf(0x12345678u), "0x12345678");
}

TEST(PixelFormatNames, SizesFollowThePluginsRules)
{
    // A frame's own size uses the real factor, the transform target the
    // plug-in's size rule, which counts YUV411 as two bytes a pixel.
    EXPECT_EQ(PixelFormatNames::FrameBytes(KORVA_PIXTYPE_YUV411_PACKED, 1000, 1000), 1500000);
    EXPECT_EQ(PixelFormatNames::TransformBytes(KORVA_PIXTYPE_YUV411_PACKED, 1000, 1000), 2000000);
    EXPECT_EQ(PixelFormatNames::TransformBytes(KORVA_PIXTYPE_MONO12_PACKED, 1000, 1000), 1500000);
    EXPECT_EQ(PixelFormatNames::TransformBytes(KORVA_PIXTYPE_MONO10_PACKED, 3, 3), 13);
    EXPECT_EQ(PixelFormatNames::TransformBytes(KORVA_PIXTYPE_RGB10V1_PACKED, 2, 2), 16);
    EXPECT_EQ(PixelFormatNames::TransformBytes(KORVA_PIXTYPE_RGB16_PLANAR, 2, 2), 24);
    for (const PixelFormatInfo& info : PixelFormatNames::All())
        EXPECT_GE(PixelFormatNames::TransformBytes(info.code, 7, 5), PixelFormatNames::FrameBytes(info.code, 7, 5))
            << info.name;
    // One row of the widest reading of the format, and then some.
    EXPECT_EQ(PixelFormatNames::Slack(KORVA_PIXTYPE_YUV411_PACKED, 100), 216);
    EXPECT_EQ(PixelFormatNames::Slack(KORVA_PIXTYPE_RGB8_PACKED, 100), 316);
}

TEST(PairPolicy, PairsThatStopThePluginAreRefused)
{
    const std::pair<uint32_t, uint32_t> stops[] = {
        {KORVA_PIXTYPE_RGB8_PLANAR, KORVA_PIXTYPE_RGB8_PACKED},
        {KORVA_PIXTYPE_RGB10_PLANAR, KORVA_PIXTYPE_RGB10_PLANAR},
        {KORVA_PIXTYPE_RGB12_PLANAR, KORVA_PIXTYPE_RGB10_PLANAR},
        {KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_RGB10_PACKED},
        {KORVA_PIXTYPE_YUV411_PACKED, KORVA_PIXTYPE_MONO16},
        {KORVA_PIXTYPE_YUV444_PACKED, KORVA_PIXTYPE_RGB8_PLANAR},
    };
    for (const auto& pair : stops) {
        const PairCheck check = PairPolicy::Check(pair.first, pair.second);
        EXPECT_EQ(check.verdict, PairVerdict::StopsProcess) << std::hex << pair.first << " " << pair.second;
        EXPECT_FALSE(PairPolicy::MayRun(check));
        EXPECT_FALSE(check.reason.empty());
    }
}

TEST(PairPolicy, EveryPlanarSourceStopsOnAnyButRgb8Planar)
{
    for (uint32_t source : {KORVA_PIXTYPE_RGB8_PLANAR, KORVA_PIXTYPE_RGB10_PLANAR, KORVA_PIXTYPE_RGB12_PLANAR})
        for (const PixelFormatInfo& d : PixelFormatNames::All())
            EXPECT_EQ(PairPolicy::MayRun(PairPolicy::Check(source, d.code)), d.code == KORVA_PIXTYPE_RGB8_PLANAR)
                << std::hex << source << " " << d.name;
}

TEST(PairPolicy, SourcesWithoutConverterAreRefused)
{
    for (uint32_t source : {KORVA_PIXTYPE_RGB10V1_PACKED, KORVA_PIXTYPE_RGB10V2_PACKED, KORVA_PIXTYPE_RGB16_PLANAR}) {
        const PairCheck check = PairPolicy::Check(source, KORVA_PIXTYPE_RGB8_PLANAR);
        EXPECT_EQ(check.verdict, PairVerdict::NoConverter);
        EXPECT_FALSE(PairPolicy::MayRun(check));
    }
}

TEST(PairPolicy, ServedPairsRunEvenOutsideTheOfferedLists)
{
    const std::pair<uint32_t, uint32_t> allowed[] = {
        {KORVA_PIXTYPE_RGB12_PLANAR, KORVA_PIXTYPE_RGB8_PLANAR},
        {KORVA_PIXTYPE_YUV422_PACKED, KORVA_PIXTYPE_RGBA8_PACKED},
        {KORVA_PIXTYPE_YUV411_PACKED, KORVA_PIXTYPE_RGBA8_PACKED},
        {KORVA_PIXTYPE_YUV444_PACKED, KORVA_PIXTYPE_YUV411_PACKED},
        {KORVA_PIXTYPE_BGR8_PACKED, KORVA_PIXTYPE_MONO8},
        {KORVA_PIXTYPE_BGR12_PACKED, KORVA_PIXTYPE_RGB10_PACKED},
        {KORVA_PIXTYPE_BAYBG8, KORVA_PIXTYPE_RGB8_PACKED},
        {KORVA_PIXTYPE_BAYRG8, KORVA_PIXTYPE_MONO8},
        {KORVA_PIXTYPE_MONO12, KORVA_PIXTYPE_MONO8},
        {KORVA_PIXTYPE_MONO8, KORVA_PIXTYPE_RGB8_PACKED},  // the mono converter fails it, no stop
    };
    for (const auto& pair : allowed)
        EXPECT_EQ(PairPolicy::Check(pair.first, pair.second).verdict, PairVerdict::Allowed)
            << std::hex << pair.first << " " << pair.second;
}

TEST(PairPolicy, PairsWithoutAnyLoopRunButAreFlagged)
{
    const std::pair<uint32_t, uint32_t> empty[] = {
        {KORVA_PIXTYPE_BAYRG10, KORVA_PIXTYPE_RGB10_PACKED},
        {KORVA_PIXTYPE_BAYGR8, KORVA_PIXTYPE_BGRA8_PACKED},
        {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_MONO16},
        {KORVA_PIXTYPE_RGB8_PACKED, KORVA_PIXTYPE_YUV422_PACKED},
    };
    for (const auto& pair : empty) {
        const PairCheck check = PairPolicy::Check(pair.first, pair.second);
        EXPECT_EQ(check.verdict, PairVerdict::WritesNothing) << std::hex << pair.first << " " << pair.second;
        EXPECT_TRUE(PairPolicy::MayRun(check));
    }
}

// Image size arithmetic and destination-format negotiation of the image object.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <list>
#include <memory>
#include <vector>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"

namespace {

#define P(x) static_cast<int>(KORVA_PIXTYPE_##x)

std::vector<int> CatalogueCodes(CImgProc& image)
{
    std::vector<int> codes;
    for (const auto& entry : image.mPixelFormatMap)
        codes.push_back(static_cast<int>(entry.first));
    return codes;
}

TEST(FormatNegotiation, ImageSizeFollowsTheSizeFieldOfTheCode)
{
    auto image = std::make_unique<CImgProc>();
    const struct {
        int code, width, height, size;
    } cases[] = {
        {0, 100, 100, -1},
        {0, 0, 0, -1},
        {P(MONO12_PACKED), 1000, 1000, 1500000},
        {P(YUV411_PACKED), 1000, 1000, 2000000},  // not 1.5 as its frames are
        {P(MONO10_PACKED), 3, 3, 13},             // 13.5 truncates
        {P(MONO10_PACKED), -3, 3, -13},           // toward zero, not down
        {P(MONO8), 640, 480, 307200},
        {P(MONO8_LUT), 10, 10, 100},
        {P(MONO12_LUT), 10, 10, 200},
        {P(MONO14), 2, 3, 12},
        {P(RGB8_PACKED), 2, 3, 18},
        {P(RGB10V1_PACKED), 1, 1, 4},
        {P(RGB16_PLANAR), 1, 1, 6},
        {0x010A0001, 5, 1, 10},
        {0x02140001, 5, 1, 15},
        {0x02240001, 5, 1, 30},
        {0x01000001, 5, 1, 0},
        {0x02400001, 5, 1, 0},
        {P(RGB8_PACKED), 100000, 100000, INT_MIN},  // beyond 32 bits
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        EXPECT_EQ(image->CalculateImageSize(c.code, c.width, c.height), c.size);
    }
}

TEST(FormatNegotiation, ImageLengthOfTheSourceView)
{
    const struct {
        int code, width, height, result, length;
    } cases[] = {
        {0, 0, 0, RESULT_OK, 0},
        {0, 10, 10, RESULT_OK, 0},
        {P(MONO8), 0, 10, RESULT_OK, 0},
        {P(MONO8), 10, 0, RESULT_OK, 0},
        {P(YUV411_PACKED), 4, 2, RESULT_OK, 16},
        {P(MONO8), -1, 1, RESULT_FAIL, 0},  // -1 is the failure value, however it arises
        {P(MONO8), -2, 1, RESULT_OK, -2},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.code);
        auto image = std::make_unique<CImgProc>();
        image->mMemSrc.miPixelFormat = static_cast<uint32_t>(c.code);
        image->mMemSrc.miWidth = c.width;
        image->mMemSrc.miHeight = c.height;
        int length = 12345;
        EXPECT_EQ(image->getImageLength(&length), c.result);
        EXPECT_EQ(length, c.length);
    }
}

TEST(FormatNegotiation, NumberOfCanals)
{
    auto image = std::make_unique<CImgProc>();
    const std::vector<int> one = {P(MONO8), P(MONO8_SIGNED), P(MONO10), P(MONO10_PACKED), P(MONO12),
                                  P(MONO12_PACKED), P(MONO16), P(BAYGR8), P(BAYRG8), P(BAYGB8), P(BAYBG8),
                                  P(BAYGR10), P(BAYRG10), P(BAYGB10), P(BAYBG10), P(BAYGR12), P(BAYRG12),
                                  P(BAYGB12), P(BAYBG12), P(RGB8_PLANAR), P(RGB10_PLANAR), P(RGB12_PLANAR),
                                  P(RGB16_PLANAR)};
    const std::vector<int> three = {P(RGB8_PACKED), P(BGR8_PACKED), P(RGBA8_PACKED), P(BGRA8_PACKED),
                                    P(RGB10_PACKED), P(BGR10_PACKED), P(RGB12_PACKED), P(BGR12_PACKED),
                                    P(RGB10V1_PACKED), P(RGB10V2_PACKED), P(YUV444_PACKED)};
    int counted = 0;
    for (int code : CatalogueCodes(*image)) {
        SCOPED_TRACE(code);
        int expected = 0;
        if (std::find(one.begin(), one.end(), code) != one.end())
            expected = 1;
        else if (std::find(three.begin(), three.end(), code) != three.end())
            expected = 3;
        else if (code == P(YUV422_PACKED))
            expected = 2;
        EXPECT_EQ(image->NumberOfCanals(code), expected);
        counted += expected != 0;
    }
    EXPECT_EQ(counted, 35);  // YUV411, MONO14 and the look-up variants count 0
    EXPECT_EQ(image->NumberOfCanals(0), 0);
}

TEST(FormatNegotiation, SetPixelFormatFillsTheSourceViewWithoutValidation)
{
    auto image = std::make_unique<CImgProc>();
    for (int code : CatalogueCodes(*image)) {
        SCOPED_TRACE(code);
        EXPECT_EQ(image->setPixelFormat(code), RESULT_OK);
        const sPixelFormatNode& node = image->mPixelFormatMap[static_cast<uint32_t>(code)];
        EXPECT_EQ(image->mMemSrc.miPixelFormat, static_cast<uint32_t>(code));
        EXPECT_EQ(image->mMemSrc.miBppEff, node.miFormatBppEff);
        EXPECT_EQ(image->mMemSrc.miBpp, node.miFormatBpp);
        EXPECT_EQ(image->mMemSrc.mdBytePerPixel, node.mdFormatBytePerPixel);
    }
    EXPECT_EQ(image->mMemSrc.miPixelFormat, 0x81100005u);  // the largest key, via a negative int
    EXPECT_EQ(image->setPixelFormat(0x01080026), RESULT_OK);
    EXPECT_EQ(image->mMemSrc.miBpp + image->mMemSrc.miBppEff, 0);
    EXPECT_EQ(image->mMemSrc.mdBytePerPixel, 0.0);
    EXPECT_EQ(image->mPixelFormatMap.size(), 40u);
    EXPECT_EQ(image->mMemDst.miPixelFormat, 0u);
}

TEST(FormatNegotiation, SetDestinationIsLooseWhileTheSupportTestIsStrict)
{
    auto image = std::make_unique<CImgProc>();
    image->setPixelFormat(P(MONO8));
    EXPECT_EQ(image->setDestinationPixelFormat(P(MONO8_LUT)), RESULT_OK);
    EXPECT_EQ(image->mMemDst.miPixelFormat, 0x81080001u);
    EXPECT_EQ(image->mMemDst.miBpp, 8);

    image->setDestinationPixelFormat(P(RGB10_PACKED));
    EXPECT_EQ(image->isDestinationPixelFormatSupp(P(MONO8_LUT)), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image->mMemDst.miPixelFormat, static_cast<uint32_t>(P(RGB10_PACKED)));
    EXPECT_EQ(image->mMemDst.mdBytePerPixel, 6.0);
    EXPECT_EQ(image->isDestinationPixelFormatSupp(P(MONO8)), RESULT_OK);  // sets the view, despite its name
    EXPECT_EQ(image->mMemDst.miPixelFormat, static_cast<uint32_t>(P(MONO8)));
    EXPECT_EQ(image->mMemDst.mdBytePerPixel, 1.0);

    // Unknown codes are refused and leave the view alone, but stay in the map.
    for (int code : {0, 0x01080026}) {
        EXPECT_EQ(image->setDestinationPixelFormat(code), RESULT_BAD_PARAM);
        EXPECT_EQ(image->isDestinationPixelFormatSupp(code), RESULT_BAD_PARAM);
        EXPECT_EQ(image->mMemDst.miPixelFormat, static_cast<uint32_t>(P(MONO8)));
    }
    EXPECT_EQ(image->mPixelFormatMap.size(), 41u);
}

TEST(FormatNegotiation, EveryCatalogueCodeIsAcceptedAsDestinationOfAnySource)
{
    for (int source : {0, P(BAYBG8), 0x01080026}) {
        auto image = std::make_unique<CImgProc>();
        image->setPixelFormat(source);
        for (int code : CatalogueCodes(*image)) {
            if (image->mPixelFormatMap[static_cast<uint32_t>(code)].mlDestinationFormats.empty())
                continue;  // the unknown source's own empty record
            EXPECT_EQ(image->setDestinationPixelFormat(code), RESULT_OK) << source << " " << code;
            EXPECT_EQ(image->mMemDst.miPixelFormat, static_cast<uint32_t>(code));
        }
    }
}

TEST(FormatNegotiation, SupportTestAcceptsExactlyTheSourcesList)
{
    auto image = std::make_unique<CImgProc>();
    const std::vector<int> codes = CatalogueCodes(*image);
    int accepted = 0;
    for (int source : codes) {
        image->setPixelFormat(source);
        const std::list<uint32_t> offered = image->mPixelFormatMap[static_cast<uint32_t>(source)].mlDestinationFormats;
        for (int code : codes) {
            image->mMemDst.miPixelFormat = 0;
            const bool listed =
                std::find(offered.begin(), offered.end(), static_cast<uint32_t>(code)) != offered.end();
            EXPECT_EQ(image->isDestinationPixelFormatSupp(code), listed ? RESULT_OK : RESULT_NOT_SUPPORTED)
                << source << " " << code;
            EXPECT_EQ(image->mMemDst.miPixelFormat, listed ? static_cast<uint32_t>(code) : 0u);
            accepted += listed;
        }
    }
    EXPECT_EQ(accepted, 163);  // the sum of all list lengths
    EXPECT_EQ(image->mPixelFormatMap.size(), 39u);

    image->setPixelFormat(P(BAYBG8));
    EXPECT_EQ(image->isDestinationPixelFormatSupp(P(RGB8_PACKED)), RESULT_NOT_SUPPORTED);
    for (int source : {0, 0x01080026}) {
        image->setPixelFormat(source);
        EXPECT_EQ(image->isDestinationPixelFormatSupp(P(MONO8)), RESULT_NOT_SUPPORTED);
        EXPECT_EQ(image->isDestinationPixelFormatSupp(0x02000001), RESULT_BAD_PARAM);  // checked first
    }
}

struct ListQuery {
    KORVA_FeatureState state{77, false, false, true, false};
    KORVAX_TypeListINT list{};
    ListQuery()
    {
        list.iSize = 144;
        list.iType = list.iCurrent = list.iCount = -5;
        for (int32_t& value : list.aValues)
            value = -7;
    }
};

TEST(FormatNegotiation, DestinationListOfAnyFormatWithCurrentIndex)
{
    auto image = std::make_unique<CImgProc>();
    image->setPixelFormat(P(MONO8));
    const struct {
        int dst, code, current;
    } cases[] = {
        {0, P(BAYGR12), 0},
        {P(RGB8_PACKED), P(BAYGR12), 3},
        {P(BGR8_PACKED), P(BAYGR12), 9},
        {P(MONO16), P(BAYGR12), 0},
        {P(MONO10), P(MONO12_LUT), 2},
        {P(MONO8_LUT), P(MONO8_LUT), 0},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.dst);
        image->mMemDst.miPixelFormat = static_cast<uint32_t>(c.dst);
        ListQuery q;
        ASSERT_EQ(image->getDestinationPixelFormat(c.code, &q.state, &q.list), RESULT_OK);
        const std::list<uint32_t>& offered = image->mPixelFormatMap[static_cast<uint32_t>(c.code)].mlDestinationFormats;
        EXPECT_EQ(q.list.iType, KORVA_TYPE_TAG);
        EXPECT_EQ(q.list.iSize, 144);
        EXPECT_EQ(q.list.iCurrent, c.current);
        ASSERT_EQ(q.list.iCount, static_cast<int>(offered.size()));
        EXPECT_EQ(std::vector<int32_t>(q.list.aValues, q.list.aValues + q.list.iCount),
                  std::vector<int32_t>(offered.begin(), offered.end()));
        EXPECT_EQ(q.list.aValues[q.list.iCount], -7);
    }
    ListQuery q;
    image->getDestinationPixelFormat(P(BAYGR12), &q.state, &q.list);
    EXPECT_EQ(q.list.iCount, 10);
    EXPECT_EQ(q.list.aValues[0], P(BAYGR12));
}

TEST(FormatNegotiation, RefusedListQueryStillWritesTagIndexAndFlags)
{
    auto image = std::make_unique<CImgProc>();
    image->setDestinationPixelFormat(P(MONO8));
    ListQuery q;
    EXPECT_EQ(image->getDestinationPixelFormat(0x01080026, &q.state, &q.list), RESULT_BAD_PARAM);
    EXPECT_EQ(q.list.iType, KORVA_TYPE_TAG);
    EXPECT_EQ(q.list.iCurrent, 0);
    EXPECT_EQ(q.list.iCount, -5);
    EXPECT_EQ(q.list.aValues[0], -7);
    EXPECT_EQ(q.state.iSize, 77);
    EXPECT_TRUE(q.state.stateFlag1);
    EXPECT_TRUE(q.state.stateFlag2);
    EXPECT_FALSE(q.state.stateFlag3);
    EXPECT_TRUE(q.state.stateFlag4);
    EXPECT_EQ(image->mMemDst.miPixelFormat, static_cast<uint32_t>(P(MONO8)));
    EXPECT_EQ(image->mPixelFormatMap.size(), 40u);
}

TEST(FormatNegotiation, LongListIsCutAtThirtyTwoValues)
{
    auto image = std::make_unique<CImgProc>();
    sPixelFormatNode& node = image->mPixelFormatMap[0x0208FFFFu];
    for (uint32_t i = 1; i <= 40; ++i)
        node.mlDestinationFormats.push_back(i);
    auto q = std::make_unique<ListQuery>();  // on the heap, so an overrun is caught
    EXPECT_EQ(image->getDestinationPixelFormat(0x0208FFFF, &q->state, &q->list), RESULT_OK);
    EXPECT_EQ(q->list.iCount, 32);
    EXPECT_EQ(q->list.aValues[31], 32);
    EXPECT_EQ(q->list.iCurrent, 0);  // own code absent, destination format 0 absent
}

#undef P

} // namespace

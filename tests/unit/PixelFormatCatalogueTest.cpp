// The pixel-format catalogue every image object builds for itself, image
// size arithmetic and destination-format negotiation.
#include <gtest/gtest.h>

#include <algorithm>
#include <climits>
#include <list>
#include <memory>
#include <string>
#include <vector>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"

namespace {

#define P(x) static_cast<uint32_t>(KORVA_PIXTYPE_##x)
#define I(x) static_cast<int>(KORVA_PIXTYPE_##x)

struct Row {
    uint32_t code;  // written out, so that a wrong macro shows up too
    const char* name;
    int bppEff, bpp;
    double factor;
    char conv;  // M mono, D demosaic, R RGB, Y YUV, P planar, - none
    int canals;
    std::vector<uint32_t> destinations;
};

const std::vector<Row>& Table()
{
    static const std::vector<Row> rows = {
        {0x01080001u, "MONO8", 8, 8, 1.0, 'M', 1, {P(MONO8)}},
        {0x81080001u, "MONO8_LUT", 8, 8, 1.0, 'M', 0, {P(MONO8_LUT)}},
        {0x01080002u, "MONO8_SIGNED", 8, 8, 1.0, 'M', 1, {P(MONO8_SIGNED)}},
        {0x01100003u, "MONO10", 10, 16, 2.0, 'M', 1, {P(MONO10), P(MONO8)}},
        {0x010C0004u, "MONO10_PACKED", 10, 12, 1.5, 'M', 1, {P(MONO10_PACKED), P(MONO8), P(MONO10)}},
        {0x01100005u, "MONO12", 12, 16, 2.0, 'M', 1, {P(MONO12), P(MONO8), P(MONO10)}},
        {0x81100005u, "MONO12_LUT", 12, 16, 2.0, 'M', 0, {P(MONO12_LUT), P(MONO8), P(MONO10)}},
        {0x010C0006u, "MONO12_PACKED", 12, 12, 1.5, 'M', 1, {P(MONO12_PACKED), P(MONO8), P(MONO12)}},
        {0x01100007u, "MONO16", 16, 16, 2.0, 'M', 1, {P(MONO16), P(MONO8), P(MONO10)}},
        {0x01080008u, "BAYGR8", 8, 8, 1.0, 'D', 1, {P(BAYGR8), P(RGB8_PACKED), P(RGB8_PLANAR), P(BGR8_PACKED)}},
        {0x01080009u, "BAYRG8", 8, 8, 1.0, 'D', 1, {P(BAYRG8), P(RGB8_PACKED), P(RGB8_PLANAR), P(BGR8_PACKED)}},
        {0x0108000Au, "BAYGB8", 8, 8, 1.0, 'D', 1, {P(BAYGB8), P(RGB8_PACKED), P(RGB8_PLANAR), P(BGR8_PACKED)}},
        {0x0108000Bu, "BAYBG8", 8, 8, 1.0, 'D', 1, {P(BAYBG8)}},
        {0x0110000Cu, "BAYGR10", 10, 16, 2.0, 'D', 1,
         {P(BAYGR10), P(BAYGR8), P(RGB8_PACKED), P(BGR8_PACKED), P(RGB10_PACKED), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x0110000Du, "BAYRG10", 10, 16, 2.0, 'D', 1,
         {P(BAYRG10), P(BAYRG8), P(RGB8_PACKED), P(BGR8_PACKED), P(RGB10_PACKED), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x0110000Eu, "BAYGB10", 10, 16, 2.0, 'D', 1,
         {P(BAYGB10), P(BAYGB8), P(RGB8_PACKED), P(BGR8_PACKED), P(RGB10_PACKED), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x0110000Fu, "BAYBG10", 10, 16, 2.0, 'D', 1, {P(BAYBG10)}},
        {0x01100010u, "BAYGR12", 12, 16, 2.0, 'D', 1,
         {P(BAYGR12), P(BAYGR8), P(BAYGR10), P(RGB8_PACKED), P(RGB10_PACKED), P(RGB12_PACKED), P(RGB8_PLANAR),
          P(RGB10_PLANAR), P(RGB12_PLANAR), P(BGR8_PACKED)}},
        {0x01100011u, "BAYRG12", 12, 16, 2.0, 'D', 1,
         {P(BAYRG12), P(BAYRG8), P(BAYRG10), P(RGB8_PACKED), P(RGB10_PACKED), P(RGB12_PACKED), P(RGB8_PLANAR),
          P(RGB10_PLANAR), P(RGB12_PLANAR), P(BGR8_PACKED)}},
        {0x01100012u, "BAYGB12", 12, 16, 2.0, 'D', 1,
         {P(BAYGB12), P(BAYGB8), P(BAYGB10), P(RGB8_PACKED), P(RGB10_PACKED), P(RGB12_PACKED), P(RGB8_PLANAR),
          P(RGB10_PLANAR), P(RGB12_PLANAR), P(BGR8_PACKED)}},
        {0x01100013u, "BAYBG12", 12, 16, 2.0, 'D', 1, {P(BAYBG12)}},
        {0x02180014u, "RGB8_PACKED", 8, 24, 3.0, 'R', 3,
         {P(RGB8_PACKED), P(RGBA8_PACKED), P(BGR8_PACKED), P(BGRA8_PACKED), P(MONO8)}},
        {0x02180015u, "BGR8_PACKED", 8, 24, 3.0, 'R', 3, {P(BGR8_PACKED), P(RGBA8_PACKED), P(BGRA8_PACKED), P(MONO8)}},
        {0x02200016u, "RGBA8_PACKED", 8, 32, 4.0, 'R', 3,
         {P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02200017u, "BGRA8_PACKED", 8, 32, 4.0, 'R', 3, {P(BGRA8_PACKED), P(RGB8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02300018u, "RGB10_PACKED", 10, 48, 6.0, 'R', 3,
         {P(RGB10_PACKED), P(BGR10_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED),
          P(MONO8)}},
        {0x02300019u, "BGR10_PACKED", 10, 48, 6.0, 'R', 3,
         {P(BGR10_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x0230001Au, "RGB12_PACKED", 12, 48, 6.0, 'R', 3,
         {P(RGB12_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x0230001Bu, "BGR12_PACKED", 12, 48, 6.0, 'R', 3,
         {P(BGR12_PACKED), P(RGB10_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED),
          P(MONO8)}},
        {0x0220001Cu, "RGB10V1_PACKED", 10, 32, 4.0, '-', 3, {P(RGB10V1_PACKED)}},
        {0x0220001Du, "RGB10V2_PACKED", 10, 32, 4.0, '-', 3, {P(RGB10V2_PACKED)}},
        {0x020C001Eu, "YUV411_PACKED", 8, 12, 1.5, 'Y', 0,
         {P(YUV411_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x0210001Fu, "YUV422_PACKED", 8, 16, 2.0, 'Y', 2,
         {P(YUV422_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02180020u, "YUV444_PACKED", 8, 24, 3.0, 'Y', 3,
         {P(YUV444_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02180021u, "RGB8_PLANAR", 8, 24, 3.0, 'P', 1, {P(RGB8_PLANAR)}},
        {0x02300022u, "RGB10_PLANAR", 10, 48, 6.0, 'P', 1, {P(RGB10_PLANAR), P(RGB8_PLANAR)}},
        {0x02300023u, "RGB12_PLANAR", 12, 48, 6.0, 'P', 1, {P(RGB12_PLANAR), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x02300024u, "RGB16_PLANAR", 16, 48, 6.0, '-', 1,
         {P(RGB16_PLANAR), P(RGB8_PLANAR), P(RGB10_PLANAR), P(RGB12_PLANAR)}},
        {0x01100025u, "MONO14", 14, 16, 2.0, 'M', 0, {P(MONO14), P(MONO8), P(MONO10), P(MONO12)}},
    };
    return rows;
}

const CImgProcConv* ExpectedConverter(const CImgProc& image, char conv)
{
    const CImgProcConv* const converters[] = {&image.mConvMono, &image.mConvDemosaic, &image.mConvRGB, &image.mConvYUV,
                                              &image.mConvRGBPlanar};
    const size_t k = std::string("MDRYP").find(conv);
    return k == std::string::npos ? nullptr : converters[k];
}

// Each object builds its own catalogue: the converters point into it.
// Canals: YUV422 has two, YUV411, MONO14 and the look-up variants none.
TEST(PixelFormatCatalogue, EveryRecordMatchesTheTable)
{
    auto image = std::make_unique<CImgProc>();
    auto second = std::make_unique<CImgProc>();
    ASSERT_EQ(Table().size(), 39u);
    ASSERT_EQ(image->mPixelFormatMap.size(), 39u);
    for (const Row& row : Table()) {
        SCOPED_TRACE(row.name);
        auto it = image->mPixelFormatMap.find(row.code);
        ASSERT_NE(it, image->mPixelFormatMap.end());
        const sPixelFormatNode& node = it->second;
        EXPECT_EQ(std::string(node.msFormatName), std::string("KORVA_PIXTYPE_") + row.name);
        EXPECT_EQ(node.miFormatBppEff, row.bppEff);
        EXPECT_EQ(node.miFormatBpp, row.bpp);
        EXPECT_EQ(node.mdFormatBytePerPixel, row.factor);
        EXPECT_EQ(node.mpFormatConverter, ExpectedConverter(*image, row.conv));
        EXPECT_EQ(image->NumberOfCanals(static_cast<int>(row.code)), row.canals);
        EXPECT_EQ(second->mPixelFormatMap[row.code].mpFormatConverter, ExpectedConverter(*second, row.conv));
        EXPECT_EQ(std::vector<uint32_t>(node.mlDestinationFormats.begin(), node.mlDestinationFormats.end()),
                  row.destinations);
    }
}

TEST(FormatNegotiation, SizeAndLength)
{
    auto image = std::make_unique<CImgProc>();
    const struct {
        int code, width, height, size;
    } sizes[] = {
        {0, 100, 100, -1},
        {I(MONO12_PACKED), 1000, 1000, 1500000},
        {I(YUV411_PACKED), 1000, 1000, 2000000},  // not 1.5 as its frames are
        {I(MONO10_PACKED), 3, 3, 13},             // 13.5 truncates
        {I(MONO10_PACKED), -3, 3, -13},           // toward zero, not down
        {I(MONO12_LUT), 10, 10, 200},
        {I(RGB10V1_PACKED), 1, 1, 4},
        {I(RGB16_PLANAR), 1, 1, 6},
        {0x010A0001, 5, 1, 10},
        {0x02140001, 5, 1, 15},
        {0x02240001, 5, 1, 30},
        {0x01000001, 5, 1, 0},
        {0x02400001, 5, 1, 0},
        {I(RGB8_PACKED), 100000, 100000, INT_MIN},  // beyond 32 bits
    };
    for (const auto& c : sizes)
        EXPECT_EQ(image->CalculateImageSize(c.code, c.width, c.height), c.size) << std::hex << c.code;

    const struct {
        int code, width, height, result, length;
    } lengths[] = {
        {0, 10, 10, RESULT_OK, 0},
        {I(MONO8), 10, 0, RESULT_OK, 0},
        {I(YUV411_PACKED), 4, 2, RESULT_OK, 16},
        {I(MONO8), -1, 1, RESULT_FAIL, 0},  // -1 is the failure value, however it arises
        {I(MONO8), -2, 1, RESULT_OK, -2},
    };
    for (const auto& c : lengths) {
        image->mMemSrc.miPixelFormat = static_cast<uint32_t>(c.code);
        image->mMemSrc.miWidth = c.width;
        image->mMemSrc.miHeight = c.height;
        int length = 12345;
        EXPECT_EQ(image->getImageLength(&length), c.result) << std::hex << c.code;
        EXPECT_EQ(length, c.length) << std::hex << c.code;
    }
    EXPECT_EQ(image->NumberOfCanals(0), 0);
}

TEST(FormatNegotiation, SourceIsUncheckedDestinationLooseSupportTestStrict)
{
    auto image = std::make_unique<CImgProc>();
    std::vector<int> codes;
    for (const Row& row : Table())
        codes.push_back(static_cast<int>(row.code));
    int accepted = 0;
    for (int source : codes) {
        EXPECT_EQ(image->setPixelFormat(source), RESULT_OK);
        const sPixelFormatNode& node = image->mPixelFormatMap[static_cast<uint32_t>(source)];
        EXPECT_EQ(image->mMemSrc.miBppEff * 100 + image->mMemSrc.miBpp, node.miFormatBppEff * 100 + node.miFormatBpp);
        EXPECT_EQ(image->mMemSrc.mdBytePerPixel, node.mdFormatBytePerPixel);
        const std::list<uint32_t> offered = node.mlDestinationFormats;
        for (int code : codes) {
            image->mMemDst.miPixelFormat = 0;
            const bool listed =
                std::find(offered.begin(), offered.end(), static_cast<uint32_t>(code)) != offered.end();
            // The support test sets the view despite its name, for listed codes only.
            EXPECT_EQ(image->isDestinationPixelFormatSupp(code), listed ? RESULT_OK : RESULT_NOT_SUPPORTED)
                << source << " " << code;
            EXPECT_EQ(image->mMemDst.miPixelFormat, listed ? static_cast<uint32_t>(code) : 0u);
            accepted += listed;
            EXPECT_EQ(image->setDestinationPixelFormat(code), RESULT_OK);
            EXPECT_EQ(image->mMemDst.mdBytePerPixel,
                      image->mPixelFormatMap[static_cast<uint32_t>(code)].mdFormatBytePerPixel);
        }
    }
    EXPECT_EQ(accepted, 163);  // the sum of all list lengths

    // Unknown codes: accepted as source with an empty record, refused as
    // destination (checked before the list) with the view left alone.
    image->setDestinationPixelFormat(I(MONO8));
    EXPECT_EQ(image->setPixelFormat(0x01080026), RESULT_OK);
    EXPECT_EQ(image->mMemSrc.miBpp + image->mMemSrc.miBppEff, 0);
    for (int code : {0, 0x02000001}) {
        EXPECT_EQ(image->setDestinationPixelFormat(code), RESULT_BAD_PARAM);
        EXPECT_EQ(image->isDestinationPixelFormatSupp(code), RESULT_BAD_PARAM);
    }
    EXPECT_EQ(image->isDestinationPixelFormatSupp(I(MONO8)), RESULT_NOT_SUPPORTED);
    EXPECT_EQ(image->mMemDst.miPixelFormat, static_cast<uint32_t>(I(MONO8)));
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

TEST(FormatNegotiation, DestinationListQueries)
{
    auto image = std::make_unique<CImgProc>();
    const struct {
        int dst, code, current;
    } cases[] = {
        {0, I(BAYGR12), 0},
        {I(RGB8_PACKED), I(BAYGR12), 3},
        {I(BGR8_PACKED), I(BAYGR12), 9},
        {I(MONO10), I(MONO12_LUT), 2},
    };
    for (const auto& c : cases) {
        image->mMemDst.miPixelFormat = static_cast<uint32_t>(c.dst);
        ListQuery q;
        ASSERT_EQ(image->getDestinationPixelFormat(c.code, &q.state, &q.list), RESULT_OK);
        const std::list<uint32_t>& offered = image->mPixelFormatMap[static_cast<uint32_t>(c.code)].mlDestinationFormats;
        EXPECT_EQ(q.list.iType * 1000 + q.list.iSize, KORVA_TYPE_TAG * 1000 + 144);
        EXPECT_EQ(q.list.iCurrent, c.current) << std::hex << c.dst;
        ASSERT_EQ(q.list.iCount, static_cast<int>(offered.size()));
        EXPECT_EQ(std::vector<int32_t>(q.list.aValues, q.list.aValues + q.list.iCount + 1),
                  [&] { std::vector<int32_t> v(offered.begin(), offered.end()); v.push_back(-7); return v; }());
    }
    // Refused: tag, index and flags are still written.
    ListQuery q;
    EXPECT_EQ(image->getDestinationPixelFormat(0x01080026, &q.state, &q.list), RESULT_BAD_PARAM);
    EXPECT_EQ(q.list.iType * 10 + q.list.iCurrent, KORVA_TYPE_TAG * 10);
    EXPECT_EQ(q.list.iCount, -5);
    EXPECT_TRUE(q.state.iSize == 77 && q.state.stateFlag1 && q.state.stateFlag2 && !q.state.stateFlag3 &&
                q.state.stateFlag4);
    // A long list is cut at 32 values.
    sPixelFormatNode& node = image->mPixelFormatMap[0x0208FFFFu];
    for (uint32_t i = 1; i <= 40; ++i)
        node.mlDestinationFormats.push_back(i);
    auto heap = std::make_unique<ListQuery>();  // on the heap, so an overrun is caught
    EXPECT_EQ(image->getDestinationPixelFormat(0x0208FFFF, &heap->state, &heap->list), RESULT_OK);
    EXPECT_EQ(heap->list.iCount, 32);
    EXPECT_EQ(heap->list.aValues[31], 32);
}

#undef I
#undef P

}  // namespace

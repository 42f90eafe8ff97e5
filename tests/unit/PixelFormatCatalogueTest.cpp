// The pixel-format catalogue every image object builds for itself.
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

#include "ImgProc.h"
#include "KorvaPixelFormats.h"

namespace {

#define P(x) static_cast<uint32_t>(KORVA_PIXTYPE_##x)

struct Row {
    uint32_t code;  // written out, so that a wrong macro shows up too
    const char* name;
    int bppEff, bpp;
    double factor;
    char conv;  // M mono, D demosaic, R RGB, Y YUV, P planar, - none
    std::vector<uint32_t> destinations;
};

const std::vector<Row>& Table()
{
    static const std::vector<Row> rows = {
        {0x01080001u, "MONO8", 8, 8, 1.0, 'M', {P(MONO8)}},
        {0x81080001u, "MONO8_LUT", 8, 8, 1.0, 'M', {P(MONO8_LUT)}},
        {0x01080002u, "MONO8_SIGNED", 8, 8, 1.0, 'M', {P(MONO8_SIGNED)}},
        {0x01100003u, "MONO10", 10, 16, 2.0, 'M', {P(MONO10), P(MONO8)}},
        {0x010C0004u, "MONO10_PACKED", 10, 12, 1.5, 'M', {P(MONO10_PACKED), P(MONO8), P(MONO10)}},
        {0x01100005u, "MONO12", 12, 16, 2.0, 'M', {P(MONO12), P(MONO8), P(MONO10)}},
        {0x81100005u, "MONO12_LUT", 12, 16, 2.0, 'M', {P(MONO12_LUT), P(MONO8), P(MONO10)}},
        {0x010C0006u, "MONO12_PACKED", 12, 12, 1.5, 'M', {P(MONO12_PACKED), P(MONO8), P(MONO12)}},
        {0x01100007u, "MONO16", 16, 16, 2.0, 'M', {P(MONO16), P(MONO8), P(MONO10)}},
        {0x01080008u, "BAYGR8", 8, 8, 1.0, 'D', {P(BAYGR8), P(RGB8_PACKED), P(RGB8_PLANAR), P(BGR8_PACKED)}},
        {0x01080009u, "BAYRG8", 8, 8, 1.0, 'D', {P(BAYRG8), P(RGB8_PACKED), P(RGB8_PLANAR), P(BGR8_PACKED)}},
        {0x0108000Au, "BAYGB8", 8, 8, 1.0, 'D', {P(BAYGB8), P(RGB8_PACKED), P(RGB8_PLANAR), P(BGR8_PACKED)}},
        {0x0108000Bu, "BAYBG8", 8, 8, 1.0, 'D', {P(BAYBG8)}},
        {0x0110000Cu, "BAYGR10", 10, 16, 2.0, 'D',
         {P(BAYGR10), P(BAYGR8), P(RGB8_PACKED), P(BGR8_PACKED), P(RGB10_PACKED), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x0110000Du, "BAYRG10", 10, 16, 2.0, 'D',
         {P(BAYRG10), P(BAYRG8), P(RGB8_PACKED), P(BGR8_PACKED), P(RGB10_PACKED), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x0110000Eu, "BAYGB10", 10, 16, 2.0, 'D',
         {P(BAYGB10), P(BAYGB8), P(RGB8_PACKED), P(BGR8_PACKED), P(RGB10_PACKED), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x0110000Fu, "BAYBG10", 10, 16, 2.0, 'D', {P(BAYBG10)}},
        {0x01100010u, "BAYGR12", 12, 16, 2.0, 'D',
         {P(BAYGR12), P(BAYGR8), P(BAYGR10), P(RGB8_PACKED), P(RGB10_PACKED), P(RGB12_PACKED), P(RGB8_PLANAR),
          P(RGB10_PLANAR), P(RGB12_PLANAR), P(BGR8_PACKED)}},
        {0x01100011u, "BAYRG12", 12, 16, 2.0, 'D',
         {P(BAYRG12), P(BAYRG8), P(BAYRG10), P(RGB8_PACKED), P(RGB10_PACKED), P(RGB12_PACKED), P(RGB8_PLANAR),
          P(RGB10_PLANAR), P(RGB12_PLANAR), P(BGR8_PACKED)}},
        {0x01100012u, "BAYGB12", 12, 16, 2.0, 'D',
         {P(BAYGB12), P(BAYGB8), P(BAYGB10), P(RGB8_PACKED), P(RGB10_PACKED), P(RGB12_PACKED), P(RGB8_PLANAR),
          P(RGB10_PLANAR), P(RGB12_PLANAR), P(BGR8_PACKED)}},
        {0x01100013u, "BAYBG12", 12, 16, 2.0, 'D', {P(BAYBG12)}},
        {0x02180014u, "RGB8_PACKED", 8, 24, 3.0, 'R',
         {P(RGB8_PACKED), P(RGBA8_PACKED), P(BGR8_PACKED), P(BGRA8_PACKED), P(MONO8)}},
        {0x02180015u, "BGR8_PACKED", 8, 24, 3.0, 'R', {P(BGR8_PACKED), P(RGBA8_PACKED), P(BGRA8_PACKED), P(MONO8)}},
        {0x02200016u, "RGBA8_PACKED", 8, 32, 4.0, 'R',
         {P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02200017u, "BGRA8_PACKED", 8, 32, 4.0, 'R', {P(BGRA8_PACKED), P(RGB8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02300018u, "RGB10_PACKED", 10, 48, 6.0, 'R',
         {P(RGB10_PACKED), P(BGR10_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED),
          P(MONO8)}},
        {0x02300019u, "BGR10_PACKED", 10, 48, 6.0, 'R',
         {P(BGR10_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x0230001Au, "RGB12_PACKED", 12, 48, 6.0, 'R',
         {P(RGB12_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x0230001Bu, "BGR12_PACKED", 12, 48, 6.0, 'R',
         {P(BGR12_PACKED), P(RGB10_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED),
          P(MONO8)}},
        {0x0220001Cu, "RGB10V1_PACKED", 10, 32, 4.0, '-', {P(RGB10V1_PACKED)}},
        {0x0220001Du, "RGB10V2_PACKED", 10, 32, 4.0, '-', {P(RGB10V2_PACKED)}},
        {0x020C001Eu, "YUV411_PACKED", 8, 12, 1.5, 'Y',
         {P(YUV411_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x0210001Fu, "YUV422_PACKED", 8, 16, 2.0, 'Y',
         {P(YUV422_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02180020u, "YUV444_PACKED", 8, 24, 3.0, 'Y',
         {P(YUV444_PACKED), P(RGBA8_PACKED), P(RGB8_PACKED), P(BGRA8_PACKED), P(BGR8_PACKED), P(MONO8)}},
        {0x02180021u, "RGB8_PLANAR", 8, 24, 3.0, 'P', {P(RGB8_PLANAR)}},
        {0x02300022u, "RGB10_PLANAR", 10, 48, 6.0, 'P', {P(RGB10_PLANAR), P(RGB8_PLANAR)}},
        {0x02300023u, "RGB12_PLANAR", 12, 48, 6.0, 'P', {P(RGB12_PLANAR), P(RGB8_PLANAR), P(RGB10_PLANAR)}},
        {0x02300024u, "RGB16_PLANAR", 16, 48, 6.0, '-',
         {P(RGB16_PLANAR), P(RGB8_PLANAR), P(RGB10_PLANAR), P(RGB12_PLANAR)}},
        {0x01100025u, "MONO14", 14, 16, 2.0, 'M', {P(MONO14), P(MONO8), P(MONO10), P(MONO12)}},
    };
    return rows;
}

const CImgProcConv* ExpectedConverter(const CImgProc& image, char conv)
{
    switch (conv) {
    case 'M': return &image.mConvMono;
    case 'D': return &image.mConvDemosaic;
    case 'R': return &image.mConvRGB;
    case 'Y': return &image.mConvYUV;
    case 'P': return &image.mConvRGBPlanar;
    default: return nullptr;
    }
}

// Each object builds its own catalogue: the converters point into it.
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
        EXPECT_EQ(second->mPixelFormatMap[row.code].mpFormatConverter, ExpectedConverter(*second, row.conv));
        EXPECT_EQ(std::vector<uint32_t>(node.mlDestinationFormats.begin(), node.mlDestinationFormats.end()),
                  row.destinations);
    }
}

TEST(PixelFormatCatalogue, UnionListInOrderOfFirstAppearance)
{
    auto image = std::make_unique<CImgProc>();
    const std::vector<uint32_t> expected = {
        P(MONO8), P(MONO8_LUT), P(MONO8_SIGNED), P(MONO10), P(MONO10_PACKED), P(MONO12), P(MONO12_LUT),
        P(MONO12_PACKED), P(MONO16), P(BAYGR8), P(RGB8_PACKED), P(RGB8_PLANAR), P(BGR8_PACKED), P(BAYRG8),
        P(BAYGB8), P(BAYBG8), P(BAYGR10), P(RGB10_PACKED), P(RGB10_PLANAR), P(BAYRG10), P(BAYGB10), P(BAYBG10),
        P(BAYGR12), P(RGB12_PACKED), P(RGB12_PLANAR), P(BAYRG12), P(BAYGB12), P(BAYBG12), P(RGBA8_PACKED),
        P(BGRA8_PACKED), P(BGR10_PACKED), P(BGR12_PACKED), P(RGB10V1_PACKED), P(RGB10V2_PACKED), P(YUV411_PACKED),
        P(YUV422_PACKED), P(YUV444_PACKED), P(RGB16_PLANAR), P(MONO14)};
    EXPECT_EQ(std::vector<uint32_t>(image->mSupportedFormats.begin(), image->mSupportedFormats.end()), expected);
}

TEST(PixelFormatCatalogue, AddingKnownOrNoCodesKeepsTheUnionList)
{
    auto image = std::make_unique<CImgProc>();
    std::list<uint32_t> none;
    image->AddSupportedPixelFormats(&none);
    std::list<uint32_t> known = {P(MONO14), P(MONO8)};
    image->AddSupportedPixelFormats(&known);
    EXPECT_EQ(image->mSupportedFormats.size(), 39u);
    std::list<uint32_t> fresh = {0x7, P(MONO8), 0x7, 0x9};
    image->AddSupportedPixelFormats(&fresh);
    ASSERT_EQ(image->mSupportedFormats.size(), 41u);
    EXPECT_EQ(*std::next(image->mSupportedFormats.begin(), 39), 0x7u);
    EXPECT_EQ(image->mSupportedFormats.back(), 0x9u);
}

TEST(PixelFormatCatalogue, UnknownLookupInsertsOneEmptyRecord)
{
    auto image = std::make_unique<CImgProc>();
    for (uint32_t code : {0u, 0x01080026u, 0xFFFFFFFFu}) {
        const size_t before = image->mPixelFormatMap.size();
        for (int repeat = 0; repeat < 2; ++repeat) {
            const sPixelFormatNode& node = image->mPixelFormatMap[code];
            EXPECT_EQ(node.msFormatName[0], '\0');
            EXPECT_TRUE(node.mlDestinationFormats.empty());
            EXPECT_EQ(node.miFormatBppEff + node.miFormatBpp, 0);
            EXPECT_EQ(node.mdFormatBytePerPixel, 0.0);
            EXPECT_EQ(node.mpFormatConverter, nullptr);
        }
        EXPECT_EQ(image->mPixelFormatMap.size(), before + 1);
    }
    EXPECT_EQ(image->mSupportedFormats.size(), 39u);
}

#undef P

} // namespace

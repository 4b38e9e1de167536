// Color transformations: the curve and its tables, the weights, both pixel functions, the run
// with its own pool limits, and the nine naming rules.
#include <gtest/gtest.h>

#include "operations/colour/color_transformations.h"
#include "operations/colour/color_transformations_kernels.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Adjust() { return Operation<CDocumentOperationRasterImageColorTransformations>(); }

ComPtr<IConfig> AdjustConfig(int aBrightness, int aContrast, const std::string& aGamma, int aSaturation) {
    ComPtr<IConfig> config = ConfigOf(Adjust());
    Set(config, "Brightness", std::to_string(aBrightness));
    Set(config, "Contrast", std::to_string(aContrast));
    Set(config, "Gamma", aGamma);
    Set(config, "Saturation", std::to_string(aSaturation));
    return config;
}

}  // namespace

TEST(ColorTransformationsTables, DefaultsGiveTheIdentity) {
    uint8_t table[256];
    BuildColorTransformationsByteTable(0, 100, 1.0f, table);
    for (int i = 0; i < 256; ++i) EXPECT_EQ(i, table[i]) << i;
}

TEST(ColorTransformationsTables, GammaZeroOrNegativeBehavesAsTheLowerLimit) {
    uint8_t limit[256], zero[256], negative[256];
    BuildColorTransformationsByteTable(0, 100, 0.001f, limit);
    BuildColorTransformationsByteTable(0, 100, 0.0f, zero);
    BuildColorTransformationsByteTable(0, 100, -3.0f, negative);
    for (int i = 0; i < 256; ++i) {
        EXPECT_EQ(limit[i], zero[i]);
        EXPECT_EQ(limit[i], negative[i]);
    }
    EXPECT_EQ(0.001f, LimitTransformationsGamma(0.0f));
    EXPECT_EQ(1000.0f, LimitTransformationsGamma(5000.0f));
}

TEST(ColorTransformationsTables, ContrastZeroMakesEveryByteHalfLinearLightPlusBrightness) {
    uint8_t table[256];
    BuildColorTransformationsByteTable(0, 0, 1.0f, table);
    // 0.5 in linear light encodes to 188.
    for (int i = 0; i < 256; ++i) EXPECT_EQ(188, table[i]);
    BuildColorTransformationsByteTable(51, 0, 1.0f, table);
    // 0.5 + 51/255 = 0.7 encodes to 218.
    for (int i = 0; i < 256; ++i) EXPECT_EQ(218, table[i]);
}

TEST(ColorTransformationsTables, BrightnessContrastAndGammaTogether) {
    uint8_t table[256];
    BuildColorTransformationsByteTable(40, 120, 2.0f, table);
    EXPECT_EQ(67, table[0]);
    EXPECT_EQ(155, table[64]);
    EXPECT_EQ(206, table[128]);
    EXPECT_EQ(255, table[255]);
}

TEST(ColorTransformationsTables, LinearTableMayLeaveTheSixteenBitRange) {
    int32_t table[256];
    BuildColorTransformationsLinearTable(0, 100, 1.0f, table);
    EXPECT_EQ(198, table[10]);
    EXPECT_EQ(37851, table[200]);
    EXPECT_EQ(65535, table[255]);
    BuildColorTransformationsLinearTable(-255, 100, 1.0f, table);
    EXPECT_EQ(-65535, table[0]);
    BuildColorTransformationsLinearTable(255, 200, 1.0f, table);
    EXPECT_GT(table[255], 65535);
}

TEST(ColorTransformationsWeights, SaturationZeroFiftyAndTwoHundred) {
    EXPECT_EQ((std::array<int32_t, 6>{306, 601, 117, 306, 601, 117}), std::to_array(SaturationWeights(0).w));
    EXPECT_EQ((std::array<int32_t, 6>{153, 301, 58, 665, 813, 570}), std::to_array(SaturationWeights(50).w));
    EXPECT_EQ((std::array<int32_t, 6>{-305, -600, -116, 1742, 1447, 1931}), std::to_array(SaturationWeights(200).w));
    EXPECT_EQ((std::array<int32_t, 6>{0, 0, 0, 1024, 1024, 1024}), std::to_array(SaturationWeights(100).w));
}

TEST(ColorTransformOp, EveryColourByteThroughTheTableAlphaKept) {
    uint8_t table[256];
    for (int i = 0; i < 256; ++i) table[i] = uint8_t(255 - i);
    const CColorTransformOp op{table};
    EXPECT_EQ(0x80EFDFCFu, op.Apply(Px(0x80102030u)).n);
    // Transparent pixels are transformed too.
    EXPECT_EQ(0x00EFDFCFu, op.Apply(Px(0x00102030u)).n);
}

TEST(ColorTransformWithSaturationOp, SaturationZeroGivesOneLinearLuminance) {
    int32_t table[256];
    BuildColorTransformationsLinearTable(0, 100, 1.0f, table);
    const SSaturationWeights w = SaturationWeights(0);
    const CColorTransformWithSaturationOp op{table, w.w[0], w.w[1], w.w[2], w.w[3], w.w[4], w.w[5], GammaTable()};
    // Pure red: 65535 x 306 >> 10 = 19583, encoded 149.
    EXPECT_EQ(0xFF959595u, op.Apply(Px(0xFFFF0000u)).n);
    // r 10, g 200, b 60: 198 x 306 + 37851 x 601 + 2961 x 117 >> 10 = grey 159.
    EXPECT_EQ(0xC89F9F9Fu, op.Apply(Px(0xC80AC83Cu)).n);
}

TEST(ColorTransformWithSaturationOp, HighSaturationIsLimitedToTheRange) {
    int32_t table[256];
    BuildColorTransformationsLinearTable(0, 100, 1.0f, table);
    const SSaturationWeights w = SaturationWeights(200);
    const CColorTransformWithSaturationOp op{table, w.w[0], w.w[1], w.w[2], w.w[3], w.w[4], w.w[5], GammaTable()};
    // Red and blue sums fall below 0; green stays inside: 232.
    EXPECT_EQ(0xFF00E800u, op.Apply(Px(0xFF0AC83Cu)).n);
}

TEST(ColorTransformWithSaturationOp, TransparentPixelsLoseTheirColour) {
    int32_t table[256];
    BuildColorTransformationsLinearTable(0, 100, 1.0f, table);
    const SSaturationWeights w = SaturationWeights(50);
    const CColorTransformWithSaturationOp op{table, w.w[0], w.w[1], w.w[2], w.w[3], w.w[4], w.w[5], GammaTable()};
    EXPECT_EQ(0u, op.Apply(Px(0x00FF8040u)).n);
}

TEST(ColorTransformationsOperation, ListedNameAndSchema) {
    EXPECT_EQ("Raster Image - Color Adjustments", ListedName(Adjust()));
    ComPtr<IConfig> config = ConfigOf(Adjust());
    auto items = zthost::DescribeConfig(config);
    ASSERT_EQ(4u, items.size());
    EXPECT_EQ(u"Brightness", items[0].key);
    EXPECT_EQ(-255, items[0].from->iVal);
    EXPECT_EQ(255, items[0].to->iVal);
    EXPECT_EQ(u"Contrast", items[1].key);
    EXPECT_EQ(100, items[1].defaultValue->iVal);
    EXPECT_EQ(200, items[1].to->iVal);
    EXPECT_EQ(u"Gamma", items[2].key);
    EXPECT_EQ(zthost::ConfigItemKind::simple, items[2].kind);
    EXPECT_EQ("Apply gamma-correction to compensate for non-linear display properties.",
              zthost::TextOf(items[2].help, LANG_ENGLISH));
    EXPECT_EQ(u"Saturation", items[3].key);
    EXPECT_EQ(0, items[3].from->iVal);
}

TEST(ColorTransformationsOperation, DefaultsLeaveTheImageUnchanged) {
    const auto pixels = Pattern(64);
    auto doc = Image(8, 8, pixels, 0x80123456u);
    ASSERT_EQ(S_OK, RunOperation(Adjust(), doc, AdjustConfig(0, 100, "1", 100)));
    EXPECT_EQ(pixels, Content(doc));
    EXPECT_FALSE(State(doc).lastAlphaTotalGiven);
}

TEST(ColorTransformationsOperation, DefaultPixelGoesBackAsItWasRead) {
    auto doc = Document({5, 5}, {1, 1}, {2, 1}, {0xFF000000u, 0x00FFFFFFu}, 0x80102030u);
    ASSERT_EQ(S_OK, RunOperation(Adjust(), doc, AdjustConfig(51, 0, "1", 100)));
    EXPECT_EQ((std::vector<uint32_t>{0xFFDADADAu, 0x00DADADAu}), Content(doc));
    EXPECT_EQ(0x80102030u, State(doc).defaultPixel.n);
}

TEST(ColorTransformationsOperation, SaturationPathDropsTransparentColours) {
    auto doc = Image(2, 1, {0xFFFF0000u, 0x00FF0000u});
    ASSERT_EQ(S_OK, RunOperation(Adjust(), doc, AdjustConfig(0, 100, "1", 0)));
    EXPECT_EQ((std::vector<uint32_t>{0xFF959595u, 0u}), Content(doc));
}

TEST(ColorTransformationsOperation, FourRowsWideTakeThePoolAndStayInsideTheBuffer) {
    // 4 rows of 1100 pixels pass the limits; with 16 threads most shares have no row.
    const auto pixels = Pattern(4 * 1100, 77);
    auto one = Image(1100, 4, pixels), many = Image(1100, 4, pixels);
    zthost::SetThreadCount(1);
    ASSERT_EQ(S_OK, RunOperation(Adjust(), one, AdjustConfig(-20, 130, "1.4", 150)));
    zthost::SetThreadCount(16);
    ASSERT_EQ(S_OK, RunOperation(Adjust(), many, AdjustConfig(-20, 130, "1.4", 150)));
    zthost::SetThreadCount(0);
    EXPECT_EQ(Content(one), Content(many));
}

TEST(ColorTransformationsOperation, SameResultOnOneThreadAndOnManyForBothPaths) {
    const auto pixels = Pattern(257 * 33, 5);
    for (int saturation : {100, 60}) {
        auto one = Image(257, 33, pixels), many = Image(257, 33, pixels);
        zthost::SetThreadCount(1);
        ASSERT_EQ(S_OK, RunOperation(Adjust(), one, AdjustConfig(10, 90, "0.8", saturation)));
        zthost::SetThreadCount(5);
        ASSERT_EQ(S_OK, RunOperation(Adjust(), many, AdjustConfig(10, 90, "0.8", saturation)));
        zthost::SetThreadCount(0);
        EXPECT_EQ(Content(one), Content(many)) << saturation;
    }
}

TEST(ColorTransformationsName, EachRuleWithItsFormat) {
    auto name = [](int b, int c, const char* g, int s) { return NameOf(Adjust(), AdjustConfig(b, c, g, s)); };
    EXPECT_EQ("Adjust exposure", NameOf(Adjust(), nullptr));
    EXPECT_EQ("No adjustment", name(0, 100, "1", 100));
    EXPECT_EQ("No adjustment", name(0, 100, "1.005", 100));
    EXPECT_EQ("Increase brightness (+24%)", name(60, 100, "1", 100));   // (6000 + 127) / 255
    EXPECT_EQ("Decrease brightness (-23%)", name(-60, 100, "1", 100));  // toward zero
    EXPECT_EQ("Adjust exposure", name(20, 100, "1", 100));
    EXPECT_EQ("Adjust exposure", name(60, 100, "1.2", 100));
    EXPECT_EQ("Increase contrast (+50%)", name(0, 150, "1", 100));
    EXPECT_EQ("Decrease contrast (-50%)", name(5, 50, "1.1", 100));
    EXPECT_EQ("Adjust exposure", name(5, 105, "1", 100));
    EXPECT_EQ("Adjust gamma", name(0, 100, "1.5", 100));
    EXPECT_EQ("Adjust gamma", name(5, 102, "0.5", 98));
    EXPECT_EQ("Desaturate (-50%)", name(0, 100, "1", 50));
    EXPECT_EQ("Increase saturation (+50%)", name(5, 102, "1", 150));
    EXPECT_EQ("Adjust exposure", name(0, 100, "0.98", 100));
    EXPECT_EQ("Zvýšit jas (+24%)", NameOf(Adjust(), AdjustConfig(60, 100, "1", 100), LANG_CZECH));
}

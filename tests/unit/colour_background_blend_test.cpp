// Blend with background: the pixel function, the early default pixel, the dirty rectangle
// and the name.
#include <gtest/gtest.h>

#include "operations/colour/background_blend.h"
#include "operations/colour/background_blend_kernels.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Blend() { return Operation<CDocumentOperationRasterImageBackgroundBlend>(); }

ComPtr<IConfig> BlendConfig(const std::string& aBackground, int aThreshold) {
    ComPtr<IConfig> config = ConfigOf(Blend());
    Set(config, "Background", aBackground);
    Set(config, "Threshold", std::to_string(aThreshold));
    return config;
}

}  // namespace

TEST(BackgroundBlendOp, SemiTransparentPixelsAreMixedInLinearLight) {
    const CBackgroundBlendOp white = MakeBackgroundBlendOp(GammaTable(), 0xFFFFFF, 0);
    // Red at alpha 128 on white: w = 32896; green and blue (0 x w + 32640 x 65535) >> 16 -> 187.
    EXPECT_EQ(0xFFFFBBBBu, white.Apply(Px(0x80FF0000u)).n);
    // Blue at alpha 64 on 0x336699 (red 0x99, green 0x66, blue 0x33).
    const CBackgroundBlendOp coloured = MakeBackgroundBlendOp(GammaTable(), 0x336699, 0);
    EXPECT_EQ(0xFF86598Fu, coloured.Apply(Px(0x400000FFu)).n);
}

TEST(BackgroundBlendOp, OpaquePixelsComeBackIdentical) {
    const CBackgroundBlendOp op = MakeBackgroundBlendOp(GammaTable(), 0x123456, 10);
    for (uint32_t c : {0xFF000000u, 0xFF010203u, 0xFFFEFDFCu, 0xFF7F8081u}) EXPECT_EQ(c, op.Apply(Px(c)).n);
}

TEST(BackgroundBlendOp, ThresholdOneDeletesExactlyTheTransparentPixels) {
    const CBackgroundBlendOp op = MakeBackgroundBlendOp(GammaTable(), 0xFFFFFF, 1);
    EXPECT_EQ(0u, op.Apply(Px(0x00FF8040u)).n);
    EXPECT_EQ(0xFF000000u, op.Apply(Px(0x01000000u)).n & 0xFF000000u);
    // Alpha equal to the threshold stays.
    const CBackgroundBlendOp high = MakeBackgroundBlendOp(GammaTable(), 0xFFFFFF, 128);
    EXPECT_EQ(0u, high.Apply(Px(0x7FFF0000u)).n);
    EXPECT_EQ(0xFFFFBBBBu, high.Apply(Px(0x80FF0000u)).n);
}

TEST(BackgroundBlendOp, BackgroundBytesAreSwappedIntoPixelOrder) {
    EXPECT_EQ(0xFF996633u, BackgroundPixel(0x336699).n);
}

TEST(BackgroundBlendOperation, ListedNameSchemaAndNames) {
    EXPECT_EQ("Raster Image - Blend with Background", ListedName(Blend()));
    ComPtr<IConfig> config = ConfigOf(Blend());
    auto items = zthost::DescribeConfig(config);
    ASSERT_EQ(2u, items.size());
    EXPECT_EQ(u"Background", items[0].key);
    EXPECT_EQ(0xFFFFFF, items[0].defaultValue->iVal);
    EXPECT_EQ(u"Threshold", items[1].key);
    EXPECT_EQ("Alpha Threshold", zthost::TextOf(items[1].name, LANG_ENGLISH));
    EXPECT_EQ(255, items[1].to->iVal);
    EXPECT_EQ("Set background", NameOf(Blend(), nullptr));
    EXPECT_EQ("Set White background", NameOf(Blend(), BlendConfig("0xFFFFFF", 0)));
    // Red in the lowest byte.
    EXPECT_EQ("Set Red background", NameOf(Blend(), BlendConfig("0x0000FF", 0)));
    EXPECT_EQ("Set background", NameOf(Blend(), BlendConfig("0x3F7F1F", 0)));  // nothing near
}

TEST(BackgroundBlendOperation, ThresholdZeroPaintsTheCanvasOutsideTheContent) {
    auto doc = Document({4, 3}, {1, 1}, {2, 1}, {0x80FF0000u, 0x00000000u}, 0x00000000u);
    ASSERT_EQ(S_OK, RunOperation(Blend(), doc, BlendConfig("0xFFFFFF", 0)));
    EXPECT_EQ((std::vector<uint32_t>{0xFFFFBBBBu, 0xFFFFFFFFu}), Content(doc));
    EXPECT_EQ(0xFFFFFFFFu, State(doc).defaultPixel.n);
    EXPECT_EQ(0xFFFFFFFFu, PixelAt(doc, 0, 0));
    EXPECT_EQ(0u, State(doc).bufferReplaceCount);  // written by TileSet
}

TEST(BackgroundBlendOperation, OtherThresholdsKeepTheDefaultPixel) {
    auto doc = Document({4, 3}, {1, 1}, {2, 1}, {0x80FF0000u, 0x10FFFFFFu}, 0x00102030u);
    ASSERT_EQ(S_OK, RunOperation(Blend(), doc, BlendConfig("0xFFFFFF", 32)));
    EXPECT_EQ((std::vector<uint32_t>{0xFFFFBBBBu, 0u}), Content(doc));
    EXPECT_EQ(0x00102030u, State(doc).defaultPixel.n);
}

TEST(BackgroundBlendOperation, EmptyContentIsFalseButTheDefaultPixelIsSet) {
    auto doc = Document({4, 3}, {0, 0}, {0, 0}, {}, 0x00000000u);
    EXPECT_EQ(S_FALSE, RunOperation(Blend(), doc, BlendConfig("0x0000FF", 0)));
    EXPECT_EQ(0xFFFF0000u, State(doc).defaultPixel.n);
    auto kept = Document({4, 3}, {0, 0}, {0, 0}, {}, 0x00000000u);
    EXPECT_EQ(S_FALSE, RunOperation(Blend(), kept, BlendConfig("0x0000FF", 5)));
    EXPECT_EQ(0u, State(kept).defaultPixel.n);
}

TEST(BackgroundBlendOperation, WithoutARasterImageItFails) {
    EXPECT_EQ(E_FAIL, RunOperation(Blend(), nullptr, BlendConfig("0", 0)));
}

TEST(BackgroundBlendOperation, DirtyRectangleIsTheWholePlaneAtThresholdZero) {
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(Blend().get());
    TImageSize canvas{10, 10};
    TRasterImageRect r{{1, 2}, {3, 4}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(BlendConfig("0", 0), &canvas, &r));
    EXPECT_EQ(INT32_MIN, r.tTL.nX);
    EXPECT_EQ(INT32_MAX, r.tBR.nY);
    TRasterImageRect s{{1, 2}, {3, 4}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(BlendConfig("0", 9), &canvas, &s));
    EXPECT_EQ(1, s.tTL.nX);
    EXPECT_EQ(4, s.tBR.nY);
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(nullptr, &canvas, &s));
    EXPECT_EQ(S_FALSE, filter->NeededToCompute(BlendConfig("0", 0), &canvas, &s));
}

TEST(BackgroundBlendOperation, SameResultOnOneThreadAndOnMany) {
    const auto pixels = Pattern(200 * 100, 9);
    auto one = Image(200, 100, pixels), many = Image(200, 100, pixels);
    zthost::SetThreadCount(1);
    ASSERT_EQ(S_OK, RunOperation(Blend(), one, BlendConfig("0x204060", 40)));
    zthost::SetThreadCount(6);
    ASSERT_EQ(S_OK, RunOperation(Blend(), many, BlendConfig("0x204060", 40)));
    zthost::SetThreadCount(0);
    EXPECT_EQ(Content(one), Content(many));
}

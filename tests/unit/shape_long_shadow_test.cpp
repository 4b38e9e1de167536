// Long shadow: the vector and its reach, the sweep on small shapes worked out by hand, the
// filter answers and the handle on the canvas.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "operations/shape/long_shadow.h"
#include "operations/shape/long_shadow_kernels.h"
#include "pixel/colour.h"
#include "tests/unit/operation_test_support.h"
#include "tests/unit/picture.h"

using namespace zt;
using namespace optest;
using pictest::Picture;

namespace {

constexpr uint32_t O = 0xFF785028u;
// The default shadow: black at alpha 0.5, stored as alpha byte 128.
constexpr uint32_t P = 0x80000000u;
const pictest::Palette kPalette = {{".", 0u}, {"O", O}, {"P", P}, {"D", 0x11223344u}};

ComPtr<IDocumentOperation> LongShadow() { return Operation<CDocumentOperationLongShadow>(); }

ComPtr<IConfig> Config(const std::string& aLength, const std::string& aOrientation) {
    ComPtr<IConfig> config = ConfigOf(LongShadow());
    Set(config, "Length", aLength);
    Set(config, "Orientation", aOrientation);
    return config;
}

// Runs on a 3 x 3 content at (0, 0); gives the new content as a picture, its origin and size.
struct SRun {
    std::string picture;
    TImagePoint origin;
    TImageSize size;
};
SRun Sweep(const std::vector<uint32_t>& aPixels, IConfig* aConfig, uint32_t aDefault = 0) {
    ComPtr<IDocument> doc = Document({3, 3}, {0, 0}, {3, 3}, aPixels, aDefault);
    EXPECT_EQ(S_OK, RunOperation(LongShadow(), doc, aConfig));
    const zthost::RasterImageState s = State(doc);
    return {Picture(Content(doc), s.contentSize.nX, kPalette), s.contentOrigin, s.contentSize};
}

const std::vector<uint32_t> kDot = {0, 0, 0, 0, O, 0, 0, 0, 0};

}  // namespace

TEST(LongShadowVector, ReachesAwayFromZeroAndTheAxesKeepTheirRoundingCrumbs) {
    const SLongShadowVector right = LongShadowVector(2.0f, 90.0f);
    EXPECT_EQ(2.0f, right.dx);
    EXPECT_EQ(2, right.ix);
    // cos of 90 degrees in float is a crumb above 0: a whole line of reach downwards.
    EXPECT_GT(right.dy, 0.0f);
    EXPECT_LT(right.dy, 1e-6f);
    EXPECT_EQ(1, right.iy);
    const SLongShadowVector upLeft = LongShadowVector(10.0f, 315.0f);
    EXPECT_EQ(-8, upLeft.ix);  // -7.07 away from zero
    EXPECT_EQ(-8, upLeft.iy);
    const SLongShadowVector none = LongShadowVector(0.0f, 135.0f);
    EXPECT_EQ(0, none.ix);
    EXPECT_EQ(0, none.iy);
}

TEST(LongShadowSweep, ADotCastsTwoPixelsToTheRight) {
    // Orientation 90, length 2: lines are columns, G = 2, the skew is 4 on every line; the
    // content grows by 2 to the right and, by the float crumb of cos, 1 downwards.
    const SRun r = Sweep(kDot, Config("2", "90"));
    EXPECT_EQ(Picture({". . . . .",  //
                       ". O P P .",  //
                       ". . . . .",  //
                       ". . . . ."},
                      kPalette),
              r.picture);
    EXPECT_EQ(0, r.origin.nX);
    EXPECT_EQ(0, r.origin.nY);
}

TEST(LongShadowSweep, UpwardsTheSweepRunsFromTheLastRowAndTheContentGrowsUp) {
    // Orientation 0 is straight up: dx = 0 exactly, dy = -2, rows swept from the bottom.
    const SRun r = Sweep(kDot, Config("2", "0"));
    EXPECT_EQ(Picture({". . .",  //
                       ". P .",  //
                       ". P .",  //
                       ". O .",  //
                       ". . ."},
                      kPalette),
              r.picture);
    EXPECT_EQ(0, r.origin.nX);
    EXPECT_EQ(-2, r.origin.nY);
}

TEST(LongShadowSweep, FortyFiveDegreesSweepsByRowsAndStepsByTheRoundedSkew) {
    const SRun r = Sweep(kDot, Config("2.8284271", "135"));  // dx = dy = 2
    EXPECT_EQ(Picture({". . . . .",                          //
                       ". O . . .",                          //
                       ". . P . .",                          //
                       ". . . P .",                          //
                       ". . . . ."},
                      kPalette),
              r.picture);
}

TEST(LongShadowSweep, LengthZeroKeepsTheImageAndGivesClearPixelsTheDefault) {
    const SRun r = Sweep(kDot, Config("0", "135"), 0x11223344u);
    EXPECT_EQ(Picture({"D D D", "D O D", "D D D"}, kPalette), r.picture);
    EXPECT_EQ(3u, r.size.nX);
}

TEST(LongShadowSweep, ASemiTransparentPixelMixesOnlyWhereAShadowLiesUnderIt) {
    // Length 0 keeps a half-clear pixel as it is: nothing casts onto it.
    std::vector<uint32_t> half = kDot;
    half[4] = 0x80C8C8C8u;
    ComPtr<IDocument> still = Document({3, 3}, {0, 0}, {3, 3}, half);
    ASSERT_EQ(S_OK, RunOperation(LongShadow(), still, Config("0", "135")));
    EXPECT_EQ(half, Content(still));
    // Behind an opaque pixel in the shadow's way, the same pixel lies over the shadow.
    std::vector<uint32_t> pair(9, 0u);
    pair[3] = O;
    pair[4] = 0x80C8C8C8u;
    ComPtr<IDocument> shaded = Document({3, 3}, {0, 0}, {3, 3}, pair);
    ASSERT_EQ(S_OK, RunOperation(LongShadow(), shaded, Config("2", "90")));
    const uint16_t* T = GammaTable();
    const SLongShadowColour c{Px(P), T[0], T[0], T[0]};
    EXPECT_EQ(LongShadowOver(Px(0x80C8C8C8u), c, T).n, PixelAt(shaded, 1, 1));
    EXPECT_NE(0x80C8C8C8u, PixelAt(shaded, 1, 1));
}

TEST(LongShadowSweep, AClearImageIsTheDefaultEverywhere) {
    const SRun r = Sweep(std::vector<uint32_t>(9, 0u), Config("5", "200"), 0x11223344u);
    for (char c : r.picture) EXPECT_TRUE(c == 'D' || c == ' ' || c == '\n') << r.picture;
}

TEST(LongShadowSweep, AClearShadowColourStillPassesSemiTransparentPixelsThroughTheOverStep) {
    ComPtr<IConfig> config = Config("2", "90");
    Set(config, "Color", "1,0,0,0");
    // Red at alpha 0 is stored with its colour (R00); the half-clear dot goes through the
    // over step with weight 0 and keeps its colour and alpha.
    std::vector<uint32_t> dot = kDot;
    dot[4] = 0x80C8C8C8u;
    const pictest::Palette palette = {{".", 0u}, {"R", 0xFFFF0000u}};
    ComPtr<IDocument> doc = Document({3, 3}, {0, 0}, {3, 3}, dot);
    ASSERT_EQ(S_OK, RunOperation(LongShadow(), doc, config));
    EXPECT_EQ(Picture({".  .        .   .   .",  //
                       ".  80C8C8C8 R00 R00 .",  //
                       ".  .        .   .   .",  //
                       ".  .        .   .   ."},
                      palette),
              Picture(Content(doc), 5, palette));
}

TEST(LongShadowOver, MixesTheShadowUnderASemiTransparentPixelInLinearLight) {
    const uint16_t* T = GammaTable();
    SLongShadowColour c{Px(0x80000000u), T[0], T[0], T[0]};
    // a = 128 over A = 128: w = 127 x 128 = 16256, t = 32640 + 16256 = 48896, alpha 191.
    const TPixelChannel out = LongShadowOver(Px(0x80C8C8C8u), c, T);
    EXPECT_EQ(191, out.bA);
    const uint8_t channel = LinearToSRGB8(T, uint32_t(uint64_t(128) * T[200] * 255 / 48896));
    EXPECT_EQ(channel, out.bR);
    EXPECT_EQ(channel, out.bG);
    EXPECT_EQ(channel, out.bB);
    // Clear shadow colour: w = 0, the pixel keeps its colour and its alpha.
    c.pixel.bA = 0;
    EXPECT_EQ(0x80C8C8C8u, LongShadowOver(Px(0x80C8C8C8u), c, T).n);
}

TEST(LongShadowOperation, NamesItemsAndPriority) {
    ComPtr<IDocumentOperation> op = LongShadow();
    EXPECT_EQ("Raster Image - Long shadow", ListedName(op));
    EXPECT_EQ("Long shadow", NameOf(op, ConfigOf(op)));
    EXPECT_EQ("Dlouhý stín", NameOf(op, ConfigOf(op), LANG_CZECH));
    ComPtr<ILayerStyle> style = ComPtr<ILayerStyle>::query(op.get());
    ASSERT_TRUE(style);
    EXPECT_EQ(70, style->ExecutionPriority());
    ComPtr<IConfig> config = ConfigOf(op);
    EXPECT_EQ(64.0f, ReadFloat(config, u"Length"));
    EXPECT_EQ(135.0f, ReadFloat(config, u"Orientation"));
}

TEST(LongShadowOperation, DirtyRectangleGrowsTowardsTheShadowAndNeededAwayFromIt) {
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(LongShadow().get());
    ComPtr<IConfig> config = ConfigOf(LongShadow());  // 64 at 135: dx = dy = 45.25
    TRasterImageRect rect{{0, 0}, {10, 10}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, nullptr, &rect));
    EXPECT_EQ(0, rect.tTL.nX);
    EXPECT_EQ(0, rect.tTL.nY);
    EXPECT_EQ(56, rect.tBR.nX);
    EXPECT_EQ(56, rect.tBR.nY);
    rect = {{0, 0}, {10, 10}};
    EXPECT_EQ(S_OK, filter->NeededToCompute(config, nullptr, &rect));
    EXPECT_EQ(-46, rect.tTL.nX);
    EXPECT_EQ(-46, rect.tTL.nY);
    EXPECT_EQ(10, rect.tBR.nX);
    EXPECT_EQ(10, rect.tBR.nY);
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, nullptr, nullptr));
}

TEST(LongShadowOperation, TransformScalesTheLengthAndBringsTheOrientationIntoATurn) {
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(LongShadow().get());
    ComPtr<IConfig> config = Config("10", "400");
    const TMatrix3x3f twice = {{2, 0, 0, 0, 2, 0, 0, 0, 1}};
    EXPECT_EQ(S_FALSE, filter->Transform(config, nullptr, nullptr));
    EXPECT_EQ(E_HOST_INVALID_PARAM, filter->Transform(nullptr, nullptr, &twice));
    EXPECT_EQ(S_OK, filter->Transform(config, nullptr, &twice));
    EXPECT_EQ(20.0f, ReadFloat(config, u"Length"));
    EXPECT_EQ(40.0f, ReadFloat(config, u"Orientation"));
    Set(config, "Orientation", "-30");
    const TMatrix3x3f same = {{1, 0, 0, 0, 1, 0, 0, 0, 1}};
    EXPECT_EQ(S_OK, filter->Transform(config, nullptr, &same));
    EXPECT_EQ(330.0f, ReadFloat(config, u"Orientation"));
}

TEST(LongShadowWrapper, OneHandleAtTheEndOfTheShadowVector) {
    ComPtr<ICanvasInteractingOperation> op = ComPtr<ICanvasInteractingOperation>::query(LongShadow().get());
    ComPtr<ICanvasInteractingWrapper> w;
    ASSERT_EQ(S_OK, op->CreateWrapper(Config("10", "90"), 100, 50, w.out()));
    EXPECT_EQ(1u, w->GetControlPointCount());
    float pos[2];
    uint32_t cls = 0;
    ASSERT_EQ(S_OK, w->GetControlPoint(0, pos, &cls));
    EXPECT_FLOAT_EQ(60.0f, pos[0]);
    EXPECT_NEAR(25.0f, pos[1], 1e-5f);
    EXPECT_EQ(1u, cls);
    EXPECT_EQ(E_HOST_INDEX_OUT_OF_RANGE, w->GetControlPoint(1, pos, &cls));

    ComPtr<ICanvasInteractingWrapper> next;
    uint32_t index = 7;
    const float centre[2] = {50.005f, 24.995f};
    EXPECT_EQ(S_FALSE, w->SetControlPoint(0, centre, true, 1.0f, next.out(), &index));
    EXPECT_EQ(w.get(), next.get());
    const float below[2] = {50.0f, 45.0f};  // straight down, 20 away
    EXPECT_EQ(S_OK, w->SetControlPoint(0, below, true, 1.0f, next.out(), &index));
    EXPECT_NE(w.get(), next.get());
    EXPECT_EQ(0u, index);
    ComPtr<IConfig> config = Config("1", "1");
    ASSERT_EQ(S_OK, next->ToConfig(config));
    EXPECT_FLOAT_EQ(20.0f, ReadFloat(config, u"Length"));
    EXPECT_FLOAT_EQ(180.0f, ReadFloat(config, u"Orientation"));
    const float left[2] = {40.0f, 25.0f};  // atan2 of (-10, 0) is -90: 270 after the turn
    ASSERT_EQ(S_OK, next->SetControlPoint(0, left, true, 1.0f, w.out(), &index));
    ASSERT_EQ(S_OK, w->ToConfig(config));
    EXPECT_FLOAT_EQ(270.0f, ReadFloat(config, u"Orientation"));
    EXPECT_EQ(E_HOST_INDEX_OUT_OF_RANGE, w->SetControlPoint(1, left, true, 1.0f, next.out(), &index));
}

TEST(LongShadowOperation, NeedsARasterImage) {
    EXPECT_EQ(E_FAIL, RunOperation(LongShadow(), nullptr, ConfigOf(LongShadow())));
}

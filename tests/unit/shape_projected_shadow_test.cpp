// Projected shadow and the polygon filler it draws with: coverage by hand, the silhouette's
// density ramp, the blur across the shadow, the shadow behind the image, the run's edge cases.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operations/shape/projected_shadow.h"
#include "operations/shape/projected_shadow_kernels.h"
#include "operations/shape/stack_blur_kernels.h"
#include "pixel/polygon_fill.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Projected() { return Operation<CRasterImageProjectedShadow>(); }

// Coverage of every pixel of a aWidth x aHeight box, 0 where no span came.
std::vector<int> Coverage(const std::vector<SPolygonPoint>& aPolygon, uint32_t aWidth, uint32_t aHeight) {
    std::vector<int> c(size_t(aWidth) * aHeight, 0);
    FillPolygon(aPolygon.data(), aPolygon.size(), aWidth, aHeight,
                [&](uint32_t aY, uint32_t aX, uint32_t aLength, const uint8_t* aCovers) {
                    for (uint32_t i = 0; i < aLength; ++i) c[size_t(aY) * aWidth + aX + i] = aCovers[i];
                });
    return c;
}

}  // namespace

TEST(PolygonFill, AHalfPixelEdgeCoversHalfAPixel) {
    // From x = 0.5 to 3, rows 0 to 2: pixel 0 is half covered, 1 and 2 fully, 3 not at all.
    const std::vector<int> c = Coverage({{0.5, 0}, {3, 0}, {3, 2}, {0.5, 2}}, 4, 3);
    EXPECT_EQ((std::vector<int>{128, 255, 255, 0, 128, 255, 255, 0, 0, 0, 0, 0}), c);
    // A horizontal half-pixel edge: row 1 is half covered.
    const std::vector<int> h = Coverage({{0, 0}, {2, 0}, {2, 1.5}, {0, 1.5}}, 2, 2);
    EXPECT_EQ((std::vector<int>{255, 255, 128, 128}), h);
}

TEST(PolygonFill, ADiagonalCoversHalfOfEachPixelItCrossesAndTheClipBoxHolds) {
    // The triangle under the diagonal of a 2 x 2 square: the diagonal pixels half, one below it full.
    const std::vector<int> c = Coverage({{0, 0}, {2, 2}, {0, 2}}, 2, 2);
    EXPECT_EQ(128, c[0]);
    EXPECT_EQ(0, c[1]);
    EXPECT_EQ(255, c[2]);
    EXPECT_EQ(128, c[3]);
    // Far beyond the box on every side: everything covered, nothing outside written.
    EXPECT_EQ(std::vector<int>(6, 255), Coverage({{-1e9, -1e9}, {1e9, -1e9}, {1e9, 1e9}, {-1e9, 1e9}}, 3, 2));
    // Opposite windings of two overlapping squares cancel under the non-zero rule only where both count.
    EXPECT_EQ(std::vector<int>(4, 0), Coverage({{0, 0}, {2, 0}, {2, 2}, {0, 2}, {0, 0}, {0, 2}, {2, 2}, {2, 0}}, 2, 2));
}

TEST(ProjectedShadowKernels, RadiiSilhouetteAndTheByteThatWraps) {
    const SProjectedRadii r = ProjectedRadii(300, 300, 15.0f, 40.0f);  // S = 300: 15 and 40
    EXPECT_EQ(15u, r.r1);
    EXPECT_EQ(40u, r.r2);
    EXPECT_EQ(40u, r.R);
    EXPECT_EQ(4u, ProjectedRadii(4, 300, 15.0f, 40.0f).r2);  // held at the width
    // Row 0 takes Density2, row H Density1: (40 x 0 / 10 + 20) x 2.56 + 0.5 = 51.7 -> 51.
    EXPECT_EQ(51, SilhouetteFactor(60, 20, 0, 10));
    EXPECT_EQ(143, SilhouetteFactor(60, 20, 9, 10));  // (36 + 20) x 2.56 + 0.5 = 143.86
    EXPECT_EQ(384, SilhouetteFactor(150, 150, 3, 10));
    // Density 150 on an opaque pixel: (255 x 384) >> 8 = 382, stored as a byte: 126.
    const std::vector<TPixelChannel> opaque(1, Px(0xFF000000u));
    const std::vector<uint8_t> plane = ProjectedShadowPlane(opaque.data(), 1, 1, {0, 0, 0}, 150.0f, 150.0f);
    EXPECT_EQ(126, plane[0]);
}

TEST(ProjectedShadowKernels, EqualBlursAreOneStackBlurOfTheWholePlane) {
    std::vector<uint8_t> plane(30 * 30, 0), expected;
    for (int i = 0; i < 30; ++i) plane[size_t(i) * 30 + 15] = 200;
    expected = plane;
    ProjectedShadowBlur(plane.data(), 22, 22, {4, 4, 4});
    StackBlurPlane(expected.data(), 30, 30, 30, 4);
    EXPECT_EQ(expected, plane);
    // Different radii: the middle of the plane is softer than a blur by r1 alone.
    std::vector<uint8_t> ramp(30 * 30, 0), sharp;
    for (int i = 0; i < 30; ++i) ramp[size_t(i) * 30 + 15] = 200;
    sharp = ramp;
    ProjectedShadowBlur(ramp.data(), 22, 22, {1, 4, 4});
    StackBlurPlane(sharp.data(), 30, 30, 30, 1);
    EXPECT_NE(sharp, ramp);
}

TEST(ProjectedShadowKernels, TheShadowLiesBehindTheImage) {
    EXPECT_EQ(0xFF102030u, ShadowBehind(Px(0xFF102030u), 200).n);  // opaque pixels stay
    EXPECT_EQ(0x64000000u, ShadowBehind(Px(0x00FFFFFFu), 100).n);  // a clear pixel becomes the shadow
    // a = 128, s = 255: w = 32640, t = 127 x 255 + 32640 = 65025; 200 x 32640 / 65025 = 100.
    EXPECT_EQ(0xFF646464u, ShadowBehind(Px(0x80C8C8C8u), 255).n);
    EXPECT_EQ(0x00C8C8C8u, ShadowBehind(Px(0x00C8C8C8u), 0).n);  // nothing behind, nothing changes
    // Bilinear weights in 1/16384: between 0 and 255, half way.
    const uint8_t plane[2] = {0, 255};
    EXPECT_EQ(0, SamplePlane(plane, 2, 1, 128, 128));
    EXPECT_EQ(128, SamplePlane(plane, 2, 1, 256, 128));
    EXPECT_EQ(0, SamplePlane(plane, 2, 1, -1000, 128));
}

TEST(ProjectedShadowOperation, ADegenerateQuadrilateralDrawsNothing) {
    std::vector<uint32_t> pixels(16 * 16, 0u);
    for (int y = 4; y < 12; ++y)
        for (int x = 4; x < 12; ++x) pixels[size_t(y) * 16 + x] = 0xFF3060C0u;
    ComPtr<IDocument> doc = Image(16, 16, pixels);
    ComPtr<IConfig> config = ConfigOf(Projected());
    for (const char* key : {"Pt1X", "Pt2X", "Pt3X", "Pt4X"}) Set(config, key, "0.5");
    ASSERT_EQ(S_OK, RunOperation(Projected(), doc, config));
    EXPECT_EQ(pixels, Content(doc));
    // The default quadrilateral draws: some clear pixel darkens, and the opaque ones stay.
    ComPtr<IDocument> drawn = Image(16, 16, pixels);
    ASSERT_EQ(S_OK, RunOperation(Projected(), drawn, ConfigOf(Projected())));
    const std::vector<uint32_t> out = Content(drawn);
    bool shadow = false;
    for (size_t i = 0; i < out.size(); ++i) {
        if (pixels[i] != 0) {
            EXPECT_EQ(pixels[i], out[i]);
        }
        shadow = shadow || (pixels[i] == 0 && out[i] != 0);
    }
    EXPECT_TRUE(shadow);
}

TEST(ProjectedShadowOperation, NamesDirtyRectangleAndCorners) {
    ComPtr<IDocumentOperation> op = Projected();
    EXPECT_EQ("Raster Image - Projected Shadow", ListedName(op));
    EXPECT_EQ("Projected shadow", NameOf(op, ConfigOf(op)));
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(op.get());
    TRasterImageRect rect{{3, 3}, {4, 4}};
    const TImageSize canvas{40, 30};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(nullptr, &canvas, &rect));
    EXPECT_EQ(0, rect.tTL.nX);
    EXPECT_EQ(40, rect.tBR.nX);
    EXPECT_EQ(30, rect.tBR.nY);
    EXPECT_EQ(E_NOTIMPL, filter->NeededToCompute(nullptr, nullptr, &rect));

    ComPtr<ICanvasInteractingOperation> canvasOp = ComPtr<ICanvasInteractingOperation>::query(op.get());
    ComPtr<ICanvasInteractingWrapper> w;
    ASSERT_EQ(S_OK, canvasOp->CreateWrapper(ConfigOf(op), 100, 50, w.out()));
    EXPECT_EQ(4u, w->GetControlPointCount());
    float pos[2];
    ASSERT_EQ(S_OK, w->GetControlPoint(2, pos, nullptr));
    EXPECT_FLOAT_EQ(110.0f, pos[0]);  // 1.1 x 100
    EXPECT_FLOAT_EQ(45.0f, pos[1]);   // 0.9 x 50
    EXPECT_EQ(E_HOST_INDEX_OUT_OF_RANGE, w->GetControlPoint(4, pos, nullptr));
    ComPtr<ICanvasInteractingWrapper> next;
    EXPECT_EQ(S_FALSE, w->SetControlPoint(2, pos, true, 1.0f, next.out(), nullptr));
    const float moved[2] = {50.0f, 25.0f};
    ASSERT_EQ(S_OK, w->SetControlPoint(2, moved, true, 1.0f, next.out(), nullptr));
    ComPtr<IConfig> config = ConfigOf(op);
    ASSERT_EQ(S_OK, next->ToConfig(config));
    EXPECT_FLOAT_EQ(0.5f, ReadFloat(config, u"Pt3X"));
    EXPECT_FLOAT_EQ(0.5f, ReadFloat(config, u"Pt3Y"));
    EXPECT_FLOAT_EQ(0.2f, ReadFloat(config, u"Pt1X"));
}

// Rotation and transform producers: the Hermite table and sampler, the exact right-angle,
// mirror and flip copies, the rotation plan, the perspective matrices and the wrappers.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "frame/object.h"
#include "operations/geometry/perspective.h"
#include "operations/geometry/rotate.h"
#include "operations/geometry/transform_kernels.h"
#include "operations/geometry/transformation_wrapper.h"
#include "operations/geometry/transformers.h"

using namespace zt;
using namespace zt::transform;

namespace {

TPixelChannel Px(uint8_t aB, uint8_t aG, uint8_t aR, uint8_t aA) {
    TPixelChannel p;
    p.bB = aB;
    p.bG = aG;
    p.bR = aR;
    p.bA = aA;
    return p;
}

std::vector<TPixelChannel> Pattern(size_t aCount) {
    std::vector<TPixelChannel> p(aCount);
    uint32_t x = 4242;
    for (auto& px : p) {
        x = x * 1664525u + 1013904223u;
        px.n = x;
    }
    return p;
}

ComPtr<ICanvasInteractingWrapper> Own(ICanvasInteractingWrapper* aWrapper) {
    ComPtr<ICanvasInteractingWrapper> p;
    p.attach(aWrapper);
    return p;
}

void Point(ICanvasInteractingWrapper* aWrapper, uint32_t aIndex, float* aX, float* aY, uint32_t* aClass = nullptr) {
    float p[2] = {-1, -1};
    uint32_t cls = 99;
    EXPECT_EQ(S_OK, aWrapper->GetControlPoint(aIndex, p, &cls));
    *aX = p[0];
    *aY = p[1];
    if (aClass) *aClass = cls;
}

}  // namespace

TEST(HermiteTable, TapsOfAPositionAddUpAndTheFirstEntryCopiesTheLast) {
    int16_t t[512];
    HermiteTable(t);
    EXPECT_EQ(16384, t[256]);
    EXPECT_EQ(8192, t[384]);  // w(0.5)
    EXPECT_EQ(8192, t[128]);
    EXPECT_EQ(1, t[511]);  // w(255/256) = 0.748 rounds to 1
    EXPECT_EQ(t[511], t[0]);
    for (int f = 1; f < 256; ++f) EXPECT_NEAR(16384, t[f + 256] + t[f], 1) << f;
}

TEST(HermiteSampler, WindowHalfOutsideBlendsWithTheDefault) {
    const TPixelChannel white = Px(255, 255, 255, 255);
    SSampler s;
    s.Init(1.0f, TPixelChannel{}, {&white, {0, 0}, {1, 1}, {1, 1}});
    // Half a pixel left of the only pixel: near and far taps 8192 each, the row below 1 and 1.
    const TPixelChannel p = s.Sample(-128, 0);
    EXPECT_EQ(128, p.bA);  // (8192 + 8192 * 65535) >> 14 = 32768
    EXPECT_EQ(255, p.bR);  // colours are divided back by alpha
}

TEST(HermiteSampler, WholePositionsReproduceOpaquePixels) {
    const auto src = Pattern(16);
    std::vector<TPixelChannel> opaque(src);
    for (auto& p : opaque) p.bA = 255;
    SSampler s;
    s.Init(1.0f, Px(0, 0, 0, 255), {opaque.data(), {0, 0}, {4, 4}, {1, 4}});
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 3; ++x) {
            const TPixelChannel p = s.Sample(x * 256, y * 256);
            const TPixelChannel q = opaque[y * 4 + x];
            EXPECT_NEAR(q.bB, p.bB, 1);
            EXPECT_NEAR(q.bG, p.bG, 1);
            EXPECT_NEAR(q.bR, p.bR, 1);
            EXPECT_EQ(255, p.bA);
        }
}

TEST(HermiteSampler, GammaRangeIsInclusiveHere) {
    EXPECT_TRUE(UsesGamma(0.1f));
    EXPECT_TRUE(UsesGamma(10.0f));
    EXPECT_FALSE(UsesGamma(1.0f));
    EXPECT_FALSE(UsesGamma(10.5f));
    SSampler s;
    const TPixelChannel p{};
    s.Init(2.0f, p, {&p, {0, 0}, {1, 1}, {1, 1}});
    EXPECT_EQ(16513, s.toLinear[128]);
    EXPECT_EQ(46431, s.toGamma[128]);  // (128/255)^0.5 * 65535 + 0.5
    EXPECT_EQ(0xFF00, s.toGamma[256]);
}

TEST(RotateTile, QuarterTurnRightIsAnExactCopy) {
    const auto src = Pattern(3 * 2);
    const TMatrix3x3f m = {{0, 1, 0, -1, 0, 0, 2, 0, 1}};
    const TPixelChannel fill = Px(1, 2, 3, 4);
    std::vector<TPixelChannel> out(2 * 3);
    ASSERT_EQ(S_OK, CTransformHelperRotate().ProcessTile(1, 2.2f, &fill, &m, src.data(), {0, 0}, {3, 2}, {1, 3},
                                                         out.data(), {0, 0}, {2, 3}, {1, 2}));
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 2; ++x) EXPECT_EQ(src[(1 - x) * 3 + y].n, out[y * 2 + x].n) << x << "," << y;
}

TEST(RotateTile, QuarterTurnLeftIsAnExactCopy) {
    const auto src = Pattern(3 * 2);
    const TMatrix3x3f m = {{0, -1, 0, 1, 0, 0, 0, 3, 1}};
    const TPixelChannel fill = Px(1, 2, 3, 4);
    std::vector<TPixelChannel> out(2 * 3);
    ASSERT_EQ(S_OK, CTransformHelperRotate().ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {3, 2}, {1, 3},
                                                         out.data(), {0, 0}, {2, 3}, {1, 2}));
    // Source column m[7] - 1 - y, row x - m[6].
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 2; ++x) EXPECT_EQ(src[x * 3 + (2 - y)].n, out[y * 2 + x].n) << x << "," << y;
}

TEST(RotateTile, HalfTurnWritesBackwardAndIgnoresTheTranslation) {
    const auto src = Pattern(4 * 3);
    const TMatrix3x3f m = {{-1, 0, 0, 0, -1, 0, 77, -5, 1}};
    const TPixelChannel fill{};
    std::vector<TPixelChannel> out(4 * 3);
    ASSERT_EQ(S_OK, CTransformHelperRotate().ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {4, 3}, {1, 4},
                                                         out.data(), {0, 0}, {4, 3}, {1, 4}));
    for (int i = 0; i < 12; ++i) EXPECT_EQ(src[i].n, out[11 - i].n);
}

TEST(RotateTile, OutsideTheSourceIsTheDefault) {
    const auto src = Pattern(2 * 2);
    const TMatrix3x3f m = {{0, 1, 0, -1, 0, 0, 2, 1, 1}};
    const TPixelChannel fill = Px(9, 9, 9, 9);
    std::vector<TPixelChannel> out(3 * 3);
    ASSERT_EQ(S_OK, CTransformHelperRotate().ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {2, 2}, {1, 2},
                                                         out.data(), {0, 0}, {3, 3}, {1, 3}));
    for (int x = 0; x < 3; ++x) EXPECT_EQ(fill.n, out[x].n);  // row 0: source column -1
}

TEST(RotateTile, GeneralPathIsIndependentOfTiles) {
    const auto src = Pattern(9 * 7);
    const float c = std::cos(0.5f), s = std::sin(0.5f);
    const TMatrix3x3f m = {{c, -s, 0, s, c, 0, 1.5f, 3.25f, 1}};
    const TPixelChannel fill = Px(0, 0, 0, 0);
    std::vector<TPixelChannel> whole(40 * 9);
    ASSERT_EQ(S_OK, CTransformHelperRotate().ProcessTile(1, 2.2f, &fill, &m, src.data(), {0, 0}, {9, 7}, {1, 9},
                                                         whole.data(), {0, 0}, {40, 9}, {1, 40}));
    // Tiles starting on the same 16-pixel anchors of each row give the same pixels.
    std::vector<TPixelChannel> tile(24 * 4);
    ASSERT_EQ(S_OK, CTransformHelperRotate().ProcessTile(1, 2.2f, &fill, &m, src.data(), {0, 0}, {9, 7}, {1, 9},
                                                         tile.data(), {16, 3}, {24, 4}, {1, 24}));
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 24; ++x) EXPECT_EQ(whole[(y + 3) * 40 + x + 16].n, tile[y * 24 + x].n);
}

TEST(TransformTile, MirrorAndFlipAreExactCopies) {
    const auto src = Pattern(3 * 2);
    const TPixelChannel fill = Px(1, 1, 1, 1);
    std::vector<TPixelChannel> out(3 * 2);
    const TMatrix3x3f mirror = {{-1, 0, 0, 0, 1, 0, 3, 0, 1}};
    ASSERT_EQ(S_OK, CStackTransformHelper().ProcessTile(1, 2.2f, &fill, &mirror, src.data(), {0, 0}, {3, 2}, {1, 3},
                                                        out.data(), {0, 0}, {3, 2}, {1, 3}));
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(src[y * 3 + 2 - x].n, out[y * 3 + x].n);
    const TMatrix3x3f flip = {{1, 0, 0, 0, -1, 0, 0, 2, 1}};
    ASSERT_EQ(S_OK, CStackTransformHelper().ProcessTile(1, 2.2f, &fill, &flip, src.data(), {0, 0}, {3, 2}, {1, 3},
                                                        out.data(), {0, 0}, {3, 2}, {1, 3}));
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(src[(1 - y) * 3 + x].n, out[y * 3 + x].n);
}

TEST(TransformTile, IdentityThroughTheGeneralPathKeepsOpaquePixels) {
    auto src = Pattern(6 * 5);
    for (auto& p : src) p.bA = 255;
    float points[8] = {0, 0, 1, 0, 1, 1, 0, 1};
    TMatrix3x3f m;
    ASSERT_TRUE(PerspectiveMatrix(points, 6, 5, &m));
    const TPixelChannel fill = Px(0, 0, 0, 255);
    std::vector<TPixelChannel> out(6 * 5);
    ASSERT_EQ(S_OK, CStackTransformHelper().ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {6, 5}, {1, 6},
                                                        out.data(), {0, 0}, {6, 5}, {1, 6}));
    for (size_t i = 0; i < out.size(); ++i) {
        EXPECT_NEAR(src[i].bB, out[i].bB, 1);
        EXPECT_NEAR(src[i].bR, out[i].bR, 1);
        EXPECT_EQ(255, out[i].bA);
    }
}

TEST(TransformTile, SingularMatrixStaysInsideTheBuffers) {
    const auto src = Pattern(4);
    const TMatrix3x3f zero = {{0, 0, 0, 0, 0, 0, 0, 0, 0}};
    const TPixelChannel fill = Px(3, 3, 3, 3);
    std::vector<TPixelChannel> out(9);
    EXPECT_EQ(S_OK, CStackTransformHelper().ProcessTile(1, 1.0f, &fill, &zero, src.data(), {0, 0}, {2, 2}, {1, 2},
                                                        out.data(), {0, 0}, {3, 3}, {1, 3}));
}

// ---------------------------------------------------------------- rotation plan

TEST(RotationPlan, RightAngleAlwaysSwapsTheCanvasWithWholeTranslations) {
    const SRotatePlan p = PlanRotation(90.0f, 2, {3, 2}, {0, 0}, {3, 2});
    ASSERT_TRUE(p.newCanvas);
    EXPECT_EQ(2u, p.canvas.nX);
    EXPECT_EQ(3u, p.canvas.nY);
    EXPECT_EQ(0.0f, p.matrix.m[0]);
    EXPECT_EQ(1.0f, p.matrix.m[1]);
    EXPECT_EQ(-1.0f, p.matrix.m[3]);
    EXPECT_EQ(2.0f, p.matrix.m[6]);
    EXPECT_EQ(0.0f, p.matrix.m[7]);
}

TEST(RotationPlan, MinusNinetyGoesThroughSineAndCosine) {
    const SRotatePlan p = PlanRotation(-90.0f, 0, {4, 4}, {0, 0}, {4, 4});
    EXPECT_NE(0.0f, p.matrix.m[0]);  // cos of a float pi/2 is not exactly 0
}

TEST(RotationPlan, IfNeededKeepsTheCanvasWhileThreeCornersStayInside) {
    const SRotatePlan small = PlanRotation(45.0f, 1, {100, 100}, {40, 40}, {20, 20});
    EXPECT_FALSE(small.newCanvas);
    const SRotatePlan full = PlanRotation(45.0f, 1, {100, 100}, {0, 0}, {100, 100});
    EXPECT_TRUE(full.newCanvas);
}

TEST(RotationPlan, IfNeededIgnoresAnOverhangButNotANegativeOrigin) {
    EXPECT_FALSE(PlanRotation(30.0f, 1, {100, 100}, {0, 0}, {200, 50}).newCanvas);
    EXPECT_TRUE(PlanRotation(30.0f, 1, {100, 100}, {-1, 10}, {20, 20}).newCanvas);
}

TEST(RotationPlan, OnePixelCanvasAtFortyFiveDegreesStaysOnePixel) {
    const SRotatePlan p = PlanRotation(45.0f, 2, {1, 1}, {0, 0}, {1, 1});
    EXPECT_EQ(1u, p.canvas.nX);
    EXPECT_EQ(1u, p.canvas.nY);
}

// ---------------------------------------------------------------- perspective matrices

TEST(PerspectiveMatrix, DefaultPointsMapTheCornersToATrapezoid) {
    const float points[8] = {0.1f, 0.0f, 0.9f, 0.3f, 0.9f, 0.7f, 0.1f, 1.0f};
    TMatrix3x3f m;
    ASSERT_TRUE(PerspectiveMatrix(points, 100, 100, &m));
    const float corners[4][2] = {{0, 0}, {100, 0}, {100, 100}, {0, 100}};
    for (int i = 0; i < 4; ++i) {
        const float x = corners[i][0], y = corners[i][1];
        const float w = x * m.m[2] + y * m.m[5] + m.m[8];
        EXPECT_NEAR(points[2 * i] * 100, (x * m.m[0] + y * m.m[3] + m.m[6]) / w, 1e-3);
        EXPECT_NEAR(points[2 * i + 1] * 100, (x * m.m[1] + y * m.m[4] + m.m[7]) / w, 1e-3);
    }
}

TEST(PerspectiveMatrix, CollapsedPointsAreRefused) {
    const float line[8] = {0, 0, 0.5f, 0.5f, 1, 1, 0.25f, 0.25f};
    TMatrix3x3f m;
    EXPECT_FALSE(PerspectiveMatrix(line, 10, 10, &m));
}

TEST(PerspectiveMatrix, MirrorAndFlipPointsGiveCleanMatrices) {
    TMatrix3x3f m;
    const float mirror[8] = {1, 0, 0, 0, 0, 1, 1, 1};
    ASSERT_TRUE(PerspectiveMatrix(mirror, 7, 5, &m));
    const float expectedMirror[9] = {-1, 0, 0, 0, 1, 0, 7, 0, 1};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(expectedMirror[i], m.m[i]);
    const float flip[8] = {0, 1, 1, 1, 1, 0, 0, 0};
    ASSERT_TRUE(PerspectiveMatrix(flip, 7, 5, &m));
    const float expectedFlip[9] = {1, 0, 0, 0, -1, 0, 0, 5, 1};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(expectedFlip[i], m.m[i]);
}

TEST(PerspectiveMatrix, ConcavePointsAreNotRejected) {
    const float concave[8] = {0, 0, 1, 0, 0.3f, 0.3f, 0, 1};
    TMatrix3x3f m;
    EXPECT_TRUE(PerspectiveMatrix(concave, 10, 10, &m));
}

TEST(MapRect, SingularMatrixGivesWhateverTheConversionGivesWithoutFailing) {
    const float zero[9] = {};
    TRasterImageRect r = {{0, 0}, {10, 10}};
    MapRect(zero, &r);  // w is 0: no corner gives a number, so the rectangle comes out empty
    EXPECT_EQ(INT32_MAX, r.tTL.nX);
    EXPECT_EQ(INT32_MIN, r.tBR.nY);
}

TEST(SquareToQuad, ParallelogramTakesTheAffineBranch) {
    const double q[8] = {1, 1, 4, 2, 5, 6, 2, 5};
    double m[9];
    SquareToQuad(q, m);
    EXPECT_EQ(0.0, m[2]);
    EXPECT_EQ(0.0, m[5]);
    EXPECT_EQ(3.0, m[0]);
    EXPECT_EQ(1.0, m[1]);
    EXPECT_EQ(1.0, m[3]);
    EXPECT_EQ(4.0, m[4]);
    EXPECT_EQ(1.0, m[6]);
}

TEST(AffineMatrix, HalfTurnAboutTheCentre) {
    const float scale[2] = {1, 1}, move[2] = {0, 0};
    const TMatrix3x3f m = AffineMatrix(3.141592f, scale, move, 10, 6);
    // The corner (0, 0) goes to about (10, 6).
    EXPECT_NEAR(10.0f, m.m[6], 1e-4);
    EXPECT_NEAR(6.0f, m.m[7], 1e-4);
    EXPECT_NEAR(-1.0f, m.m[0], 1e-6);
    EXPECT_NE(0.0f, m.m[1]);  // the sine of 3.141592 is not 0: no fast path is reached
}

TEST(MapRect, FloorsMinimaAndCeilsMaxima) {
    const float m[9] = {0.5f, 0, 0, 0, 0.5f, 0, 0.25f, 0, 1};
    TRasterImageRect r = {{1, 1}, {4, 3}};
    MapRect(m, &r);
    EXPECT_EQ(0, r.tTL.nX);  // 0.75
    EXPECT_EQ(0, r.tTL.nY);  // 0.5
    EXPECT_EQ(3, r.tBR.nX);  // 2.25
    EXPECT_EQ(2, r.tBR.nY);  // 1.5
}

// ---------------------------------------------------------------- wrappers

TEST(PerspectiveWrapper, DragBelowOneHundredthReturnsTheSameWrapper) {
    const float points[8] = {0, 0, 10, 0, 10, 10, 0, 10};
    auto w = Own(CComObject<CTransformationWrapper>::Create<ICanvasInteractingWrapper>(10u, 10u, 0u, points));
    const float near[2] = {10.005f, 0.005f};
    ICanvasInteractingWrapper* out = nullptr;
    uint32_t index = 0;
    EXPECT_EQ(S_FALSE, w->SetControlPoint(1, near, false, 1.0f, &out, &index));
    EXPECT_EQ(w.get(), out);
    Own(out);
    const float far[2] = {10.02f, 0.0f};
    EXPECT_EQ(S_OK, w->SetControlPoint(1, far, false, 1.0f, &out, &index));
    auto moved = Own(out);
    ASSERT_NE(w.get(), moved.get());
    float x, y;
    Point(moved, 1, &x, &y);
    EXPECT_FLOAT_EQ(10.02f, x);
    Point(w, 1, &x, &y);
    EXPECT_FLOAT_EQ(10.0f, x);  // the old wrapper stays as it was
}

TEST(PerspectiveWrapper, IndexAndOutPointerChecks) {
    const float points[8] = {};
    auto w = Own(CComObject<CTransformationWrapper>::Create<ICanvasInteractingWrapper>(10u, 10u, 0u, points));
    float p[2] = {};
    uint32_t cls = 0;
    EXPECT_EQ(4u, w->GetControlPointCount());
    EXPECT_EQ(E_HOST_INDEX_OUT_OF_RANGE, w->GetControlPoint(4, p, &cls));
    EXPECT_EQ(E_HOST_INDEX_OUT_OF_RANGE, w->SetControlPoint(4, p, false, 1, nullptr, nullptr));
    EXPECT_EQ(E_POINTER, w->SetControlPoint(0, p, false, 1, nullptr, nullptr));
    EXPECT_EQ(E_NOTIMPL, w->GetControlPointDesc(0, nullptr));
    EXPECT_EQ(S_OK, w->GetControlPoint(0, p, &cls));
    EXPECT_EQ(1u, cls);
}

TEST(AffineWrapper, PointsOfAnUnturnedRectangle) {
    const float scale[2] = {1, 1}, move[2] = {0, 0};
    auto w =
        Own(CComObject<CTransformationWrapperAffine>::Create<ICanvasInteractingWrapper>(100u, 50u, scale, 0.0f, move));
    EXPECT_EQ(10u, w->GetControlPointCount());
    float x, y;
    uint32_t cls;
    const float expected[10][3] = {{0, 0, 0},   {50, 0, 1}, {100, 0, 0}, {100, 25, 1}, {100, 50, 0},
                                   {50, 50, 1}, {0, 50, 0}, {0, 25, 1},  {85, 25, 2},  {50, 25, 0}};
    for (uint32_t i = 0; i < 10; ++i) {
        Point(w, i, &x, &y, &cls);
        EXPECT_NEAR(expected[i][0], x, 1e-4) << i;
        EXPECT_NEAR(expected[i][1], y, 1e-4) << i;
        EXPECT_EQ(uint32_t(expected[i][2]), cls) << i;
    }
    float p[2];
    EXPECT_EQ(E_HOST_INDEX_OUT_OF_RANGE, w->GetControlPoint(10, p, &cls));
}

TEST(AffineWrapper, CornerDragKeepsTheOppositeCorner) {
    const float scale[2] = {1, 1}, move[2] = {0, 0};
    auto w =
        Own(CComObject<CTransformationWrapperAffine>::Create<ICanvasInteractingWrapper>(100u, 50u, scale, 0.0f, move));
    const float pos[2] = {120, 70};
    ICanvasInteractingWrapper* out = nullptr;
    ASSERT_EQ(S_OK, w->SetControlPoint(4, pos, false, 1, &out, nullptr));
    auto moved = Own(out);
    float x, y;
    Point(moved, 0, &x, &y);
    EXPECT_NEAR(0, x, 1e-4);
    EXPECT_NEAR(0, y, 1e-4);
    Point(moved, 4, &x, &y);
    EXPECT_NEAR(120, x, 1e-4);
    EXPECT_NEAR(70, y, 1e-4);
    Point(moved, 9, &x, &y);  // centre: translation (10, 10)
    EXPECT_NEAR(60, x, 1e-4);
    EXPECT_NEAR(35, y, 1e-4);
}

TEST(AffineWrapper, EdgeHandlesDivideByTheHeightOnBothAxes) {
    const float scale[2] = {1, 1}, move[2] = {0, 0};
    auto w =
        Own(CComObject<CTransformationWrapperAffine>::Create<ICanvasInteractingWrapper>(100u, 50u, scale, 0.0f, move));
    ICanvasInteractingWrapper* out = nullptr;
    const float top[2] = {50, -10};
    ASSERT_EQ(S_OK, w->SetControlPoint(1, top, false, 1, &out, nullptr));
    auto tall = Own(out);
    float x, y;
    Point(tall, 9, &x, &y);  // scale Y 60 / 50, translation (0, -5)
    EXPECT_NEAR(50, x, 1e-4);
    EXPECT_NEAR(20, y, 1e-4);
    Point(tall, 0, &x, &y);
    EXPECT_NEAR(-10, y, 1e-4);

    const float right[2] = {130, 25};
    ASSERT_EQ(S_OK, w->SetControlPoint(3, right, false, 1, &out, nullptr));
    auto wide = Own(out);
    Point(wide, 9, &x, &y);  // translation (15, 0)
    EXPECT_NEAR(65, x, 1e-4);
    Point(wide, 2, &x, &y);  // scale X = 130 / 50 = 2.6: half width 130
    EXPECT_NEAR(65 + 130, x, 1e-3);
}

TEST(AffineWrapper, RotationHandleWithoutATurnReturnsTheSameWrapper) {
    const float scale[2] = {1, 1}, move[2] = {0, 0};
    auto w =
        Own(CComObject<CTransformationWrapperAffine>::Create<ICanvasInteractingWrapper>(100u, 50u, scale, 0.0f, move));
    ICanvasInteractingWrapper* out = nullptr;
    const float same[2] = {95, 25};
    EXPECT_EQ(S_FALSE, w->SetControlPoint(8, same, false, 1, &out, nullptr));
    EXPECT_EQ(w.get(), out);
    Own(out);
    const float below[2] = {50, 75};
    EXPECT_EQ(S_OK, w->SetControlPoint(8, below, false, 1, &out, nullptr));
    auto turned = Own(out);
    float x, y;
    Point(turned, 8, &x, &y);  // a quarter turn: the handle points down
    EXPECT_NEAR(50, x, 1e-3);
    EXPECT_NEAR(60, y, 1e-3);
}

TEST(BilinearTransformHelper, ClassTableMakesTheTransformProducer) {
    const CLSID id = MakeGuid("7d22d397-d956-491e-9b55-652021dd6bac");
    ComPtr<IClassFactory> factory;
    ASSERT_EQ(S_OK, DllGetClassObject(id, IClassFactory::iid, factory.out()));
    ComPtr<IRasterImageTransformer> helper;
    ASSERT_EQ(S_OK, factory->CreateInstance(nullptr, IRasterImageTransformer::iid, helper.out()));
    const auto src = Pattern(2);
    const TMatrix3x3f mirror = {{-1, 0, 0, 0, 1, 0, 2, 0, 1}};
    const TPixelChannel fill{};
    std::vector<TPixelChannel> out(2);
    ASSERT_EQ(S_OK, helper->ProcessTile(1, 2.2f, &fill, &mirror, src.data(), {0, 0}, {2, 1}, {1, 2}, out.data(), {0, 0},
                                        {2, 1}, {1, 2}));
    EXPECT_EQ(src[1].n, out[0].n);
    EXPECT_EQ(src[0].n, out[1].n);
}

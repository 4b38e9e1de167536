// The six geometry operations as the host runs them on raster and layered documents.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/object.h"
#include "host/layered_document.h"
#include "host/masks.h"
#include "host/text.h"
#include "host/zthost.h"
#include "operations/geometry/canvas_size.h"
#include "operations/geometry/perspective.h"
#include "operations/geometry/polar_transformation.h"
#include "operations/geometry/remove_border.h"
#include "operations/geometry/resample.h"
#include "operations/geometry/rotate.h"

using namespace zt;

namespace {

template <class T>
ComPtr<IDocumentOperation> Op() {
    ComPtr<IClassFactory> factory;
    DllGetClassObject(T::classId, IClassFactory::iid, factory.out());
    ComPtr<IDocumentOperation> op;
    if (factory) factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out());
    return op;
}

ComPtr<IConfig> Config(IDocumentOperation* aOp, const std::vector<std::pair<std::string, std::string>>& aValues) {
    ComPtr<IConfig> config;
    EXPECT_EQ(S_OK, aOp->ConfigCreate(zthost::OperationManager(), config.out()));
    for (const auto& [key, value] : aValues) {
        std::string error;
        EXPECT_EQ(S_OK, zthost::ConfigSetFromString(config, key, value, &error)) << key << ": " << error;
    }
    return config;
}

std::string NameOf(IDocumentOperation* aOp, IConfig* aConfig) {
    ComPtr<IConfigDescriptor> d = ComPtr<IConfigDescriptor>::query(aOp);
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(S_OK, d->Name(zthost::OperationManager(), aConfig, name.out()));
    return zthost::TextOf(name, LANG_ENGLISH);
}

TPixelChannel Px(uint8_t aB, uint8_t aG, uint8_t aR, uint8_t aA) {
    TPixelChannel p;
    p.bB = aB;
    p.bG = aG;
    p.bR = aR;
    p.bA = aA;
    return p;
}

std::vector<TPixelChannel> Pattern(size_t aCount, bool aOpaque = false) {
    std::vector<TPixelChannel> p(aCount);
    uint32_t x = 99;
    for (auto& px : p) {
        x = x * 1664525u + 1013904223u;
        px.n = x;
        if (aOpaque) px.bA = 255;
    }
    return p;
}

ComPtr<IDocument> Document(TImageSize aCanvas, TImagePoint aOrigin, TImageSize aSize,
                           const std::vector<TPixelChannel>& aPixels, uint32_t aDefault = 0) {
    zthost::RasterImageInit init;
    init.canvas = aCanvas;
    init.contentOrigin = aOrigin;
    init.contentSize = aSize;
    init.pixels = aPixels.empty() ? nullptr : aPixels.data();
    init.defaultPixel.n = aDefault;
    return zthost::CreateRasterDocument(init);
}

zthost::RasterImageState State(IDocument* aDocument) {
    zthost::RasterImageState s;
    EXPECT_TRUE(zthost::InspectRasterDocument(aDocument, &s));
    return s;
}

HRESULT Activate(IDocumentOperation* aOp, IDocument* aDocument, IConfig* aConfig) {
    return aOp->Activate(zthost::OperationManager(), aDocument, aConfig, zthost::CreateOperationContext(), nullptr,
                         LANG_ENGLISH);
}

}  // namespace

// ---------------------------------------------------------------- Resample

TEST(ResampleOperation, NamesJoinTheModeAndTheValue) {
    auto op = Op<CDocumentOperationRasterImageResample>();
    EXPECT_EQ("Rescale image", NameOf(op, nullptr));
    EXPECT_EQ("Relative size - 50%", NameOf(op, Config(op, {})));
    EXPECT_EQ("Width - 256px", NameOf(op, Config(op, {{"Mode", "2"}})));
    EXPECT_EQ("Both sides - 640x480px", NameOf(op, Config(op, {{"Mode", "10"}, {"SizeX", "640"}, {"SizeY", "480"}})));
}

TEST(ResampleOperation, HalfSizeLinearScalesContentAndCanvas) {
    auto op = Op<CDocumentOperationRasterImageResample>();
    const std::vector<TPixelChannel> src(16, Px(10, 20, 30, 255));
    auto doc = Document({4, 4}, {0, 0}, {4, 4}, src);
    ASSERT_EQ(S_OK, Activate(op, doc, Config(op, {})));
    const auto s = State(doc);
    EXPECT_EQ(2u, s.canvas.nX);
    EXPECT_EQ(2u, s.canvas.nY);
    for (const auto& p : s.content) EXPECT_EQ(Px(10, 20, 30, 255).n, p.n);
}

TEST(ResampleOperation, SameSizeNewResolutionLeavesPixelsAlone) {
    auto op = Op<CDocumentOperationRasterImageResample>();
    const auto src = Pattern(6);
    auto doc = Document({3, 2}, {0, 0}, {3, 2}, src);
    ASSERT_EQ(S_OK,
              Activate(op, doc, Config(op, {{"SizeRel", "100"}, {"ResolutionMode", "2"}, {"Resolution", "300"}})));
    const auto s = State(doc);
    EXPECT_EQ(300u, s.resolution.nNumeratorX);
    EXPECT_EQ(254u, s.resolution.nDenominatorY);
    ASSERT_EQ(6u, s.content.size());
    for (int i = 0; i < 6; ++i) EXPECT_EQ(src[i].n, s.content[i].n);
}

TEST(ResampleOperation, CropCanvasWithNearestKeepsTheTopLeftCorner) {
    auto op = Op<CDocumentOperationRasterImageResample>();
    const auto src = Pattern(8 * 2);
    const std::vector<std::pair<std::string, std::string>> crop = {{"Mode", "13"}, {"SizeX", "2"}, {"SizeY", "2"}};
    auto nearest = Document({8, 2}, {0, 0}, {8, 2}, src);
    auto settings = crop;
    settings.push_back({"Method", "0"});
    ASSERT_EQ(S_OK, Activate(op, nearest, Config(op, settings)));
    auto s = State(nearest);
    ASSERT_EQ(2u, s.canvas.nX);
    EXPECT_EQ(src[0].n, s.content[0].n);
    EXPECT_EQ(src[1].n, s.content[1].n);
    EXPECT_EQ(src[8].n, s.content[2].n);
    // The coverage helper places the image at trunc(-3 + 0.5) = -2: centred, truncated toward zero.
    auto linear = Document({8, 2}, {0, 0}, {8, 2}, src);
    settings.back().second = "1";
    ASSERT_EQ(S_OK, Activate(op, linear, Config(op, settings)));
    s = State(linear);
    EXPECT_EQ(src[2].n, s.content[0].n);
    EXPECT_EQ(src[3].n, s.content[1].n);
}

TEST(ResampleOperation, RecomputeFollowsTheWidthOnBothAxes) {
    auto op = Op<CDocumentOperationRasterImageResample>();
    zthost::RasterImageInit init;
    init.canvas = {100, 100};
    init.resolution = {300, 254, 150, 254};
    auto doc = zthost::CreateRasterDocument(init);
    ASSERT_EQ(S_OK, Activate(op, doc,
                             Config(op, {{"Mode", "10"}, {"SizeX", "50"}, {"SizeY", "200"}, {"ResolutionMode", "0"}})));
    const auto s = State(doc);
    EXPECT_EQ(150u, s.resolution.nNumeratorX);
    EXPECT_EQ(150u, s.resolution.nNumeratorY);
}

TEST(ResampleOperation, LayeredImageResamplesEveryLayerFromItsOwnCanvas) {
    auto op = Op<CDocumentOperationRasterImageResample>();
    auto a = Document({8, 4}, {0, 0}, {8, 4}, Pattern(32, true));
    auto b = Document({2, 6}, {0, 0}, {2, 6}, Pattern(12, true));
    auto layered = zthost::CreateLayeredDocument({a, b});
    EXPECT_EQ(S_OK, op->CanActivate(zthost::OperationManager(), layered, nullptr, nullptr));
    ASSERT_EQ(S_OK, Activate(op, layered, Config(op, {})));
    EXPECT_EQ(4u, State(a).canvas.nX);
    EXPECT_EQ(2u, State(a).canvas.nY);
    EXPECT_EQ(1u, State(b).canvas.nX);
    EXPECT_EQ(3u, State(b).canvas.nY);
}

TEST(ResampleOperation, CannotActivateWithoutAnImage) {
    auto op = Op<CDocumentOperationRasterImageResample>();
    EXPECT_EQ(S_FALSE, op->CanActivate(zthost::OperationManager(), nullptr, nullptr, nullptr));
}

// ---------------------------------------------------------------- Rotate

TEST(RotateOperation, Names) {
    auto op = Op<CDocumentOperationRasterImageRotate>();
    EXPECT_EQ("Rotate", NameOf(op, nullptr));
    EXPECT_EQ("Rotate right", NameOf(op, Config(op, {{"Angle", "90"}})));
    EXPECT_EQ("Rotate left", NameOf(op, Config(op, {{"Angle", "270"}})));
    EXPECT_EQ("Rotate by 46°", NameOf(op, Config(op, {{"Angle", "45.6"}})));
}

TEST(RotateOperation, ZeroAngleChangesNothing) {
    auto op = Op<CDocumentOperationRasterImageRotate>();
    const auto src = Pattern(6);
    auto doc = Document({3, 2}, {0, 0}, {3, 2}, src);
    EXPECT_EQ(S_FALSE, Activate(op, doc, Config(op, {{"Angle", "0"}})));
    const auto s = State(doc);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(src[i].n, s.content[i].n);
}

TEST(RotateOperation, QuarterTurnAlwaysSwapsTheCanvasExactly) {
    auto op = Op<CDocumentOperationRasterImageRotate>();
    const auto src = Pattern(3 * 2);
    auto doc = Document({3, 2}, {0, 0}, {3, 2}, src);
    ASSERT_EQ(S_OK, Activate(op, doc, Config(op, {{"Angle", "90"}, {"Extend", "2"}})));
    const auto s = State(doc);
    ASSERT_EQ(2u, s.canvas.nX);
    ASSERT_EQ(3u, s.canvas.nY);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 2; ++x) EXPECT_EQ(src[(1 - x) * 3 + y].n, s.content[y * 2 + x].n);
}

TEST(RotateOperation, FullTurnTakesTheGeneralPath) {
    auto op = Op<CDocumentOperationRasterImageRotate>();
    const std::vector<TPixelChannel> src(36, Px(50, 60, 70, 255));
    auto doc = Document({6, 6}, {0, 0}, {6, 6}, src);
    ASSERT_EQ(S_OK, Activate(op, doc, Config(op, {{"Angle", "360"}, {"Extend", "0"}})));
    const auto s = State(doc);
    // Inside, a uniform image stays uniform up to the weight rounding.
    const TPixelChannel p = s.content[2 * 6 + 2];
    EXPECT_NEAR(50, p.bB, 1);
    EXPECT_NEAR(70, p.bR, 1);
    EXPECT_EQ(255, p.bA);
}

// ---------------------------------------------------------------- Perspective

TEST(PerspectiveOperation, NamesGoByThePointsOnly) {
    auto op = Op<CDocumentOperationRasterImagePerspective>();
    EXPECT_EQ("Transformation", NameOf(op, nullptr));
    EXPECT_EQ("Transformation", NameOf(op, Config(op, {})));
    EXPECT_EQ("Mirror", NameOf(op, Config(op, {{"Pt1X", "1"},
                                               {"Pt1Y", "0"},
                                               {"Pt2X", "0"},
                                               {"Pt2Y", "0"},
                                               {"Pt3X", "0"},
                                               {"Pt3Y", "1"},
                                               {"Pt4X", "1"},
                                               {"Pt4Y", "1"}})));
    EXPECT_EQ("Flip", NameOf(op, Config(op, {{"Pt1X", "0"},
                                             {"Pt1Y", "1"},
                                             {"Pt2X", "1"},
                                             {"Pt2Y", "1"},
                                             {"Pt3X", "1"},
                                             {"Pt3Y", "0"},
                                             {"Pt4X", "0"},
                                             {"Pt4Y", "0"}})));
}

TEST(PerspectiveOperation, MirrorPointsMirrorTheImageExactly) {
    auto op = Op<CDocumentOperationRasterImagePerspective>();
    const auto src = Pattern(3 * 2);
    auto doc = Document({3, 2}, {0, 0}, {3, 2}, src);
    ASSERT_EQ(S_OK, Activate(op, doc,
                             Config(op, {{"Mode", "0"},
                                         {"Pt1X", "1"},
                                         {"Pt1Y", "0"},
                                         {"Pt2X", "0"},
                                         {"Pt2Y", "0"},
                                         {"Pt3X", "0"},
                                         {"Pt3Y", "1"},
                                         {"Pt4X", "1"},
                                         {"Pt4Y", "1"}})));
    const auto s = State(doc);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(src[y * 3 + 2 - x].n, s.content[y * 3 + x].n);
}

TEST(PerspectiveOperation, CollapsedPointsFailAndChangeNothing) {
    auto op = Op<CDocumentOperationRasterImagePerspective>();
    const auto src = Pattern(4);
    auto doc = Document({2, 2}, {0, 0}, {2, 2}, src);
    EXPECT_EQ(E_FAIL, Activate(op, doc,
                               Config(op, {{"Mode", "0"},
                                           {"Pt1X", "0"},
                                           {"Pt1Y", "0"},
                                           {"Pt2X", "0.5"},
                                           {"Pt2Y", "0.5"},
                                           {"Pt3X", "1"},
                                           {"Pt3Y", "1"},
                                           {"Pt4X", "0.25"},
                                           {"Pt4Y", "0.25"}})));
    const auto s = State(doc);
    for (int i = 0; i < 4; ++i) EXPECT_EQ(src[i].n, s.content[i].n);
}

TEST(PerspectiveOperation, FilterAnswersMapRectanglesThroughTheMatrix) {
    auto op = Op<CDocumentOperationRasterImagePerspective>();
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(op.get());
    auto config = Config(op, {{"Mode", "1"}, {"Translation", "3,4,0"}});
    const TImageSize canvas{10, 10};
    TRasterImageRect r = {{0, 0}, {10, 10}};
    ASSERT_EQ(S_OK, filter->AdjustDirtyRect(config, &canvas, &r));
    EXPECT_EQ(3, r.tTL.nX);
    EXPECT_EQ(14, r.tBR.nY);
    r = {{0, 0}, {10, 10}};
    ASSERT_EQ(S_OK, filter->NeededToCompute(config, &canvas, &r));
    EXPECT_EQ(-3, r.tTL.nX);
    EXPECT_EQ(6, r.tBR.nY);
    EXPECT_EQ(E_NOTIMPL, filter->AdjustDirtyRect(config, nullptr, &r));
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, &canvas, nullptr));
    EXPECT_EQ(E_NOTIMPL, filter->Transform(config, &canvas, nullptr));
    TMatrix3x3f m;
    ASSERT_EQ(S_OK, filter->GetTransform(config, &canvas, &m));
    EXPECT_EQ(3.0f, m.m[6]);
}

TEST(PerspectiveOperation, CopyTransformedLeavesTheSourceAndTransformsTheCopy) {
    auto op = Op<CDocumentOperationRasterImagePerspective>();
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(op.get());
    const auto src = Pattern(3 * 2);
    auto doc = Document({3, 2}, {0, 0}, {3, 2}, src);
    ComPtr<IDocumentBase> base = zthost::CreateDocumentBase();
    ASSERT_TRUE(base);
    auto flip = Config(op, {{"Mode", "0"},
                            {"Pt1X", "0"},
                            {"Pt1Y", "1"},
                            {"Pt2X", "1"},
                            {"Pt2Y", "1"},
                            {"Pt3X", "1"},
                            {"Pt3Y", "0"},
                            {"Pt4X", "0"},
                            {"Pt4Y", "0"}});
    ASSERT_EQ(S_OK, filter->CopyTransformed(doc, flip, base, u"copy"));
    ComPtr<IDocument> copy;
    ASSERT_EQ(S_OK, base->DocumentGet(u"copy", copy.out()));
    const auto original = State(doc), flipped = State(copy);
    for (int i = 0; i < 6; ++i) EXPECT_EQ(src[i].n, original.content[i].n);
    for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x) EXPECT_EQ(src[(1 - y) * 3 + x].n, flipped.content[y * 3 + x].n);
    EXPECT_EQ(E_FAIL, filter->CopyTransformed(nullptr, flip, base, u"none"));
}

TEST(PerspectiveOperation, CreateWrapperByModeAndToConfigRoundTrip) {
    auto op = Op<CDocumentOperationRasterImagePerspective>();
    ComPtr<ICanvasInteractingOperation> canvas = ComPtr<ICanvasInteractingOperation>::query(op.get());
    auto config = Config(op, {{"Mode", "0"}});
    EXPECT_EQ(E_POINTER, canvas->CreateWrapper(config, 10, 10, nullptr));
    ComPtr<ICanvasInteractingWrapper> w;
    ASSERT_EQ(S_OK, canvas->CreateWrapper(config, 200, 100, w.out()));
    ASSERT_TRUE(w);
    EXPECT_EQ(4u, w->GetControlPointCount());
    float p[2];
    uint32_t cls;
    ASSERT_EQ(S_OK, w->GetControlPoint(1, p, &cls));
    EXPECT_FLOAT_EQ(180.0f, p[0]);  // 0.9 * 200
    EXPECT_FLOAT_EQ(30.0f, p[1]);   // 0.3 * 100
    auto other = Config(op, {});
    ASSERT_EQ(S_OK, w->ToConfig(other));
    EXPECT_EQ("Transformation", NameOf(op, other));
    ComPtr<ICanvasInteractingWrapper> affine;
    ASSERT_EQ(S_OK, canvas->CreateWrapper(Config(op, {{"Mode", "1"}}), 10, 10, affine.out()));
    EXPECT_EQ(10u, affine->GetControlPointCount());
}

// ---------------------------------------------------------------- Polar

TEST(PolarOperation, NarrowCanvasIsLeftAlone) {
    auto op = Op<CRasterImagePolarTransformation>();
    auto doc = Document({1, 5}, {0, 0}, {1, 5}, Pattern(5));
    EXPECT_EQ(S_FALSE, Activate(op, doc, Config(op, {})));
    auto wide = Document({5, 1}, {0, 0}, {5, 1}, Pattern(5));
    EXPECT_EQ(S_FALSE, Activate(op, wide, Config(op, {})));
}

TEST(PolarOperation, Names) {
    auto op = Op<CRasterImagePolarTransformation>();
    EXPECT_EQ("Polar transformation", NameOf(op, nullptr));
    EXPECT_EQ("Cartesian to polar", NameOf(op, Config(op, {})));
    EXPECT_EQ("Polar to cartesian", NameOf(op, Config(op, {{"Direction", "0"}})));
}

TEST(PolarTransform, TwoByTwoCanvasRunsWithClampedSampling) {
    const auto src = Pattern(4, true);
    for (int direction : {0, 1}) {
        std::vector<TPixelChannel> out(4);
        PolarTransform(src.data(), 2, 2, direction, out.data());
        for (const auto& p : out) EXPECT_EQ(255, p.bA);
    }
}

TEST(PolarTransform, AlphaOfOneUnitPassesOnlyTowardCartesian) {
    // The four weights always add up to 65025, so a uniform alpha of 1 gives A = 65025.
    const std::vector<TPixelChannel> src(12 * 8, Px(10, 20, 30, 1));
    std::vector<TPixelChannel> out(12 * 8);
    PolarTransform(src.data(), 12, 8, 1, out.data());
    for (const auto& p : out) EXPECT_EQ(0u, p.n);
    PolarTransform(src.data(), 12, 8, 0, out.data());
    for (const auto& p : out) EXPECT_EQ(Px(10, 20, 30, 1).n, p.n);
}

TEST(PolarTransform, TransparentNeighbourhoodGivesZeroAndOpaqueColourSurvives) {
    std::vector<TPixelChannel> src(9 * 9, Px(200, 100, 50, 0));
    src[4] = Px(1, 2, 3, 255);  // the centre of the polar image samples the middle of the top row
    std::vector<TPixelChannel> out(9 * 9);
    PolarTransform(src.data(), 9, 9, 1, out.data());
    size_t coloured = 0;
    for (const auto& p : out) {
        if (p.n == 0) continue;
        ++coloured;
        EXPECT_EQ(1, p.bB);
        EXPECT_EQ(2, p.bG);
        EXPECT_EQ(3, p.bR);
        EXPECT_LE(p.bA, 255);
    }
    EXPECT_GT(coloured, 0u);
    EXPECT_LT(coloured, out.size());
}

TEST(PolarTransform, TallCanvasTowardCartesianStaysInside) {
    const auto src = Pattern(5 * 17, true);
    std::vector<TPixelChannel> out(5 * 17);
    PolarTransform(src.data(), 5, 17, 0, out.data());
    // Rows above the source read the top row (the sanitizer build checks the reads); every
    // sample of an opaque image is opaque.
    for (const auto& p : out) EXPECT_EQ(255, p.bA);
}

TEST(PolarTransform, NegativeColumnWrapsToTheRightEdge) {
    // Direction 0 on a tall canvas: the first column of row 6 samples just left of column 0
    // (and above the top row, which is kept inside).
    float sx, sy;
    PolarSamplePosition(4, 16, 0, 0, 6, &sx, &sy);
    ASSERT_LT(sx, 0.0f);
    ASSERT_GT(sx, -1.0f);
    std::vector<TPixelChannel> src(4 * 16, Px(0, 0, 0, 0));
    for (int y = 0; y < 16; ++y) src[y * 4 + 3] = Px(9, 9, 9, 255);  // only the right edge is opaque
    std::vector<TPixelChannel> out(4 * 16);
    PolarTransform(src.data(), 4, 16, 0, out.data());
    EXPECT_NE(0, out[6 * 4 + 0].bA);
    EXPECT_EQ(9, out[6 * 4 + 0].bB);
}

// ---------------------------------------------------------------- Canvas size

TEST(CanvasResize, AlignmentPlacesTheImage) {
    const float topLeft[2] = {-1, -1}, bottomRight[2] = {1, 1}, centre[2] = {0, 0};
    EXPECT_EQ(0.0f, CanvasResize(10, 10, false, 4, 4, topLeft).tx);
    EXPECT_EQ(4.0f, CanvasResize(10, 10, false, 4, 4, bottomRight).ty);
    EXPECT_EQ(1.0f, CanvasResize(10, 10, false, 3, 3, centre).tx);     // 1.5 truncated
    EXPECT_EQ(-1.0f, CanvasResize(10, 10, false, -3, -3, centre).tx);  // toward zero
    EXPECT_TRUE(CanvasResize(10, 10, false, 0, 0, centre).nothing);
    EXPECT_TRUE(CanvasResize(10, 10, true, 10, 10, bottomRight).nothing);
    const SCanvasResize tiny = CanvasResize(10, 10, false, -1000, -20, centre);
    EXPECT_EQ(1u, tiny.width);
    EXPECT_EQ(1u, tiny.height);
}

TEST(CanvasSizeOperation, RelativeZeroDoesNothing) {
    auto op = Op<CDocumentOperationRasterImageCanvasSize>();
    auto doc = Document({4, 4}, {0, 0}, {4, 4}, Pattern(16));
    EXPECT_EQ(S_FALSE, Activate(op, doc, Config(op, {})));
}

TEST(CanvasSizeOperation, GrowsTheCanvasAndMovesTheContent) {
    auto op = Op<CDocumentOperationRasterImageCanvasSize>();
    const auto src = Pattern(16);
    auto doc = Document({4, 4}, {0, 0}, {4, 4}, src);
    ASSERT_EQ(S_OK, Activate(op, doc, Config(op, {{"DeltaX", "3"}, {"DeltaY", "2"}})));
    const auto s = State(doc);
    EXPECT_EQ(7u, s.canvas.nX);
    EXPECT_EQ(6u, s.canvas.nY);
    EXPECT_EQ(1, s.contentOrigin.nX);
    EXPECT_EQ(1, s.contentOrigin.nY);
    EXPECT_EQ(src[0].n, s.content[0].n);
}

TEST(CanvasSizeOperation, NamesKeepFormatAndNumbers) {
    auto op = Op<CDocumentOperationRasterImageCanvasSize>();
    EXPECT_EQ("Set canvas size", NameOf(op, nullptr));
    EXPECT_EQ("Adjust size by 3, -2", NameOf(op, Config(op, {{"DeltaX", "3"}, {"DeltaY", "-2"}})));
    EXPECT_EQ("Set size to 800x600", NameOf(op, Config(op, {{"Type", "1"}})));
}

TEST(CanvasSizeOperation, TransformScalesTheSizesUnlessTheScaleIsOne) {
    auto op = Op<CDocumentOperationRasterImageCanvasSize>();
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(op.get());
    auto config = Config(op, {{"DeltaX", "3"}, {"DeltaY", "5"}});
    const TMatrix3x3f one = {{1, 0, 0, 0, 1, 0, 7, 7, 1}};
    EXPECT_EQ(S_FALSE, filter->Transform(config, nullptr, &one));
    const TMatrix3x3f twice = {{2, 0, 0, 0, 2, 0, 0, 0, 1}};
    ASSERT_EQ(S_OK, filter->Transform(config, nullptr, &twice));
    EXPECT_EQ("Adjust size by 6, 10", NameOf(op, config));
    EXPECT_EQ(E_HOST_INVALID_PARAM, filter->Transform(nullptr, nullptr, &twice));
}

TEST(CanvasSizeOperation, LayersShareTheLargestCanvas) {
    auto op = Op<CDocumentOperationRasterImageCanvasSize>();
    auto a = Document({10, 10}, {0, 0}, {10, 10}, Pattern(100));
    auto b = Document({6, 4}, {0, 0}, {6, 4}, Pattern(24));
    auto layered = zthost::CreateLayeredDocument({a, b});
    ASSERT_EQ(S_OK, Activate(op, layered, Config(op, {{"DeltaX", "2"}, {"DeltaY", "2"}})));
    EXPECT_EQ(12u, State(a).canvas.nX);
    EXPECT_EQ(12u, State(b).canvas.nX);  // maximum + delta, not its own + delta
    EXPECT_EQ(12u, State(b).canvas.nY);
    EXPECT_EQ(1, State(b).contentOrigin.nX);
}

// ---------------------------------------------------------------- Remove border

TEST(FitBorder, HalfSizeCentresTheContentOnATwiceLargerCanvas) {
    const SBorderFit f = FitBorder(3, 4, 10, 6, 50.0f, 0, 0, false);
    EXPECT_EQ(20u, f.width);
    EXPECT_EQ(12u, f.height);
    EXPECT_EQ(2, f.tx);   // offset 5 - 3
    EXPECT_EQ(-1, f.ty);  // offset 3 - 4
}

TEST(FitBorder, SquareTakesTheLargerSideAndAlignYChoosesTheRows) {
    EXPECT_EQ(0, FitBorder(0, 0, 100, 50, 100.0f, 0, -1, true).offsetY);
    const SBorderFit bottom = FitBorder(0, 0, 100, 50, 100.0f, 0, 1, true);
    EXPECT_EQ(100u, bottom.width);
    EXPECT_EQ(100u, bottom.height);
    EXPECT_EQ(50, bottom.offsetY);
}

TEST(RemoveBorderOperation, FullSizeMakesTheCanvasTheContent) {
    auto op = Op<CDocumentOperationRasterImageRemoveBorder>();
    auto doc = Document({20, 20}, {3, 4}, {5, 6}, Pattern(30));
    ASSERT_EQ(S_OK, Activate(op, doc, Config(op, {})));
    const auto s = State(doc);
    EXPECT_EQ(5u, s.canvas.nX);
    EXPECT_EQ(6u, s.canvas.nY);
    EXPECT_EQ(0, s.contentOrigin.nX);
    EXPECT_EQ(0, s.contentOrigin.nY);
}

TEST(RemoveBorderOperation, EmptyOrFittingContentChangesNothing) {
    auto op = Op<CDocumentOperationRasterImageRemoveBorder>();
    auto empty = Document({20, 20}, {0, 0}, {0, 0}, {});
    EXPECT_EQ(S_FALSE, Activate(op, empty, Config(op, {})));
    auto full = Document({4, 3}, {0, 0}, {4, 3}, Pattern(12));
    EXPECT_EQ(S_FALSE, Activate(op, full, Config(op, {})));
}

TEST(RemoveBorderOperation, ContentRightOfTheEdgeMovesLeftOnAnUnchangedCanvas) {
    auto op = Op<CDocumentOperationRasterImageRemoveBorder>();
    auto doc = Document({10, 10}, {5, 0}, {10, 10}, Pattern(100));
    ASSERT_EQ(S_OK, Activate(op, doc, Config(op, {})));
    const auto s = State(doc);
    EXPECT_EQ(10u, s.canvas.nX);
    EXPECT_EQ(0, s.contentOrigin.nX);
}

TEST(RemoveBorderOperation, NameReadsTheSizeAsAnInteger) {
    auto op = Op<CDocumentOperationRasterImageRemoveBorder>();
    EXPECT_EQ("Remove border", NameOf(op, nullptr));
    ComPtr<IConfigDescriptor> d = ComPtr<IConfigDescriptor>::query(op.get());
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(E_UNEXPECTED, d->Name(zthost::OperationManager(), Config(op, {}), name.out()));  // a float is refused
}

TEST(RemoveBorderOperation, LayersAreUnitedAroundTheCommonCentre) {
    auto op = Op<CDocumentOperationRasterImageRemoveBorder>();
    auto a = Document({10, 10}, {0, 0}, {10, 10}, Pattern(100));
    auto b = Document({20, 20}, {5, 5}, {4, 4}, Pattern(16));
    auto layered = zthost::CreateLayeredDocument({a, b});
    ASSERT_EQ(S_OK, Activate(op, layered, Config(op, {})));
    // Union (-5,-5)-(5,5) around the centres, (5,5) size 10x10 on the 20x20 canvas: translation (-5,-5).
    EXPECT_EQ(10u, State(a).canvas.nX);
    EXPECT_EQ(10u, State(b).canvas.nY);
    EXPECT_EQ(-5, State(a).contentOrigin.nX);
    EXPECT_EQ(0, State(b).contentOrigin.nY);
}

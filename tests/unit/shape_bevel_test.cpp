// Bevel: the light vector, the tiling, the height map's profiles, the three outputs, the run on
// several thread counts, and the model of the light-direction control.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "host/masks.h"
#include "operations/shape/bevel.h"
#include "operations/shape/bevel_kernels.h"
#include "operations/shape/bevel_model.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Bevel() { return Operation<CRasterImageBevel>(); }

// An opaque disc of radius 40 in a clear 120 x 100 content.
std::vector<uint32_t> Disc() {
    std::vector<uint32_t> p(120 * 100, 0u);
    for (int y = 0; y < 100; ++y)
        for (int x = 0; x < 120; ++x)
            if ((x - 60) * (x - 60) + (y - 50) * (y - 50) < 40 * 40) p[size_t(y) * 120 + x] = 0xFF4080C0u;
    return p;
}

std::vector<uint32_t> RunBevel(const std::vector<uint32_t>& aPixels, uint32_t aWidth, uint32_t aHeight,
                               IConfig* aConfig, IOperationContext* aContext = nullptr) {
    ComPtr<IDocument> doc = Image(aWidth, aHeight, aPixels);
    ComPtr<IOperationContext> context =
        aContext ? ComPtr<IOperationContext>(aContext) : zthost::CreateOperationContext();
    EXPECT_EQ(S_OK, Bevel()->Activate(zthost::OperationManager(), doc, aConfig, context, nullptr, LANG_ENGLISH));
    return Content(doc);
}

SBevelParams Params(int32_t aMethod, int32_t aAmount) {
    SBevelParams p{};
    p.amount = aAmount;
    p.method = aMethod;
    p.angle = 45;
    p.light = {0, 0, 1};
    return p;
}

}  // namespace

TEST(BevelLight, TheDefaultQuaternionLightsFromTheUpperLeft) {
    const SBevelVector l = BevelLight(0.27059805f, 0.27059805f, 0.0f, 0.9238795f);
    EXPECT_NEAR(-0.5f, l.x, 1e-6f);
    EXPECT_NEAR(0.5f, l.y, 1e-6f);
    EXPECT_NEAR(0.70710678f, l.z, 1e-6f);
    const SBevelVector up = BevelLight(0, 0, 0, 1);
    EXPECT_EQ(0.0f, up.x);
    EXPECT_EQ(1.0f, up.z);
}

TEST(BevelTiling, TheGridFollowsTheAspectAndEveryShareOwnsItsPart) {
    EXPECT_EQ(2u, BevelGridColumns(1000, 1000, 12, 4));  // 2 x 2 beats 1 x 4 and 4 x 1
    EXPECT_EQ(6u, BevelGridColumns(2000, 500, 12, 6));   // one row: 333 x 500 beats 666 x 250
    EXPECT_EQ(1u, BevelGridColumns(100, 1000, 12, 3));   // narrow: columns would only get worse
    // Four shares over 1000 x 1000: own areas tile the rectangle, outer ones add the margin inside.
    std::vector<int> owned(1000 * 1000 / 100, 0);
    for (uint32_t i = 0; i < 4; ++i) {
        SBevelTile t;
        ASSERT_TRUE(BevelTileOf(i, 4, 1000, 1000, 12, &t));
        for (uint32_t y = t.own.y0; y < t.own.y1; y += 10)
            for (uint32_t x = t.own.x0; x < t.own.x1; x += 10) ++owned[(y / 10) * 100 + x / 10];
        EXPECT_EQ(t.own.x0 == 0 ? 0u : t.own.x0 - 12, t.outer.x0);
        EXPECT_EQ(t.own.x1 == 1000 ? 1000u : t.own.x1 + 12, t.outer.x1);
    }
    for (int n : owned) EXPECT_EQ(1, n);
    SBevelTile t;
    EXPECT_FALSE(BevelTileOf(4, 8, 200, 100, 12, &t));  // 200 x 100 has 2 x 1 tiles of 76 and more
    EXPECT_TRUE(BevelTileOf(1, 8, 200, 100, 12, &t));
    EXPECT_TRUE(BevelTileOf(0, 1, 200, 100, 12, &t));
    EXPECT_EQ(200u, t.own.x1);
}

TEST(BevelHeightMap, ProfilesOfTheDistance) {
    // An opaque 11 x 11 square in a clear ring of cells, Amount 2 (T = 512).
    std::vector<uint8_t> alpha(13 * 13, 0);
    for (int y = 1; y < 12; ++y)
        for (int x = 1; x < 12; ++x) alpha[size_t(y) * 13 + x] = 255;
    const SBevelArea area{0, 0, 11, 11};
    const size_t edge = 6 * 13 + 1, centre = 6 * 13 + 6;
    std::vector<uint32_t> map;
    BevelHeightMap(alpha.data(), 13, area, nullptr, Params(EBevelEdges, 2), map);
    // Distances from the clear cells, held at T: 256 at the edge, the limit inside.
    EXPECT_EQ(256u, map[edge]);
    EXPECT_EQ(512u, map[centre]);
    BevelHeightMap(alpha.data(), 13, area, nullptr, Params(EBevelRound, 2), map);
    EXPECT_EQ(uint32_t(std::sqrt((1024.0 - 256) * 256)), map[edge]);  // a quarter of a circle
    EXPECT_EQ(uint32_t(std::sqrt((1024.0 - 512) * 512)), map[centre]);
    BevelHeightMap(alpha.data(), 13, area, nullptr, Params(EBevelRidged, 2), map);
    EXPECT_EQ(256u, map[edge]);  // sqrt((512 - 256) x 256): the top of the ridge
    EXPECT_EQ(0u, map[centre]);  // back at 0 where the distance reaches T
    // Amount 0: every cell is a seed, the height is flat.
    BevelHeightMap(alpha.data(), 13, area, nullptr, Params(EBevelEdges, 0), map);
    for (uint32_t v : map) EXPECT_EQ(0u, v);
}

TEST(BevelOperation, TheNormalMapIsOpaqueEverywhereAndFlatIsStraightUp) {
    ComPtr<IConfig> config = ConfigOf(Bevel());
    Set(config, "Output", "1");
    const std::vector<uint32_t> out = RunBevel(Disc(), 120, 100, config);
    for (uint32_t p : out) EXPECT_EQ(0xFFu, p >> 24);
    // Far from the edge: n = (0, 0, 1): red and green 127, blue 254.
    EXPECT_EQ(0xFF7F7FFEu, out[50 * 120 + 60]);
    EXPECT_EQ(0xFF7F7FFEu, out[2 * 120 + 2]);  // the flat clear surround, too
}

TEST(BevelOperation, KeepFlatLeavesFlatSurfacesAndWithoutItALowLightDarkens) {
    ComPtr<IConfig> config = ConfigOf(Bevel());
    Set(config, "Method", "-1");
    Set(config, "KeepFlat", "true");
    const std::vector<uint32_t> disc = Disc();
    EXPECT_EQ(disc[50 * 120 + 60], RunBevel(disc, 120, 100, config)[50 * 120 + 60]);
    // The default light has l.z = cos 45: base and flat light agree, the flat stays too.
    Set(config, "KeepFlat", "false");
    EXPECT_EQ(disc[50 * 120 + 60], RunBevel(disc, 120, 100, config)[50 * 120 + 60]);
    // A lower light darkens a flat surface.
    Set(config, "Light", "0.5,0,0,0.8660254");  // turned 60 degrees about x: l.z = 0.5
    const uint32_t low = RunBevel(disc, 120, 100, config)[50 * 120 + 60];
    EXPECT_LT(low & 0xFF, disc[50 * 120 + 60] & 0xFF);
    EXPECT_EQ(disc[0], RunBevel(disc, 120, 100, config)[0]);  // clear pixels are left alone
}

TEST(BevelOperation, TheSameTilesOnOneTwoOrThreeThreads) {
    std::vector<uint32_t> big(400 * 300, 0u);
    for (int y = 0; y < 300; ++y)
        for (int x = 0; x < 400; ++x)
            if ((x / 40 + y / 40) % 2) big[size_t(y) * 400 + x] = 0xFF000000u | uint32_t(x * 0x010203 + y);
    ComPtr<IConfig> config = ConfigOf(Bevel());
    Set(config, "Blur", "3");
    std::vector<std::vector<uint32_t>> results;
    for (uint32_t threads : {1u, 2u, 3u, 7u}) {
        zthost::SetThreadCount(threads);
        results.push_back(RunBevel(big, 400, 300, config));
    }
    zthost::SetThreadCount(0);
    for (size_t i = 1; i < results.size(); ++i) EXPECT_EQ(results[0], results[i]) << i;
}

TEST(BevelOperation, MoreThreadsThanTilesLeaveTheSharesWithoutATileIdle) {
    // 120 x 100 with a margin of 12 holds one tile of 76 and more: shares 1 to 7 have none.
    ComPtr<IConfig> config = ConfigOf(Bevel());
    zthost::SetThreadCount(1);
    const std::vector<uint32_t> one = RunBevel(Disc(), 120, 100, config);
    zthost::SetThreadCount(8);
    const std::vector<uint32_t> eight = RunBevel(Disc(), 120, 100, config);
    zthost::SetThreadCount(0);
    EXPECT_EQ(one, eight);
    EXPECT_NE(Disc(), one);
}

TEST(BevelOperation, AMaskLimitsTheHeight) {
    ComPtr<IConfig> config = ConfigOf(Bevel());
    Set(config, "Source", "3");
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    std::vector<uint8_t> bytes(120 * 100, 0);
    for (size_t i = 0; i < bytes.size() / 2; ++i) bytes[i] = 255;  // the upper half only
    context->StateSet(u"IMAGEMASK", zthost::CreateImageMask(0, 0, 120, 100, 120, bytes.data()));
    const std::vector<uint32_t> masked = RunBevel(Disc(), 120, 100, config, context);
    const std::vector<uint32_t> plain = RunBevel(Disc(), 120, 100, ConfigOf(Bevel()));
    EXPECT_NE(masked, plain);
    EXPECT_EQ(plain[30 * 120 + 60], masked[30 * 120 + 60]);  // deep in the upper half: flat in both
}

TEST(BevelOperation, NamesAndFilterAnswers) {
    ComPtr<IDocumentOperation> op = Bevel();
    EXPECT_EQ("Raster Image - Bevel", ListedName(op));
    EXPECT_EQ("Round edges - 10px", NameOf(op, ConfigOf(op)));
    EXPECT_EQ("Bevel", NameOf(op, nullptr));
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(op.get());
    ComPtr<IConfig> config = ConfigOf(op);
    TRasterImageRect rect{{0, 0}, {10, 10}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, nullptr, &rect));
    EXPECT_EQ(-12, rect.tTL.nX);
    EXPECT_EQ(22, rect.tBR.nY);
    const TMatrix3x3f tiny = {{0.01f, 0, 0, 0, 0.01f, 0, 0, 0, 1}};
    EXPECT_EQ(S_OK, filter->Transform(config, nullptr, &tiny));
    EXPECT_EQ(1, ReadLong(config, u"Amount"));
    EXPECT_EQ(1, ReadLong(config, u"Blur"));
    ComPtr<ILayerStyle> style = ComPtr<ILayerStyle>::query(op.get());
    EXPECT_EQ(54, style->ExecutionPriority());
}

TEST(BevelModel, TheModulesModelReadsAndBadBlocksAreRefused) {
    SIbtModel model;
    ASSERT_TRUE(ReadIbtModel(kBevelModel, sizeof kBevelModel, &model));
    EXPECT_EQ(48u, model.vertices.size());
    EXPECT_EQ(40u * 3, model.triangles.size());
    EXPECT_NEAR(std::sqrt(1.0f + 0.09f), model.radius, 1e-5f);
    std::vector<uint8_t> bad(kBevelModel, kBevelModel + sizeof kBevelModel);
    bad[0] = 'X';
    EXPECT_FALSE(ReadIbtModel(bad.data(), bad.size(), &model));
    bad[0] = 'I';
    bad[4] = 15, bad[5] = bad[6] = bad[7] = 0;  // a size field below 16
    EXPECT_FALSE(ReadIbtModel(bad.data(), bad.size(), &model));
    EXPECT_FALSE(ReadIbtModel(kBevelModel, 100, &model));  // the block is shorter than it says
    EXPECT_EQ(48u, model.vertices.size());                 // a refusal keeps the model as it was
}

TEST(BevelModel, FromAboveTheTopFaceIsPaintedLastAndFromBelowNotAtAll) {
    SIbtModel model;
    ASSERT_TRUE(ReadIbtModel(kBevelModel, sizeof kBevelModel, &model));
    const float identity[4] = {0, 0, 0, 1};
    const std::vector<SPaintTriangle> above = PaintModel(model, identity, 200, 200);
    ASSERT_GE(above.size(), 24u);
    // The top face is flat and nearest, lit by 0.7 + 0.3: its colour stays.
    const SPaintTriangle& last = above.back();
    EXPECT_EQ(uint16_t(uint32_t(std::lround(0.80 * 0xFFFF)) * 65535 >> 16), last.colour[0][0]);
    EXPECT_EQ(100, last.x[0]);  // the centre of the disc at the centre of the area
    EXPECT_EQ(100, last.y[0]);
    const float below[4] = {1, 0, 0, 0};  // half a turn about x
    for (const SPaintTriangle& t : PaintModel(model, below, 200, 200))
        EXPECT_FALSE(t.x[0] == 100 && t.y[0] == 100) << "a top-face triangle faces away";
}

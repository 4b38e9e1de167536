// Coverage and nearest-pixel resampling: filter streams, hand-computed pixels, output rules,
// the tile entry, and the sizes and resolutions that the Resample operation derives.
#include <gtest/gtest.h>

#include <vector>

#include "operations/geometry/resample.h"
#include "operations/geometry/resample_kernels.h"
#include "operations/geometry/transformers.h"

using namespace zt;
using namespace zt::resample;

namespace {

TPixelChannel Px(uint8_t aB, uint8_t aG, uint8_t aR, uint8_t aA) {
    TPixelChannel p;
    p.bB = aB;
    p.bG = aG;
    p.bR = aR;
    p.bA = aA;
    return p;
}
TPixelChannel Grey(uint8_t aV) { return Px(aV, aV, aV, 255); }

std::vector<TPixelChannel> Scale(const std::vector<TPixelChannel>& aSource, TImageSize aFrom, TImageSize aTo,
                                 bool aCubic, const SGammaTables* aGamma = nullptr) {
    std::vector<TPixelChannel> out(size_t(aTo.nX) * aTo.nY, Px(1, 2, 3, 4));
    Resample(aSource.data(), aFrom, aFrom.nX, out.data(), aTo, aTo.nX, aCubic, aGamma);
    return out;
}

std::vector<TPixelChannel> Pattern(size_t aCount) {
    std::vector<TPixelChannel> p(aCount);
    uint32_t x = 777;
    for (auto& px : p) {
        x = x * 1664525u + 1013904223u;
        px.n = x;
    }
    return p;
}

}  // namespace

TEST(LinearTable, GroupsTargetsByCellWithALeadingCountForTheFirstCell) {
    // S = 2, D = 4: positions -0.25, 0.25, 0.75, 1.25 (clamped to 0.9999): all in cell 0.
    EXPECT_EQ((std::vector<uint32_t>{4, 0, 64, 192, 256, 0}), LinearTable(2, 4));
    // S = 3, D = 4: positions -0.125, 0.625 | 1.375, 2.125 (clamped to 1.9999).
    EXPECT_EQ((std::vector<uint32_t>{2, 0, 160, 2, 96, 256, 0}), LinearTable(3, 4));
}

TEST(CubicTable, TwoSourcePixelsGetTheExtraZeroAndARamp) {
    // Positions -1/6 (left ramp), 0.5 (B-spline), 7/6 (right ramp), all in cell 0 = S - 2.
    EXPECT_EQ((std::vector<uint32_t>{0, 3, 0, 228, 28, 0, 5, 123, 123, 5, 0, 28, 228, 0, 0, 0}), CubicTable(2, 3));
}

TEST(CubicTable, MissingUnitsGoToTheLargestRemainders) {
    uint32_t w[4];
    CubicWeights(4, 1.5, w);  // t = 0.5: 5.33, 122.67, 122.67, 5.33 truncate to 254
    EXPECT_EQ(5u, w[0]);
    EXPECT_EQ(123u, w[1]);
    EXPECT_EQ(123u, w[2]);
    EXPECT_EQ(5u, w[3]);
}

TEST(CubicTable, MarksTheLastCellWithAZeroBeforeItsCount) {
    const std::vector<uint32_t> t = CubicTable(3, 6);
    // Cell 0 first, then a 0 and the count of cell 1 = S - 2, and the closing pair.
    ASSERT_GE(t.size(), 4u);
    EXPECT_NE(0u, t[0]);
    const size_t cell1 = 1 + 4 * t[0];
    EXPECT_EQ(0u, t[cell1]);
    EXPECT_EQ(6u, t[0] + t[cell1 + 1]);
    EXPECT_EQ(0u, t[t.size() - 1]);
    EXPECT_EQ(0u, t[t.size() - 2]);
    EXPECT_LE(t.size(), size_t(4 * 6 + 3 + 3));
}

TEST(ReductionTable, FactorUnderTwoAlternatesBlendRecords) {
    EXPECT_EQ((std::vector<uint32_t>{0, 171, 0, 85}), ReductionTable(3, 2));
}

TEST(ReductionTable, SpansWithWholePixelsCarryWeightsAndTotal) {
    EXPECT_EQ((std::vector<uint32_t>{1, 256, 128, 640, 1, 128, 256, 640}), ReductionTable(5, 2));
}

TEST(ReductionTable, ReductionToOneCoversAllPixels) {
    // hi becomes S - 0.0001, so the last pixel is S - 1 with a full weight.
    EXPECT_EQ((std::vector<uint32_t>{2, 256, 256, 1024}), ReductionTable(4, 1));
}

TEST(ReductionTable, EverySourcePixelIsReadExactlyOnce) {
    for (uint32_t s : {3u, 5u, 7u, 10u, 17u, 100u}) {
        for (uint32_t d = 1; d < s; ++d) {
            const std::vector<uint32_t> t = ReductionTable(s, d);
            uint32_t reads = 0, records = 0;
            for (size_t i = 0; i < t.size(); ++records) {
                if (t[i]) {
                    reads += t[i] + 1;
                    i += 4;
                } else {
                    reads += 1;
                    i += 2;
                }
            }
            EXPECT_EQ(d, records) << s << "->" << d;
            EXPECT_EQ(s - 1, reads) << s << "->" << d;
        }
    }
}

TEST(Resample, OnePixelSourceIsReplicatedByAPlainCopy) {
    const std::vector<TPixelChannel> src = {Px(10, 20, 30, 0)};
    for (const auto& p : Scale(src, {1, 1}, {3, 2}, true)) EXPECT_EQ(src[0].n, p.n);
}

TEST(Resample, CubicEnlargementOfTwoPixelsIsARamp) {
    const std::vector<TPixelChannel> src = {Grey(0), Grey(255)};
    const auto out = Scale(src, {2, 1}, {3, 1}, true);
    // 28*65025/65280, 128*65025/65280, 228*65025/65280, truncated.
    EXPECT_EQ(Grey(27).n, out[0].n);
    EXPECT_EQ(Grey(127).n, out[1].n);
    EXPECT_EQ(Grey(227).n, out[2].n);
}

TEST(Resample, LinearEnlargementWeighsNeighbours) {
    const std::vector<TPixelChannel> src = {Grey(0), Grey(255)};
    const auto out = Scale(src, {2, 1}, {4, 1}, false);
    // Weights of the later pixel 0, 64, 192, 256.
    EXPECT_EQ(Grey(0).n, out[0].n);
    EXPECT_EQ(Grey(63).n, out[1].n);  // 64*65025/65280 = 63.75
    EXPECT_EQ(Grey(191).n, out[2].n);
    EXPECT_EQ(Grey(255).n, out[3].n);
}

TEST(Resample, ReductionIsTheBoxAverage) {
    const std::vector<TPixelChannel> src = {Grey(0), Grey(100), Grey(200), Grey(50), Grey(250)};
    const auto out = Scale(src, {5, 1}, {2, 1}, false);
    EXPECT_EQ(Grey(80).n, out[0].n);   // (0 + 100 + 200/2) / 2.5
    EXPECT_EQ(Grey(160).n, out[1].n);  // (200/2 + 50 + 250) / 2.5
}

TEST(Resample, ReductionUnderAFactorOfTwoBlendsTwoPixels) {
    const std::vector<TPixelChannel> src = {Grey(0), Grey(255), Grey(0)};
    const auto out = Scale(src, {3, 1}, {2, 1}, false);
    EXPECT_EQ(Grey(84).n, out[0].n);  // 85*65025/65280
    EXPECT_EQ(Grey(84).n, out[1].n);
}

TEST(Resample, ReductionInBothAxesUsesTheColumnRecords) {
    // 5x5 of one grey shrinks to 2x2 of the same grey through four-entry records on both axes.
    const std::vector<TPixelChannel> src(25, Grey(90));
    for (const auto& p : Scale(src, {5, 5}, {2, 2}, false)) EXPECT_EQ(Grey(90).n, p.n);
}

TEST(Resample, OpaqueBesideTransparentKeepsItsColourWithLessAlpha) {
    const std::vector<TPixelChannel> src = {Px(0, 0, 255, 255), Px(255, 0, 0, 0)};
    const auto out = Scale(src, {2, 1}, {1, 1}, false);
    EXPECT_EQ(Px(0, 0, 255, 127).n, out[0].n);  // weights 128 and 128: alpha 32640 >> 8
}

TEST(Resample, AlphaSumBelowOneUnitGivesZeroPixel) {
    const std::vector<TPixelChannel> src = {Px(200, 100, 50, 1), Px(9, 9, 9, 0)};
    const auto out = Scale(src, {2, 1}, {4, 1}, false);
    EXPECT_EQ(Px(200, 100, 50, 1).n, out[0].n);  // alpha sum 256: one unit
    EXPECT_EQ(0u, out[1].n);                     // 192
    EXPECT_EQ(0u, out[2].n);                     // 64
    EXPECT_EQ(0u, out[3].n);
}

TEST(Resample, ColumnStageMatchesRowStageOnTransposedImage) {
    const std::vector<TPixelChannel> row = {Grey(0), Grey(255)};
    const auto across = Scale(row, {2, 1}, {3, 1}, true);
    const auto down = Scale(row, {1, 2}, {1, 3}, true);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(across[i].n, down[i].n);
}

TEST(GammaTables, OnlyAGammaInsideTheOpenRangeUsesTables) {
    EXPECT_FALSE(UsesGamma(1.0f));
    EXPECT_FALSE(UsesGamma(0.1f));
    EXPECT_FALSE(UsesGamma(10.0f));
    EXPECT_TRUE(UsesGamma(2.2f));
    SGammaTables t;
    MakeGammaTables(2.0f, t);
    EXPECT_EQ(16513, t.toLinear[128]);  // (128/255)^2 * 65535 + 0.5
    EXPECT_EQ(65535, t.toLinear[255]);
    EXPECT_EQ(128, t.toGamma[16513]);
    ASSERT_EQ(65536u + 16u, t.toGamma.size());
    EXPECT_EQ(255, t.toGamma[65536 + 15]);
}

TEST(Resample, GammaPathKeepsUniformColours) {
    SGammaTables t;
    MakeGammaTables(2.2f, t);
    const std::vector<TPixelChannel> src(12, Px(40, 128, 250, 255));
    for (bool cubic : {false, true}) {
        for (TImageSize to : {TImageSize{7, 5}, TImageSize{2, 2}, TImageSize{3, 9}}) {
            for (const auto& p : Scale(src, {4, 3}, to, cubic, &t)) {
                EXPECT_EQ(255, p.bA);
                EXPECT_NEAR(40, p.bB, 1);
                EXPECT_NEAR(128, p.bG, 1);
                EXPECT_NEAR(250, p.bR, 1);
            }
        }
    }
}

TEST(Resample, EveryFilterPairStaysInsideAndIsDeterministic) {
    const auto src = Pattern(9 * 7);
    for (bool cubic : {false, true}) {
        for (TImageSize to : {TImageSize{1, 1}, TImageSize{9, 3}, TImageSize{4, 7}, TImageSize{20, 2},
                              TImageSize{5, 15}, TImageSize{18, 14}, TImageSize{9, 7}}) {
            SGammaTables t;
            MakeGammaTables(2.2f, t);
            EXPECT_EQ(Scale(src, {9, 7}, to, cubic, &t).size(), size_t(to.nX) * to.nY);
            const auto a = Scale(src, {9, 7}, to, cubic);
            const auto b = Scale(src, {9, 7}, to, cubic);
            for (size_t i = 0; i < a.size(); ++i) EXPECT_EQ(a[i].n, b[i].n);
        }
    }
}

TEST(CoverageTile, TilesGiveTheSamePixelsAsTheWholeCanvas) {
    const auto src = Pattern(10 * 6);
    const SCoverageSetup setup{{10, 6}, {23, 13}, true};
    const TMatrix3x3f m = {{2.3f, 0, 0, 0, 13.0f / 6, 0, 0, 0, 1}};
    const TPixelChannel fill = Px(1, 1, 1, 1);
    std::vector<TPixelChannel> whole(23 * 13);
    ASSERT_EQ(S_OK, CResamplingHelperCoverage(setup.sourceSize, setup.targetSize, setup.cubic)
                        .ProcessTile(1, 2.2f, &fill, &m, src.data(), {0, 0}, {10, 6}, {1, 10}, whole.data(), {0, 0},
                                     {23, 13}, {1, 23}));
    // A tile of the target with an odd origin and a wider row step.
    std::vector<TPixelChannel> tile(30 * 5);
    ASSERT_EQ(S_OK, CResamplingHelperCoverage(setup.sourceSize, setup.targetSize, setup.cubic)
                        .ProcessTile(1, 2.2f, &fill, &m, src.data(), {0, 0}, {10, 6}, {1, 10}, tile.data(), {5, 7},
                                     {12, 5}, {1, 30}));
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 12; ++x) EXPECT_EQ(whole[(y + 7) * 23 + x + 5].n, tile[y * 30 + x].n);
}

TEST(CoverageTile, TranslatedImageIsSurroundedByTheDefault) {
    const std::vector<TPixelChannel> src(4, Grey(100));
    const SCoverageSetup setup{{2, 2}, {4, 4}, false};
    const TMatrix3x3f m = {{2, 0, 0, 0, 2, 0, 1, 1, 1}};
    const TPixelChannel fill = Px(9, 9, 9, 9);
    std::vector<TPixelChannel> out(6 * 6);
    ASSERT_EQ(S_OK, CResamplingHelperCoverage(setup.sourceSize, setup.targetSize, setup.cubic)
                        .ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {2, 2}, {1, 2}, out.data(), {0, 0}, {6, 6},
                                     {1, 6}));
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x)
            EXPECT_EQ((x >= 1 && x < 5 && y >= 1 && y < 5) ? Grey(100).n : fill.n, out[y * 6 + x].n) << x << "," << y;
}

TEST(CoverageTile, RefusesOtherChannelCountsAndShortRows) {
    const std::vector<TPixelChannel> src(4, Grey(1));
    const SCoverageSetup setup{{2, 2}, {4, 4}, false};
    const TMatrix3x3f m = {{2, 0, 0, 0, 2, 0, 0, 0, 1}};
    const TPixelChannel fill{};
    std::vector<TPixelChannel> out(16);
    EXPECT_EQ(E_NOTIMPL, CResamplingHelperCoverage(setup.sourceSize, setup.targetSize, setup.cubic)
                             .ProcessTile(2, 1.0f, &fill, &m, src.data(), {0, 0}, {2, 2}, {1, 2}, out.data(), {0, 0},
                                          {4, 4}, {1, 4}));
    EXPECT_EQ(E_FAIL, CResamplingHelperCoverage(setup.sourceSize, setup.targetSize, setup.cubic)
                          .ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {2, 2}, {1, 2}, out.data(), {0, 0},
                                       {4, 4}, {1, 3}));
}

TEST(CoverageTile, SourceAbsentFromTheCanvasGivesTheDefault) {
    const std::vector<TPixelChannel> src(4, Grey(1));
    const SCoverageSetup setup{{2, 2}, {3, 3}, false};
    const TMatrix3x3f m = {{1.5f, 0, 0, 0, 1.5f, 0, 0, 0, 1}};
    const TPixelChannel fill = Px(5, 6, 7, 8);
    std::vector<TPixelChannel> out(9);
    // The tile lies far off the image: the image is all default before scaling.
    ASSERT_EQ(S_OK, CResamplingHelperCoverage(setup.sourceSize, setup.targetSize, setup.cubic)
                        .ProcessTile(1, 1.0f, &fill, &m, src.data(), {100, 100}, {2, 2}, {1, 2}, out.data(), {0, 0},
                                     {3, 3}, {1, 3}));
    for (const auto& p : out) EXPECT_EQ(fill.n, p.n);
}

TEST(NearestTile, SamplesPixelCentresAndIgnoresTheTranslation) {
    const std::vector<TPixelChannel> src = {Grey(10), Grey(20), Grey(30), Grey(40)};
    const TMatrix3x3f m = {{2, 0, 0, 0, 1, 0, -3, 0, 1}};
    const TPixelChannel fill = Px(1, 1, 1, 1);
    std::vector<TPixelChannel> out(9);
    ASSERT_EQ(S_OK, CResamplingHelperNearest().ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {4, 1}, {1, 4},
                                                           out.data(), {0, 0}, {9, 1}, {1, 9}));
    // Step 2^27: target x samples (x * 2^27 + 2^26) >> 28 = x / 2 rounded down; x = 8 is past the end.
    const uint32_t expected[9] = {Grey(10).n, Grey(10).n, Grey(20).n, Grey(20).n, Grey(30).n,
                                  Grey(30).n, Grey(40).n, Grey(40).n, fill.n};
    for (int i = 0; i < 9; ++i) EXPECT_EQ(expected[i], out[i].n) << i;
}

TEST(NearestTile, ShrinkingNeverReadsPastTheLastColumn) {
    const auto src = Pattern(7 * 3);
    const TMatrix3x3f m = {{3.0f / 7, 0, 0, 0, 2.0f / 3, 0, 0, 0, 1}};
    const TPixelChannel fill{};
    std::vector<TPixelChannel> out(5 * 4);
    EXPECT_EQ(S_OK, CResamplingHelperNearest().ProcessTile(1, 1.0f, &fill, &m, src.data(), {0, 0}, {7, 3}, {1, 7},
                                                           out.data(), {-1, -1}, {5, 4}, {1, 5}));
}

// ---------------------------------------------------------------- sizes and resolution

TEST(ResampleSizes, RelativeZeroGivesOnePixel) {
    const SResampleSizes s = ResampleSizes(200, 100, 0, 0.0f, 0, 0, 0);
    EXPECT_EQ(1u, s.newW);
    EXPECT_EQ(1u, s.newH);
    EXPECT_EQ(1u, s.canvasW);
    EXPECT_EQ(1u, s.canvasH);
}

TEST(ResampleSizes, RelativeHalfRounds) {
    const SResampleSizes s = ResampleSizes(201, 99, 0, 50.0f, 0, 0, 0);
    EXPECT_EQ(101u, s.newW);  // 100.5 + 0.5
    EXPECT_EQ(50u, s.newH);   // 49.5 + 0.5
}

TEST(ResampleSizes, SizeZeroGivesWidthOneAndHeightOne) {
    const SResampleSizes s = ResampleSizes(200, 100, 2, 0, 0, 0, 0);
    EXPECT_EQ(1u, s.newW);
    EXPECT_EQ(1u, s.newH);
}

TEST(ResampleSizes, LongerAndShorterSideChooseTheirPath) {
    EXPECT_EQ(50u, ResampleSizes(200, 100, 4, 0, 100, 0, 0).newH);   // width path
    EXPECT_EQ(200u, ResampleSizes(200, 100, 5, 0, 100, 0, 0).newW);  // height path
}

TEST(ResampleSizes, MaximumFrameFitsInside) {
    const SResampleSizes s = ResampleSizes(200, 100, 11, 0, 0, 100, 100);
    EXPECT_EQ(100u, s.newW);
    EXPECT_EQ(50u, s.newH);
    EXPECT_EQ(50u, s.canvasH);
}

TEST(ResampleSizes, CropCanvasWithEqualProportionsHasNoOverhang) {
    const SResampleSizes s = ResampleSizes(200, 100, 13, 0, 0, 100, 50);
    EXPECT_EQ(100u, s.newW);
    EXPECT_EQ(50u, s.newH);
    EXPECT_EQ(100u, s.canvasW);
    EXPECT_EQ(50u, s.canvasH);
}

TEST(ResampleSizes, CropCoversAndExtendFits) {
    const SResampleSizes crop = ResampleSizes(200, 100, 13, 0, 0, 100, 100);
    EXPECT_EQ(200u, crop.newW);
    EXPECT_EQ(100u, crop.newH);
    const SResampleSizes extend = ResampleSizes(200, 100, 14, 0, 0, 100, 100);
    EXPECT_EQ(100u, extend.newW);
    EXPECT_EQ(50u, extend.newH);
    EXPECT_EQ(100u, extend.canvasH);
}

TEST(ResampleSizes, UnknownModeLeavesOnes) {
    const SResampleSizes s = ResampleSizes(200, 100, 7, 50, 50, 50, 50);
    EXPECT_EQ(1u, s.newW);
    EXPECT_EQ(1u, s.canvasH);
}

TEST(ResampleResolution, RecomputeUsesTheWidthRatioForBothAxes) {
    const TImageResolution r = ResampleResolution({300, 254, 150, 254}, 0, 100, 50, 0);
    EXPECT_EQ(150u, r.nNumeratorX);
    EXPECT_EQ(150u, r.nNumeratorY);
    EXPECT_EQ(254u, r.nDenominatorY);
}

TEST(ResampleResolution, SetToReplacesAllFour) {
    const TImageResolution r = ResampleResolution({1, 2, 3, 4}, 2, 100, 50, 300.0f);
    EXPECT_EQ(300u, r.nNumeratorX);
    EXPECT_EQ(254u, r.nDenominatorX);
    EXPECT_EQ(300u, r.nNumeratorY);
    EXPECT_EQ(254u, r.nDenominatorY);
}

TEST(FilterReader, GivesEachTargetItsSourcesAndWeights) {
    const std::vector<uint32_t> linear = LinearTable(2, 4);
    CFilterReader reader(EFilter::linear, linear, 2);
    STaps k;
    const uint32_t later[4] = {0, 64, 192, 256};
    for (uint32_t i = 0; i < 4; ++i) {
        ASSERT_TRUE(reader.Next<EFilter::linear>(k)) << i;
        EXPECT_EQ(2u, k.count);
        EXPECT_EQ(0u, k.index[0]);
        EXPECT_EQ(1u, k.index[1]);
        EXPECT_EQ(256 - later[i], k.weight[0]) << i;
        EXPECT_EQ(later[i], k.weight[1]) << i;
    }
    EXPECT_FALSE(reader.Next<EFilter::linear>(k));

    // 4 to 2: target 0 spans sources 0 (whole), 1 and 2 (none of it); target 1 is half 2, half 3.
    const std::vector<uint32_t> reduction = ReductionTable(4, 2);
    CFilterReader shrink(EFilter::reduction, reduction, 4);
    ASSERT_TRUE(shrink.Next<EFilter::reduction>(k));
    EXPECT_EQ(0u, k.count);
    EXPECT_EQ(0u, k.index[0]);
    EXPECT_EQ(256u, k.weight[0]);
    EXPECT_EQ(1u, k.mids);
    EXPECT_EQ(1u, k.mid);
    EXPECT_EQ(2u, k.index[1]);
    EXPECT_EQ(0u, k.weight[1]);
    EXPECT_EQ(512u, k.total);
    ASSERT_TRUE(shrink.Next<EFilter::reduction>(k));
    EXPECT_EQ(2u, k.count);
    EXPECT_EQ(2u, k.index[0]);
    EXPECT_EQ(3u, k.index[1]);
    EXPECT_EQ(128u, k.weight[0]);
    EXPECT_EQ(128u, k.weight[1]);
    EXPECT_FALSE(shrink.Next<EFilter::reduction>(k));
}

TEST(FilterReader, StopsAtTheEndOfACutTable) {
    for (EFilter filter : {EFilter::linear, EFilter::cubic, EFilter::reduction}) {
        const std::vector<uint32_t> whole = filter == EFilter::linear  ? LinearTable(5, 13)
                                            : filter == EFilter::cubic ? CubicTable(5, 13)
                                                                       : ReductionTable(13, 5);
        for (size_t cut = 0; cut < whole.size(); ++cut) {
            // A table in a buffer of its own size, so that a read past it is caught.
            const std::vector<uint32_t> table(whole.begin(), whole.begin() + cut);
            const uint32_t sources = filter == EFilter::reduction ? 13 : 5;
            CFilterReader reader(filter, table, sources);
            STaps k;
            int targets = 0;
            auto next = [&] {
                switch (filter) {
                    case EFilter::linear: return reader.Next<EFilter::linear>(k);
                    case EFilter::cubic: return reader.Next<EFilter::cubic>(k);
                    default: return reader.Next<EFilter::reduction>(k);
                }
            };
            while (next()) {
                ++targets;
                for (uint32_t j = 0; j < (k.count ? k.count : 2); ++j) EXPECT_LT(k.index[j], sources);
            }
            EXPECT_LE(targets, 13);
        }
    }
}

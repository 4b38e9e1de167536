// The blur's line engine: sources, kernels, destinations and the share rule, against
// hand-computed values and against plain one-channel-at-a-time versions of the sums.
#include <gtest/gtest.h>

#include <cstring>
#include <random>
#include <vector>

#include "host/zthost.h"
#include "operations/blur/blur_kernels.h"
#include "operations/blur/blur_stream_avx2.h"
#include "operations/blur/blur_stream_avx512.h"

using namespace zt;

namespace {

const TSRGBFloatRecord* Table() {
    static ComPtr<IGammaTableCache> cache = zthost::Create<IGammaTableCache>(CLSID_GammaTableCache);
    return cache->GetSRGBFloatTable();
}

uint32_t Bits(float a) {
    uint32_t b;
    std::memcpy(&b, &a, 4);
    return b;
}

// A line of test values (four doubles a pixel) that notes every read outside of it.
struct STestPixel {
    double v[4];
};
struct CTestSrc {
    using Stored = STestPixel;
    const STestPixel* first;
    uint32_t stride;
    const STestPixel* begin;
    const STestPixel* end;
    mutable int outside = 0;
    ptrdiff_t PixelStep() const { return 1; }
    ptrdiff_t LineStep() const { return ptrdiff_t(stride); }
    const STestPixel* Checked(const STestPixel* p) const {
        if (p < begin || p >= end) {
            ++outside;
            static const STestPixel zero{};
            return &zero;
        }
        return p;
    }
    v4f ReadF(const STestPixel* p) const {
        p = Checked(p);
        return v4f{float(p->v[0]), float(p->v[1]), float(p->v[2]), float(p->v[3])};
    }
    v4d ReadD(const STestPixel* p) const {
        p = Checked(p);
        return v4d{v2d{p->v[0], p->v[1]}, v2d{p->v[2], p->v[3]}};
    }
};

// Keeps what a kernel writes, and how often each output was written.
struct SRecord {
    v4f sum{};
    float inv = 0;
    v4d y{};
    int writes = 0;
};
struct CRecordDst {
    using Stored = SRecord;
    SRecord* first;
    uint32_t stride;
    ptrdiff_t PixelStep() const { return 1; }
    ptrdiff_t LineStep() const { return ptrdiff_t(stride); }
    void WriteSum(SRecord* p, v4f s, float inv) const {
        p->sum = s;
        p->inv = inv;
        ++p->writes;
    }
    void WriteRecursive(SRecord* p, v4d y) const {
        p->y = y;
        ++p->writes;
    }
    void WriteSums(SRecord* const* aLines, ptrdiff_t aOffset, const v4f* aSums, uint32_t aCount, float aInv) const {
        for (uint32_t g = 0; g < aCount; ++g) WriteSum(aLines[g] + aOffset, aSums[g], aInv);
    }
};

std::vector<STestPixel> Grey(std::initializer_list<double> aValues) {
    std::vector<STestPixel> line;
    for (double v : aValues) line.push_back({{v, v, v, v}});
    return line;
}

template <class Kernel>
std::vector<SRecord> RunLine(const Kernel& aKernel, const std::vector<STestPixel>& aLine, uint32_t aOutCount,
                             int* aOutside = nullptr) {
    std::vector<SRecord> out(aOutCount);
    CTestSrc src{aLine.data(), 0, aLine.data(), aLine.data() + aLine.size()};
    CRecordDst dst{out.data(), 0};
    if constexpr (kIsRecursive<Kernel>) {
        Kernel k = aKernel;
        std::vector<v4d> w(k.WorkLength());
        k.forward = w.data();
        k.Line(src, aLine.data(), dst, out.data());
    } else {
        SLineScratch scratch;
        aKernel.Line(src, aLine.data(), dst, out.data(), scratch);
    }
    if (aOutside) *aOutside = src.outside;
    return out;
}

void ExpectSums(const std::vector<SRecord>& aOut, std::initializer_list<float> aSums) {
    ASSERT_EQ(aOut.size(), aSums.size());
    size_t i = 0;
    for (float s : aSums) {
        for (int c = 0; c < 4; ++c) EXPECT_EQ(s, aOut[i].sum[c]) << "output " << i << " channel " << c;
        EXPECT_EQ(1, aOut[i].writes);
        ++i;
    }
}

const float kZero[4] = {0, 0, 0, 0};

}  // namespace

// ---------------------------------------------------------------- conversions

TEST(BlurPixels, ConstantsHaveTheirBitPatterns) {
    EXPECT_EQ(0x3B808081u, Bits(kInv255));
    EXPECT_EQ(0x39000000u, Bits(kEncodeLow));         // 2^-13
    EXPECT_EQ(0x3F7FFFFFu, Bits(kEncodeHigh));        // the largest float under 1
    EXPECT_EQ(0x38000000u, Bits(kFromWideUnsigned));  // 2^-15
    EXPECT_EQ(0x38800000u, Bits(kFromWideSigned));    // 2^-14
    EXPECT_EQ(0.0019607844f, kHalfStep);
}

TEST(BlurPixels, ReadingPremultipliesInLinearLight) {
    const TSRGBFloatRecord* t = Table();
    TPixelChannel p;
    p.n = 0x80FF4000;  // alpha 128, red 255, green 64, blue 0
    const v4f v = PreMulLinearF(t, p);
    const float a = 128.0f * 0.003921569f;
    EXPECT_EQ(a * t->toLinear[0], v[0]);
    EXPECT_EQ(a * t->toLinear[64], v[1]);
    EXPECT_EQ(a * t->toLinear[255], v[2]);
    EXPECT_EQ(a, v[3]);
    const v4d d = PreMulLinearD(t, p);
    EXPECT_EQ(double(a) * double(t->toLinear[64]), d[1]);
    EXPECT_EQ(double(a), d[3]);
}

TEST(BlurPixels, AlphaBelowHalfAStepDropsTheWholePixel) {
    const TSRGBFloatRecord* t = Table();
    // Alpha sum 0.0019 over a weight of 1: below half of 1/255, so the red is not kept.
    EXPECT_EQ(0u, DeMulSRGBFromSum(t, v4f{0, 0, 0.0019f, 0.0019f}, 1.0f).n);
    EXPECT_EQ(0u, DeMulSRGBFromSum(t, v4f{0, 0, 0.0019607844f, 0.0019607844f}, 1.0f).n);  // not above
    EXPECT_NE(0u, DeMulSRGBFromSum(t, v4f{0, 0, 0.002f, 0.002f}, 1.0f).n);
    EXPECT_EQ(0u, DeMulSRGBFromRecursive(t, v4d{v2d{0, 0}, v2d{0.0019, 0.00196078431372549}}).n);
}

TEST(BlurPixels, WritingDividesByAlphaAndEncodes) {
    const TSRGBFloatRecord* t = Table();
    // Three samples of half-transparent linear 0.5 grey in a window of weight 3.
    const float a = 3.0f * 0.5f, c = 3.0f * 0.25f;
    const TPixelChannel p = DeMulSRGBFromSum(t, v4f{c, c, c, a}, 1.0f / 3.0f);
    const uint8_t grey = EncodeSRGB8(t, c * (1.0f / a));
    EXPECT_EQ(grey, p.bB);
    EXPECT_EQ(grey, p.bR);
    EXPECT_EQ(uint8_t(a * ((1.0f / 3.0f) * 255.0f) + 0.5f), p.bA);
    EXPECT_EQ(128, p.bA);
    EXPECT_EQ(FloatToSRGB8(0.5f), grey);
}

TEST(BlurPixels, ColourSumDriftingBelowZeroIsClampedForTheEncoder) {
    const TSRGBFloatRecord* t = Table();
    const TPixelChannel p = DeMulSRGBFromSum(t, v4f{-1.0e-6f, 0.5f, -3.0f, 1.0f}, 1.0f);
    EXPECT_EQ(EncodeSRGB8(t, 0.00012207031f), p.bB);
    EXPECT_EQ(EncodeSRGB8(t, 0.00012207031f), p.bR);
    EXPECT_EQ(0, p.bB);  // 2^-13 is far below half a step of the first byte
    // Above one the colour holds at the largest float under 1, which encodes as 255.
    EXPECT_EQ(255, DeMulSRGBFromSum(t, v4f{2.0f, 0, 0, 1.0f}, 1.0f).bB);
}

TEST(BlurPixels, FourLaneWriteAgreesWithTheOnePixelWriteBitForBit) {
    const TSRGBFloatRecord* t = Table();
    std::mt19937 rng(7);
    std::uniform_real_distribution<float> colour(-0.01f, 1.2f), alpha(0.0f, 1.05f);
    for (int round = 0; round < 20000; ++round) {
        v4f sums[4];
        for (v4f& v : sums) {
            const float a = round % 5 == 0 ? alpha(rng) * 0.004f : alpha(rng);
            v = v4f{colour(rng) * a, colour(rng) * a, colour(rng) * a, a};
        }
        if (round % 7 == 0) sums[round % 4] = v4f{0.0f, 0.0f, 0.0f, 0.0f};
        const float inv = round % 3 == 0 ? 1.0f : 1.0f / float(round % 41 + 1);
        uint32_t lanes[4];
        DeMulSRGBFromSums4(t, sums, inv, lanes);
        for (int k = 0; k < 4; ++k) ASSERT_EQ(DeMulSRGBFromSum(t, sums[k], inv).n, lanes[k]) << round << " " << k;
    }
}

TEST(BlurPixels, FloatKernelAlphaByteIsNotLimited) {
    const TSRGBFloatRecord* t = Table();
    // 1.01 * 255 + 0.5 = 258.05: the byte keeps the low eight bits of 258.
    EXPECT_EQ(2, DeMulSRGBFromSum(t, v4f{0.5f, 0.5f, 0.5f, 1.01f}, 1.0f).bA);
    // The recursive kernel can overshoot and is limited.
    EXPECT_EQ(255, DeMulSRGBFromRecursive(t, v4d{v2d{0.5, 0.5}, v2d{0.5, 1.01}}).bA);
    EXPECT_EQ(128, DeMulSRGBFromRecursive(t, v4d{v2d{0.25, 0.25}, v2d{0.25, 0.5}}).bA);  // 127.5 + 0.5
}

TEST(BlurPixels, RecursiveWriteDividesInDoubleAndMultipliesInFloat) {
    const TSRGBFloatRecord* t = Table();
    const v4d y{v2d{0.1, 0.2}, v2d{0.3, 0.7}};
    const float u = float(1.0 / 0.7);
    const TPixelChannel p = DeMulSRGBFromRecursive(t, y);
    EXPECT_EQ(EncodeSRGB8(t, float(0.1) * u), p.bB);
    EXPECT_EQ(EncodeSRGB8(t, float(0.2) * u), p.bG);
    EXPECT_EQ(EncodeSRGB8(t, float(0.3) * u), p.bR);
    EXPECT_EQ(uint8_t(uint32_t(0.7 * 255.0 + 0.5)), p.bA);
}

TEST(BlurPixels, WideFormsHaveTheirScales) {
    // Float kernels: 1.0 is 32768, cut towards zero.
    TWidePixel w = WideFromSum(v4f{0.5f, 0.25f, 0.0f, 1.0f}, 1.0f);
    EXPECT_EQ(16384, w.v[0]);
    EXPECT_EQ(8192, w.v[1]);
    EXPECT_EQ(0, w.v[2]);
    EXPECT_EQ(32768, w.v[3]);
    // S * (double(inv) * 32768): 1.0 * (double(1/3f) * 32768) = 10922.667 cuts to 10922.
    EXPECT_EQ(10922, WideFromSum(v4f{1.0f, 1.0f, 1.0f, 1.0f}, 1.0f / 3.0f).v[0]);
    const v4f back = FloatFromWideUnsigned(w);
    EXPECT_EQ(0.5f, back[0]);
    EXPECT_EQ(1.0f, back[3]);
    // Recursive: signed, 1.0 is 16384, values beyond 0 .. 1 are carried.
    TWidePixel r = WideFromRecursive(v4d{v2d{-0.25, 1.5}, v2d{0.99999, 1.0}});
    EXPECT_EQ(-4096, int16_t(r.v[0]));
    EXPECT_EQ(24576, int16_t(r.v[1]));
    EXPECT_EQ(16383, int16_t(r.v[2]));  // 16383.8 cut
    EXPECT_EQ(16384, int16_t(r.v[3]));
    const v4f rb = FloatFromWideSigned(r);
    EXPECT_EQ(-0.25f, rb[0]);
    EXPECT_EQ(1.5f, rb[1]);
}

// ---------------------------------------------------------------- float kernels, by hand

TEST(BlurKernels, BoxSumsOfAShortLineWithDefaultSides) {
    // Output i sums inputs i-2 .. i with zero around: 1, 1+2, 1+2+4, 2+4, 4.
    const auto out = RunLine(CBoxBlurFloat{3, 1, kZero, kZero}, Grey({1, 2, 4}), 5);
    ExpectSums(out, {1, 3, 7, 6, 4});
    EXPECT_EQ(1.0f / 3.0f, out[0].inv);
}

TEST(BlurKernels, BoxReplicatesTheEndPixels) {
    const auto out = RunLine(CBoxBlurFloat{3, 1, nullptr, nullptr}, Grey({1, 2, 4}), 5);
    ExpectSums(out, {1 + 1 + 1, 1 + 1 + 2, 1 + 2 + 4, 2 + 4 + 4, 4 + 4 + 4});
}

TEST(BlurKernels, BoxWiderThanTheLineSeesFrontAndBackAtOnce) {
    // R = 2 on one pixel: every window holds front (1), the pixel (2) and back (3).
    const float front[4] = {1, 1, 1, 1}, back[4] = {3, 3, 3, 3};
    const auto out = RunLine(CBoxBlurFloat{1, 2, front, back}, Grey({2}), 5);
    ExpectSums(out, {1 + 1 + 1 + 1 + 2, 1 + 1 + 1 + 2 + 3, 1 + 1 + 2 + 3 + 3, 1 + 2 + 3 + 3 + 3, 2 + 3 + 3 + 3 + 3});
    // Longer reach than line on a two-pixel line with R = 3.
    const auto two = RunLine(CBoxBlurFloat{2, 3, front, back}, Grey({2, 4}), 8);
    // Window i holds inputs i-6 .. i: front for negative, back beyond 1.
    ExpectSums(two,
               {6 + 2, 5 + 2 + 4, 4 + 2 + 4 + 3, 3 + 2 + 4 + 6, 2 + 2 + 4 + 9, 1 + 2 + 4 + 12, 2 + 4 + 15, 4 + 18});
}

TEST(BlurKernels, FractionBoxWeighsTheEndSamplesByTheEdgeWeight) {
    // r = 0.5: R = 1, f = 0.5, weights 0.5, 1, 0.5 on inputs i, i-1, i-2.
    const auto half = RunLine(CFractionBoxBlurFloat{3, 0.5f, 2.0f, 0.5f, 1, kZero, kZero}, Grey({1, 2, 4}), 5);
    ExpectSums(half, {0.5f, 2.0f, 4.5f, 5.0f, 2.0f});
    EXPECT_EQ(0.5f, half[2].inv);
    // r = 1.5: R = 2, weights 0.5, 1, 1, 1, 0.5.
    const auto wider = RunLine(CFractionBoxBlurFloat{3, 0.25f, 4.0f, 0.5f, 2, kZero, kZero}, Grey({1, 2, 4}), 7);
    ExpectSums(wider, {0.5f, 2.0f, 5.0f, 7.0f, 6.5f, 5.0f, 2.0f});
}

TEST(BlurKernels, FractionBoxStartsFromTheFrontColour) {
    // r = 0.5 with front 2 and back 6 around the single pixel 4.
    const float front[4] = {2, 2, 2, 2}, back[4] = {6, 6, 6, 6};
    const auto out = RunLine(CFractionBoxBlurFloat{1, 0.5f, 2.0f, 0.5f, 1, front, back}, Grey({4}), 3);
    ExpectSums(out, {0.5f * 4 + 2 + 0.5f * 2, 0.5f * 6 + 4 + 0.5f * 2, 0.5f * 6 + 6 + 0.5f * 4});
}

TEST(BlurKernels, LinearIsATriangleOverTheSquaredWidth) {
    // R = 1: weights 1, 2, 1 over 4.
    const auto out = RunLine(CLinearBlurFloat{3, 1, kZero, kZero}, Grey({1, 2, 4}), 5);
    ExpectSums(out, {1, 2 + 2, 4 + 4 + 1, 8 + 2, 4});
    EXPECT_EQ(0.25f, out[0].inv);
    // R = 2: weights 1, 2, 3, 2, 1 over 9, replicated sides.
    const auto two = RunLine(CLinearBlurFloat{2, 2, nullptr, nullptr}, Grey({1, 3}), 6);
    // x: ... 1 1 | 1 3 | 3 3 ...; output i weighs x[i] 1, x[i-1] 2, x[i-2] 3, x[i-3] 2, x[i-4] 1.
    ExpectSums(two, {1 + 2 + 3 + 2 + 1, 3 + 2 + 3 + 2 + 1, 3 + 6 + 3 + 2 + 1, 3 + 6 + 9 + 2 + 1, 3 + 6 + 9 + 6 + 1,
                     3 + 6 + 9 + 6 + 3});
    EXPECT_EQ(1.0f / 9.0f, two[0].inv);
}

TEST(BlurKernels, OnePixelLineWithReplicationGivesCopiesOfIt) {
    const std::vector<STestPixel> one = Grey({0.375});
    for (uint32_t R : {1u, 2u, 5u}) {
        const auto box = RunLine(CBoxBlurFloat{1, R, nullptr, nullptr}, one, 2 * R + 1);
        const auto lin = RunLine(CLinearBlurFloat{1, R, nullptr, nullptr}, one, 2 * R + 1);
        const float r = float(R) - 0.5f, total = 2 * r + 1;
        const auto frac =
            RunLine(CFractionBoxBlurFloat{1, 1.0f / total, total, 0.5f, R, nullptr, nullptr}, one, 2 * R + 1);
        const auto rec = RunLine(CRecursiveBlurRGBA(1, double(R), nullptr, nullptr), one, 2 * R + 1);
        for (uint32_t i = 0; i < 2 * R + 1; ++i) {
            EXPECT_NEAR(0.375, box[i].sum[0] * box[i].inv, 1e-6);
            EXPECT_NEAR(0.375, lin[i].sum[0] * lin[i].inv, 1e-6);
            EXPECT_NEAR(0.375, frac[i].sum[0] * frac[i].inv, 1e-6);
            EXPECT_NEAR(0.375, rec[i].y[0], 1e-9);
            EXPECT_EQ(1, rec[i].writes);
        }
    }
}

// ---------------------------------------------------------------- recursive kernel

TEST(BlurKernels, RecursiveCoefficientsFollowYoungAndVanVliet) {
    // Values from an independent double-precision calculation of the same formulas.
    const CRecursiveBlurRGBA one(4, 1.0, nullptr, nullptr);
    EXPECT_EQ(1u, one.border);
    EXPECT_EQ(6u, one.padded);
    EXPECT_EQ(0.17040200722965418, one.b1);
    EXPECT_EQ(-0.011035039496957543, one.b2);
    EXPECT_EQ(0.00033983587580302545, one.b3);
    EXPECT_EQ(0.84029319639150035, one.B);
    const CRecursiveBlurRGBA six(7, 6.0, nullptr, nullptr);  // sigma 3: the other branch for q
    EXPECT_EQ(6u, six.border);
    EXPECT_EQ(1.6991499869544902, six.b1);
    EXPECT_EQ(-1.0176171130658551, six.b2);
    EXPECT_EQ(0.21684204725957151, six.b3);
    EXPECT_EQ(0.10162507885179339, six.B);
    // Radii below 0.62 are raised to it: R = 1.
    const CRecursiveBlurRGBA tiny(3, 0.1, nullptr, nullptr);
    EXPECT_EQ(1u, tiny.border);
    EXPECT_EQ(0.1, tiny.radiusGiven);
    EXPECT_EQ(0.0039759598555083311, tiny.b1);
}

TEST(BlurKernels, RecursiveLineMatchesTheForwardAndBackwardWalk) {
    const double zero[4] = {0, 0, 0, 0};
    const auto a = RunLine(CRecursiveBlurRGBA(4, 1.0, zero, zero), Grey({0.2, 0.9, 0.5, 0.1}), 6);
    const double ea[] = {0.036662497864788826, 0.26217713972235107, 0.74118646979589897,
                         0.48849749834887601,  0.14576314412732122, 0.019733409244193579};
    for (int i = 0; i < 6; ++i) EXPECT_EQ(ea[i], a[i].y[0]) << i;

    const double front[4] = {0.1, 0.1, 0.1, 0.1};
    const auto b = RunLine(CRecursiveBlurRGBA(7, 6.0, front, zero), Grey({0.2, 0.9, 0.5, 0.1, 0.3, 0.6, 0.4}), 19);
    const double eb[] = {0.11423780866848421, 0.12498987952120642,  0.14208374305177157, 0.16733653598050763,
                         0.20148446618284052, 0.24269003040680934,  0.28494117678063458, 0.3178175767937973,
                         0.33105355533087794, 0.32563765148681079,  0.30668831645492278, 0.27473783137048396,
                         0.22947342954327773, 0.17683629526817291,  0.12653266760471152, 0.084810678871560699,
                         0.05369876223239578, 0.032391344915031844, 0.018812082381017486};
    for (int i = 0; i < 19; ++i) {
        EXPECT_EQ(eb[i], b[i].y[3]) << i;
        EXPECT_EQ(1, b[i].writes) << i;
    }
}

TEST(BlurKernels, RecursiveRadiusTwoReadsEarlyAndWritesEveryOutput) {
    int outside = -1;
    const auto out = RunLine(CRecursiveBlurRGBA(4, 2.0, nullptr, nullptr), Grey({0.2, 0.9, 0.5, 0.1}), 8, &outside);
    const double e[] = {0.21455763464153021, 0.25382405183372198, 0.36161135127577132, 0.53297992152827023,
                        0.43376433032188488, 0.24002874915048403, 0.14366874791670939, 0.11145965268169439};
    for (int i = 0; i < 8; ++i) {
        EXPECT_EQ(e[i], out[i].y[1]) << i;
        EXPECT_EQ(1, out[i].writes) << i;  // y[L-3] is written, no index skipped
    }
    EXPECT_EQ(0, outside);
}

TEST(BlurKernels, RecursiveRadiusOneOnOnePixelStaysInsideTheLine) {
    // The forward walk asks for a second pixel; what it gets is the back colour.
    int outside = -1;
    const double front[4] = {0.25, 0.25, 0.25, 0.25}, back[4] = {0.5, 0.5, 0.5, 0.5};
    const auto out = RunLine(CRecursiveBlurRGBA(1, 1.0, front, back), Grey({0.75}), 3, &outside);
    EXPECT_EQ(0, outside);
    const double e[] = {0.31506589302269111, 0.65103432362248514, 0.56070817346747504};
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(e[i], out[i].y[2]) << i;
        EXPECT_EQ(1, out[i].writes);
    }
    // Replicated on both sides, with the smallest radius: three copies of the pixel.
    const auto same = RunLine(CRecursiveBlurRGBA(1, 0.62, nullptr, nullptr), Grey({0.75}), 3, &outside);
    EXPECT_EQ(0, outside);
    for (int i = 0; i < 3; ++i) EXPECT_EQ(0.75000000000000011, same[i].y[0]);
}

TEST(BlurKernels, RecursiveRadiusOneOnEveryShortLineReadsOnlyTheLine) {
    for (uint32_t n = 1; n <= 6; ++n) {
        std::vector<STestPixel> line(n, STestPixel{{0.5, 0.5, 0.5, 0.5}});
        for (double r : {0.62, 1.0, 1.5, 2.0, 3.0}) {
            int outside = -1;
            const CRecursiveBlurRGBA k(n, r, nullptr, nullptr);
            const auto out = RunLine(k, line, k.padded, &outside);
            EXPECT_EQ(0, outside) << n << " " << r;
            for (const SRecord& o : out) EXPECT_EQ(1, o.writes) << n << " " << r;
        }
    }
}

// ---------------------------------------------------------------- shares

TEST(BlurShares, TaskAnswersOneForAShareBeyondTheLines) {
    std::vector<STestPixel> line(4, STestPixel{{0.5, 0.5, 0.5, 0.5}});
    std::vector<SRecord> out(6 * 4);
    CTestSrc src{line.data(), 1, line.data(), line.data() + 4};
    CRecordDst dst{out.data(), 6};
    // Four lines of one pixel each (source stride 1), each written as 3 outputs (R = 1).
    CBlurTask<CTestSrc, CRecordDst, CBoxBlurFloat> task(src, dst, CBoxBlurFloat{1, 1, nullptr, nullptr}, 4);
    EXPECT_EQ(S_FALSE, task.Execute(5, 8));
    EXPECT_EQ(S_OK, task.Execute(4, 8));  // the line count itself: an empty range
    for (const SRecord& r : out) EXPECT_EQ(0, r.writes);
    for (uint32_t i = 0; i < 4; ++i) EXPECT_EQ(S_OK, task.Execute(i, 4));
    for (uint32_t l = 0; l < 4; ++l)
        for (uint32_t i = 0; i < 6; ++i) EXPECT_EQ(i < 3 ? 1 : 0, out[l * 6 + i].writes) << l << " " << i;
    EXPECT_FALSE(task.OutOfMemory());
}

// ---------------------------------------------------------------- against plain scalar sums

namespace {

// The sums written one channel at a time, straight from the definitions, with the same
// order of float operations as the engine.
struct SScalarLine {
    std::vector<float> x;  // premultiplied input of one channel
    float front, back;
    float At(int64_t j) const { return j < 0 ? front : j >= int64_t(x.size()) ? back : x[size_t(j)]; }
};

std::vector<float> ScalarBox(const SScalarLine& l, int64_t R) {
    std::vector<float> out;
    float s = float(2 * R) * l.front;
    for (int64_t i = 0; i < int64_t(l.x.size()) + 2 * R; ++i) {
        s += l.At(i);
        out.push_back(s);
        s -= l.At(i - 2 * R);
    }
    return out;
}
std::vector<float> ScalarFraction(const SScalarLine& l, int64_t R, float total, float f) {
    std::vector<float> out;
    float s = l.front * total, h = l.front * (1.0f - f), t = l.front * f;
    for (int64_t i = 0; i < int64_t(l.x.size()) + 2 * R; ++i) {
        const float e = l.At(i), o = l.At(i - 2 * R);
        s = s - t - o * (1.0f - f) + h + e * f;
        h = e - e * f;
        t = o - o * (1.0f - f);
        out.push_back(s);
    }
    return out;
}
std::vector<float> ScalarLinear(const SScalarLine& l, int64_t R) {
    std::vector<float> out;
    const int64_t d = R + 1;
    float p = float(R) * l.front, q = float(d * d - d) * l.front, t = float(R) * l.front;
    for (int64_t i = 0; i < int64_t(l.x.size()) + 2 * R; ++i) {
        p += l.At(i);
        q += p;
        p -= l.At(i - R);
        out.push_back(q);
        t += l.At(i - R);
        q -= t;
        t -= l.At(i - 2 * R);
    }
    return out;
}

std::vector<TPixelChannel> RandomPixels(size_t aCount, uint32_t aSeed) {
    std::mt19937 rng(aSeed);
    std::vector<TPixelChannel> p(aCount);
    for (auto& px : p) {
        px.n = rng();
        if (px.n % 7 == 0) px.bA = 0;  // transparent stretches
        if (px.n % 5 == 0) px.bA = 255;
    }
    return p;
}

// One line through the engine (vector lanes) and through the scalar sums.
template <class Kernel, class Scalar>
void CompareLine(const std::vector<TPixelChannel>& aLine, uint32_t R, const Kernel& aKernel, Scalar&& aScalar,
                 float aInv, const TPixelChannel* aFront, const TPixelChannel* aBack) {
    const TSRGBFloatRecord* t = Table();
    const uint32_t n = uint32_t(aLine.size());
    std::vector<TPixelChannel> engine(n + 2 * R);
    CFloatSRGBPreMulSrc src{t, aLine.data(), n};
    CFloatSRGBDeMulDst dst{t, engine.data(), n + 2 * R};
    SLineScratch scratch;
    aKernel.Line(src, aLine.data(), dst, engine.data(), scratch);

    std::vector<float> channel[4];
    for (int c = 0; c < 4; ++c) {
        SScalarLine l;
        auto value = [&](TPixelChannel p) {
            const float a = float(p.bA) * 0.003921569f;
            const uint8_t bytes[3] = {p.bB, p.bG, p.bR};
            return c == 3 ? a : a * t->toLinear[bytes[c]];
        };
        for (const TPixelChannel& p : aLine) l.x.push_back(value(p));
        l.front = aFront ? value(*aFront) : l.x.front();
        l.back = aBack ? value(*aBack) : l.x.back();
        channel[c] = aScalar(l);
    }
    for (uint32_t i = 0; i < n + 2 * R; ++i) {
        TPixelChannel expected;
        const float sa = channel[3][i];
        if (!(sa * aInv > 0.0019607844f)) {
            expected.n = 0;
        } else {
            const float u = 1.0f / sa;
            auto enc = [&](float s) {
                float v = s * u;
                v = v < 0.00012207031f ? 0.00012207031f : v > 0.99999994f ? 0.99999994f : v;
                return EncodeSRGB8(t, v);
            };
            expected.bB = enc(channel[0][i]);
            expected.bG = enc(channel[1][i]);
            expected.bR = enc(channel[2][i]);
            expected.bA = uint8_t(uint32_t(sa * (aInv * 255.0f) + 0.5f));
        }
        ASSERT_EQ(expected.n, engine[i].n) << "output " << i;
    }
}

}  // namespace

TEST(BlurKernels, VectorLanesAgreeWithScalarSumsBitForBit) {
    const TSRGBFloatRecord* t = Table();
    TPixelChannel def;
    def.n = 0x80336699;
    for (uint32_t n : {1u, 2u, 5u, 33u, 300u}) {
        const auto line = RandomPixels(n, 17 + n);
        for (uint32_t R : {1u, 2u, 7u, 40u}) {
            for (int sides = 0; sides < 2; ++sides) {
                const TPixelChannel* f = sides ? &def : nullptr;
                const float a = float(def.bA) * 0.003921569f;
                const float fv[4] = {a * t->toLinear[def.bB], a * t->toLinear[def.bG], a * t->toLinear[def.bR], a};
                const float* fp = sides ? fv : nullptr;
                CompareLine(
                    line, R, CBoxBlurFloat{n, R, fp, fp}, [&](const SScalarLine& l) { return ScalarBox(l, R); },
                    1.0f / float(2 * R + 1), f, f);
                CompareLine(
                    line, R, CLinearBlurFloat{n, R, fp, fp}, [&](const SScalarLine& l) { return ScalarLinear(l, R); },
                    1.0f / float((R + 1) * (R + 1)), f, f);
                const float r = float(R) - 0.3f, total = 2.0f * r + 1.0f, edge = r + 1.0f - float(R);
                CompareLine(
                    line, R, CFractionBoxBlurFloat{n, 1.0f / total, total, edge, R, fp, fp},
                    [&](const SScalarLine& l) { return ScalarFraction(l, R, total, edge); }, 1.0f / total, f, f);
            }
        }
    }
}

TEST(BlurKernels, FullyTransparentStretchComesOutAsZero) {
    const TSRGBFloatRecord* t = Table();
    std::vector<TPixelChannel> line(40);
    for (int i = 0; i < 5; ++i) line[i].n = 0xFFFF0000;  // opaque red, then transparent red-less pixels
    for (int i = 5; i < 40; ++i) line[i].n = 0x00FF0000;
    std::vector<TPixelChannel> out(40 + 6);
    const float zero[4] = {0, 0, 0, 0};
    SLineScratch scratch;
    CBoxBlurFloat{40, 3, zero, zero}.Line(CFloatSRGBPreMulSrc{t, line.data(), 40}, line.data(),
                                          CFloatSRGBDeMulDst{t, out.data(), 46}, out.data(), scratch);
    EXPECT_EQ(0xFFu, out[5].bR);
    for (int i = 12; i < 46; ++i) EXPECT_EQ(0u, out[i].n) << i;  // not red with alpha 0
}

TEST(BlurKernels, OpaqueLinesKeepAlpha255) {
    const TSRGBFloatRecord* t = Table();
    std::vector<TPixelChannel> line = RandomPixels(200, 3);
    for (auto& p : line) p.bA = 255;
    for (uint32_t R : {1u, 3u, 10u, 33u}) {
        std::vector<TPixelChannel> out(200 + 2 * R);
        SLineScratch scratch;
        CFloatSRGBPreMulSrc src{t, line.data(), 200};
        CFloatSRGBDeMulDst dst{t, out.data(), 200 + 2 * R};
        CBoxBlurFloat{200, R, nullptr, nullptr}.Line(src, line.data(), dst, out.data(), scratch);
        for (const auto& p : out) ASSERT_EQ(255, p.bA) << "box " << R;
        CLinearBlurFloat{200, R, nullptr, nullptr}.Line(src, line.data(), dst, out.data(), scratch);
        for (const auto& p : out) ASSERT_EQ(255, p.bA) << "linear " << R;
        const float r = float(R) - 0.5f, total = 2 * r + 1;
        CFractionBoxBlurFloat{200, 1.0f / total, total, 0.5f, R, nullptr, nullptr}.Line(src, line.data(), dst,
                                                                                        out.data(), scratch);
        for (const auto& p : out) ASSERT_EQ(255, p.bA) << "fraction " << R;
    }
}

namespace {

// A two-axis blur through the engine with the intermediate stored by columns (each line of
// the first pass a column) or by rows (the second pass reads columns in groups).
template <class Kernel, class MakeKernel>
std::vector<TPixelChannel> TwoAxis(const std::vector<TPixelChannel>& aImage, uint32_t aW, uint32_t aH, uint32_t aR,
                                   MakeKernel&& aMake, bool aRows) {
    const TSRGBFloatRecord* t = Table();
    const uint32_t E = aW + 2 * aR;
    std::vector<TWidePixel> wide(size_t(E) * aH);
    std::vector<TPixelChannel> out(size_t(E) * (aH + 2 * aR));
    constexpr bool recursive = kIsRecursive<Kernel>;
    using ColumnSrc = std::conditional_t<recursive, CWideSrc, CFloatWideSrc>;
    using RowSrc = std::conditional_t<recursive, CWideColumnSrc, CFloatWideColumnSrc>;
    if (aRows) {
        CBlurTask<CFloatSRGBPreMulSrc, CWideRowDst, Kernel>({t, aImage.data(), aW}, {wide.data(), E}, aMake(aW), aH)
            .Execute(0, 1);
        CBlurTask<RowSrc, CFloatSRGBDeMulTransposingDst, Kernel>({wide.data(), E}, {t, out.data(), E}, aMake(aH), E)
            .Execute(0, 1);
    } else {
        CBlurTask<CFloatSRGBPreMulSrc, CWideTransposingDst, Kernel>({t, aImage.data(), aW}, {wide.data(), aH},
                                                                    aMake(aW), aH)
            .Execute(0, 1);
        CBlurTask<ColumnSrc, CFloatSRGBDeMulTransposingDst, Kernel>({wide.data(), aH}, {t, out.data(), E}, aMake(aH), E)
            .Execute(0, 1);
    }
    return out;
}

template <class Kernel, class MakeKernel>
void ExpectSameLayouts(uint32_t aR, MakeKernel&& aMake) {
    const uint32_t w = 45, h = 38;
    const auto image = RandomPixels(size_t(w) * h, 99 + aR);
    const auto a = TwoAxis<Kernel>(image, w, h, aR, aMake, false);
    const auto b = TwoAxis<Kernel>(image, w, h, aR, aMake, true);
    ASSERT_EQ(a.size(), b.size());
    for (size_t i = 0; i < a.size(); ++i) ASSERT_EQ(a[i].n, b[i].n) << i;
}

}  // namespace

TEST(BlurKernels, IntermediateStoredByRowsGivesTheSamePixelsAsByColumns) {
    const float zero[4] = {0, 0, 0, 0};
    ExpectSameLayouts<CBoxBlurFloat>(3, [&](uint32_t n) { return CBoxBlurFloat(n, 3, zero, nullptr); });
    ExpectSameLayouts<CLinearBlurFloat>(4, [&](uint32_t n) { return CLinearBlurFloat(n, 4, nullptr, zero); });
    ExpectSameLayouts<CFractionBoxBlurFloat>(
        2, [&](uint32_t n) { return CFractionBoxBlurFloat(n, 1.0f / 4.0f, 4.0f, 0.5f, 2, zero, zero); });
    const double zeroD[4] = {0, 0, 0, 0};
    ExpectSameLayouts<CRecursiveBlurRGBA>(5, [&](uint32_t n) { return CRecursiveBlurRGBA(n, 5.0, zeroD, nullptr); });
}

// ---------------------------------------------------------------- streamed two-axis blur

namespace {

// R of a kernel: the finite kernels' radius, the recursive kernel's border.
template <class Kernel>
uint32_t ReachOf(const Kernel& aKernel) {
    if constexpr (kIsRecursive<Kernel>)
        return aKernel.border;
    else
        return aKernel.radius;
}

// The two passes as written: rows into the columns of a wide intermediate, its rows (the
// image's columns) into the columns of the target.
template <class Kernel>
std::vector<TPixelChannel> TwoPasses(const std::vector<TPixelChannel>& aImage, uint32_t aStride, const Kernel& aRows,
                                     const Kernel& aColumns) {
    const TSRGBFloatRecord* t = Table();
    const uint32_t W = aRows.length, H = aColumns.length, E = W + 2 * ReachOf(aRows);
    std::vector<TWidePixel> wide(size_t(E) * H);
    std::vector<TPixelChannel> out(size_t(E) * (H + 2 * ReachOf(aColumns)));
    CBlurTask<CFloatSRGBPreMulSrc, CWideTransposingDst, Kernel>({t, aImage.data(), aStride}, {wide.data(), H}, aRows, H)
        .Execute(0, 1);
    using WideSrc = std::conditional_t<kIsRecursive<Kernel>, CWideSrc, CFloatWideSrc>;
    CBlurTask<WideSrc, CFloatSRGBDeMulTransposingDst, Kernel>({wide.data(), H}, {t, out.data(), E}, aColumns, E)
        .Execute(0, 1);
    return out;
}

template <class Kernel>
void ExpectStreamedAsTwoPasses(uint32_t aW, uint32_t aH, const Kernel& aRows, const Kernel& aColumns,
                               IThreadPool* aPool) {
    const uint32_t stride = aW + 3;  // the blurred area inside a wider buffer
    const auto image = RandomPixels(size_t(stride) * aH, aW * 131 + aH);
    const auto expected = TwoPasses(image, stride, aRows, aColumns);
    std::vector<TPixelChannel> out(expected.size());
    // The AVX2 form, and the AVX-512 form where the processor has it.
    for (int form = 0; form < (WideLookupsAvailable() ? 2 : 1); ++form) {
        std::fill(out.begin(), out.end(), TPixelChannel{});
        if constexpr (kIsRecursive<Kernel>) {
            std::vector<TWidePixel> wide(RecursiveIntermediateLength(aRows, aColumns));
            const HRESULT hr =
                form == 0 ? avx2::CRecursiveTwoAxisBlur(Table(), image.data(), stride, out.data(), aRows, aColumns)
                                .Run(aPool, wide.data())
                          : avx512::CRecursiveTwoAxisBlur(Table(), image.data(), stride, out.data(), aRows, aColumns)
                                .Run(aPool, wide.data());
            ASSERT_EQ(S_OK, hr);
        } else {
            const HRESULT hr =
                form == 0
                    ? avx2::CStreamedBlur<Kernel>(Table(), image.data(), stride, out.data(), aRows, aColumns).Run(aPool)
                    : avx512::CStreamedBlur<Kernel>(Table(), image.data(), stride, out.data(), aRows, aColumns)
                          .Run(aPool);
            ASSERT_EQ(S_OK, hr);
        }
        for (size_t i = 0; i < out.size(); ++i)
            ASSERT_EQ(expected[i].n, out[i].n) << (form ? "AVX-512 " : "AVX2 ") << aW << "x" << aH << " reach "
                                               << ReachOf(aRows) << "/" << ReachOf(aColumns) << " pixel "
                                               << i % (aW + 2 * ReachOf(aRows)) << "," << i / (aW + 2 * ReachOf(aRows));
    }
}

// The AVX-512 look-ups, called from code of their own target.
#define ZT_WIDE_TARGET __attribute__((target("avx2,avx512f,avx512bw,avx512vl,avx512vbmi")))

ZT_WIDE_TARGET void WideLinearRow(const TPixelChannel* aIn, v4f* aOut, uint64_t aCount) {
    const avx512::CLinearRow linear(Table());
    linear(aIn, aOut, aCount, 1);
}

// EncodeSRGB8x8 of the AVX-512 and of the AVX2 form over a run of values, eight at a time.
ZT_WIDE_TARGET void WideEncode(const float* aIn, uint8_t* aOut, size_t aCount) {
    const avx512::CEncoderEntries entries(Table());
    for (size_t i = 0; i < aCount; i += 8) {
        v8f v;
        std::memcpy(&v, aIn + i, sizeof v);
        const v8u bytes = avx512::EncodeSRGB8x8(entries, v);
        for (int k = 0; k < 8; ++k) aOut[i + k] = uint8_t(bytes[k]);
    }
}
__attribute__((target("avx2"))) void NarrowEncode(const float* aIn, uint8_t* aOut, size_t aCount) {
    const avx2::CEncoderEntries entries(Table());
    for (size_t i = 0; i < aCount; i += 8) {
        v8f v;
        std::memcpy(&v, aIn + i, sizeof v);
        const v8u bytes = avx2::EncodeSRGB8x8(entries, v);
        for (int k = 0; k < 8; ++k) aOut[i + k] = uint8_t(bytes[k]);
    }
}

}  // namespace

TEST(BlurStreamed, PermutedTableReadsEveryPixelAsTheScalarSource) {
    if (!WideLookupsAvailable()) GTEST_SKIP() << "no AVX-512 with byte permutes on this processor";
    // Every byte in every channel, alpha included, at every place of a run of sixteen, and a
    // tail shorter than sixteen.
    std::vector<TPixelChannel> in(256 * 4 + 13);
    for (size_t i = 0; i < in.size(); ++i) {
        const uint8_t b = uint8_t(i), c = uint8_t(i * 7 + 3);
        switch (i / 256) {
            case 0:
                in[i].n = uint32_t(b) | uint32_t(c) << 8 | uint32_t(255 - b) << 16 | uint32_t(c ^ 0x5A) << 24;
                break;
            case 1: in[i].n = uint32_t(c) | uint32_t(b) << 8 | uint32_t(c) << 16 | uint32_t(b) << 24; break;
            case 2: in[i].n = uint32_t(255 - c) | uint32_t(c) << 8 | uint32_t(b) << 16 | 0xFFu << 24; break;
            default: in[i].n = uint32_t(i * 2654435761u); break;
        }
    }
    std::vector<v4f> out(in.size());
    WideLinearRow(in.data(), out.data(), in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        const v4f want = PreMulLinearF(Table(), in[i]);
        for (int c = 0; c < 4; ++c) ASSERT_EQ(Bits(want[c]), Bits(out[i][c])) << "pixel " << i << " lane " << c;
    }
}

TEST(BlurStreamed, BothEncoderFormsAgreeWithTheScalarEncoder) {
    if (!StreamedBlurAvailable()) GTEST_SKIP() << "no AVX2 on this processor";
    // Every entry of the table at several points of its step, and both ends of the clamp.
    std::vector<float> in;
    for (uint32_t bits = 0x39000000u; bits <= 0x3F7FFFFFu; bits += 0x1F3A7u) {
        float v;
        std::memcpy(&v, &bits, sizeof v);
        in.push_back(v);
    }
    in.push_back(kEncodeLow);
    in.push_back(kEncodeHigh);
    while (in.size() % 8) in.push_back(0.5f);
    std::vector<uint8_t> narrow(in.size()), wide(in.size());
    const bool wideToo = WideLookupsAvailable();
    NarrowEncode(in.data(), narrow.data(), in.size());
    if (wideToo) WideEncode(in.data(), wide.data(), in.size());
    for (size_t i = 0; i < in.size(); ++i) {
        ASSERT_EQ(EncodeSRGB8(Table(), in[i]), narrow[i]) << in[i];
        if (wideToo) {
            ASSERT_EQ(EncodeSRGB8(Table(), in[i]), wide[i]) << in[i];
        }
    }
}

TEST(BlurStreamed, GivesTheTwoPassesPixelsBitForBit) {
    if (!StreamedBlurAvailable()) GTEST_SKIP() << "no AVX2 on this processor";
    const TSRGBFloatRecord* t = Table();
    TPixelChannel def;
    def.n = 0x80336699;
    const float a = float(def.bA) * 0.003921569f;
    const float side[4] = {a * t->toLinear[def.bB], a * t->toLinear[def.bG], a * t->toLinear[def.bR], a};
    const uint32_t threadsBefore = zthost::ThreadCount();
    zthost::SetThreadCount(3);
    ComPtr<IThreadPool> pool = zthost::Create<IThreadPool>(CLSID_ThreadPool);
    // Small and odd sizes, reaches longer than the lines, and heights that wrap the ring.
    const uint32_t sizes[][3] = {{45, 38, 3},  {1, 1, 2},    {1, 20, 1},    {20, 1, 4},  {7, 3, 5},
                                 {300, 70, 3}, {33, 200, 1}, {19, 150, 40}, {64, 64, 10}};
    for (IThreadPool* p : {static_cast<IThreadPool*>(nullptr), pool.get()}) {
        for (const auto& s : sizes) {
            const uint32_t w = s[0], h = s[1], r = s[2];
            ExpectStreamedAsTwoPasses(w, h, CBoxBlurFloat(w, r, side, nullptr), CBoxBlurFloat(h, r, nullptr, side), p);
            ExpectStreamedAsTwoPasses(w, h, CBoxBlurFloat(w, r, nullptr, nullptr),
                                      CBoxBlurFloat(h, r + 1, nullptr, nullptr), p);
            ExpectStreamedAsTwoPasses(w, h, CLinearBlurFloat(w, r, nullptr, side),
                                      CLinearBlurFloat(h, r, side, nullptr), p);
            ExpectStreamedAsTwoPasses(w, h, CLinearBlurFloat(w, r, side, side), CLinearBlurFloat(h, r, side, side), p);
            const float f = float(r) - 0.4f, total = 2.0f * f + 1.0f, edge = f + 1.0f - float(r);
            ExpectStreamedAsTwoPasses(w, h, CFractionBoxBlurFloat(w, 1.0f / total, total, edge, r, nullptr, side),
                                      CFractionBoxBlurFloat(h, 1.0f / total, total, edge, r, side, nullptr), p);
            const double sideD[4] = {side[0], side[1], side[2], side[3]};
            for (double radius : {double(r), 0.3, 1.5, 2.2})
                ExpectStreamedAsTwoPasses(w, h, CRecursiveBlurRGBA(w, radius, nullptr, sideD),
                                          CRecursiveBlurRGBA(h, radius * 1.3, sideD, nullptr), p);
            ExpectStreamedAsTwoPasses(w, h, CRecursiveBlurRGBA(w, r, sideD, sideD),
                                      CRecursiveBlurRGBA(h, r, nullptr, nullptr), p);
        }
    }
    zthost::SetThreadCount(threadsBefore);
}

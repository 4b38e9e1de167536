// The blender's pixel operators against the table that tools/compose_reference.py works out
// from their formulas on its own, pixel pairs on every alpha branch; and a few by hand.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <vector>

#include "operations/script/compose_kernels.h"

using namespace zt;

namespace {

struct SCase {
    uint32_t mode, d, s, expected;
};
const SCase kCases[] = {
#include "tests/unit/data/compose_pixels.inc"
};

}  // namespace

TEST(ComposePixel, EveryPixelOperatorOnEveryAlphaBranch) {
    int failures = 0;
    for (const SCase& c : kCases) {
        ASSERT_TRUE(IsPixelOperator(c.mode)) << c.mode;
        const uint32_t got = ComposePixel(c.mode, c.d, c.s);
        if (got != c.expected && ++failures <= 10) {
            ADD_FAILURE() << "mode " << c.mode << std::hex << " d " << c.d << " s " << c.s << ": " << got
                          << ", expected " << c.expected;
        }
    }
    EXPECT_EQ(0, failures);
    EXPECT_EQ(35u * 36u, sizeof kCases / sizeof kCases[0]);
}

TEST(ComposePixel, ByHand) {
    // SrcOver of opaque red over anything is opaque red: Sc = Pm(255, 255) = 255, alpha U = 255,
    // Finish with r = 16711680 / 255 = 65536 gives 255 back.
    EXPECT_EQ(0xFFFF0000u, ComposePixel(OpSrcOver, 0x80123456u, 0xFFFF0000u));
    // A clear source under a guarded operator: the pixel passes premultiply and Finish only.
    // Pm(200, 128) = (200 x 128 x 65793 + 2^23) >> 24 = 100; Finish: r = 16711680 / 128 = 130560,
    // (100 x 130560 + 32768) >> 16 = 199: a rounding step of one.
    EXPECT_EQ(0x80C7C7C7u, ComposePixel(OpMultiply, 0x80C8C8C8u, 0x00FFFFFFu));
    // Straight multiply of 255 and 255: (65025 x 65793 + 32768) >> 24 = 255.
    EXPECT_EQ(0xFFFFFFFFu, ComposePixel(OpRGBAMultiply, 0xFFFFFFFFu, 0xFFFFFFFFu));
    EXPECT_EQ(0u, ComposePixel(OpClear, 0xFFFFFFFFu, 0xFFFFFFFFu));
    // The three operators that are not pixel operators.
    EXPECT_FALSE(IsPixelOperator(OpNormalBumpmap));
    EXPECT_FALSE(IsPixelOperator(OpMapChannels));
    EXPECT_FALSE(IsPixelOperator(OpNormalReflection));
}

TEST(HeightToNormal, FlatIsStraightUpAndSlopesTiltByHand) {
    std::vector<uint32_t> flat(6, 0x80404040u);
    HeightToNormal(flat.data(), flat.data(), 3, 2, 256);
    for (uint32_t p : flat) EXPECT_EQ(0x807F7FFEu, p);  // red 127, green 127, blue 254, alpha kept
    // Heights 0, 50, 100 (red 0, 100, 200) in one row: dx = 25 everywhere, dy = 0.
    std::vector<uint32_t> ramp = {0xFF000000u, 0xFF640000u, 0xFFC80000u};
    HeightToNormal(ramp.data(), ramp.data(), 3, 1, 256);
    for (uint32_t p : ramp) EXPECT_EQ(0xFF667FE5u, p);  // red 127 - 25, blue 254 - 25
    // A steep slope takes the other branch: dx = 300, f = 254 / 300, red 127 - 254 wraps to 129.
    std::vector<uint32_t> steep = {0xFF000000u, 0xFFC80000u};
    HeightToNormal(steep.data(), steep.data(), 2, 1, 1536);
    for (uint32_t p : steep) EXPECT_EQ(0xFF817F7Fu, p);
}

TEST(Bumpmap, AFlatNormalLeavesThePixelAndASideLightDarkens) {
    const float lz = std::sqrt(0.67999995f);
    std::vector<uint32_t> d = {0xFF808080u, 0x00808080u, 0xFFFFFFFFu};
    const std::vector<uint32_t> s = {0xFF7F7FFEu, 0xFFE37F7Fu, 0xFFE37F7Fu};
    Bumpmap(d.data(), s.data(), 3, -0.4f, 0.4f, lz);
    EXPECT_EQ(0xFF808080u, d[0]);  // flat: delta 0
    EXPECT_EQ(0x00808080u, d[1]);  // clear pixels are left alone
    // n = (100, 0, 0): m = 0.5, delta = trunc(-40 / 0.5 - 200 lz) = -244.
    EXPECT_EQ(0xFF0B0B0Bu, d[2]);
}

TEST(Displace, RedPushesAgainstAndTheOffsetsWrap) {
    std::vector<uint32_t> d = {0xA, 0xB, 0xC};
    const std::vector<uint32_t> s(3, 0xFF807F00u);  // red 128: one pixel, green 127: none
    Displace(d.data(), s.data(), 3, 1, 1.0f);
    EXPECT_EQ((std::vector<uint32_t>{0xC, 0xA, 0xB}), d);
}

TEST(MapChannelPixels, ThePlainCopyAndTheConversionAddressBytesTheirOwnWays) {
    const auto code = [](uint32_t s1, uint32_t s2, uint32_t s3, uint32_t s4, uint32_t d1, uint32_t d2, uint32_t d3,
                         uint32_t d4) {
        return s1 | s2 << 4 | s3 << 8 | s4 << 12 | d1 << 16 | d2 << 20 | d3 << 24 | d4 << 28;
    };
    const uint32_t R = 1, G = 2, B = 3, A = 4, Y = 5, Cb = 6, Cr = 7;
    std::vector<uint32_t> d = {0};
    const std::vector<uint32_t> s = {0x11223344u};
    // Plain copy: dst1 (red) takes the source byte labelled red, byte 2, into byte 0.
    MapChannelPixels(d.data(), s.data(), 1, code(B, G, R, A, R, G, B, A));
    EXPECT_EQ(0x11443322u, d[0]);
    // Conversion: R 200, G 100, B 50 give Y 124, Cb 86, Cr 182; dst1 writes byte 2.
    d = {0};
    const std::vector<uint32_t> rgb = {0xFFC86432u};
    MapChannelPixels(d.data(), rgb.data(), 1, code(B, G, R, A, Y, Cb, Cr, A));
    EXPECT_EQ(0xFF7C56B6u, d[0]);
    // Alpha asked for by one of the first three targets: nothing changes.
    d = {0x12345678u};
    MapChannelPixels(d.data(), rgb.data(), 1, code(B, G, R, Y, A, Cb, Cr, 0));
    EXPECT_EQ(0x12345678u, d[0]);
}

TEST(NormalReflection, AnOpaqueMapOfOneColourGivesThatColourAndAClearOneShowsTheTarget) {
    const std::vector<uint32_t> normals(4 * 3, 0xFF7F7FFEu);
    std::vector<uint32_t> d = {0xFF102030u, 0xFF102030u, 0x00102030u, 0xFF102030u, 0xFF102030u, 0xFF102030u,
                               0xFF102030u, 0xFF102030u, 0xFF102030u, 0xFF102030u, 0xFF102030u, 0xFF102030u};
    const std::vector<uint32_t> blue(5 * 4, 0xFF0000FFu);
    NormalReflection(d.data(), normals.data(), 4, 3, blue.data(), 5, 4);
    for (size_t i = 0; i < d.size(); ++i) EXPECT_EQ(i == 2 ? 0x00102030u : 0xFF0000FFu, d[i]) << i;
    const std::vector<uint32_t> clear(5 * 4, 0x00FFFFFFu);
    std::vector<uint32_t> same(12, 0xFF102030u);
    NormalReflection(same.data(), normals.data(), 4, 3, clear.data(), 5, 4);
    EXPECT_EQ(std::vector<uint32_t>(12, 0xFF102030u), same);
    // A zero normal is not guarded against: its ray is not a number and samples the map's corner.
    std::vector<uint32_t> flat(12, 0xFF102030u);
    const std::vector<uint32_t> zero(12, 0xFF7F7F7Fu);
    NormalReflection(flat.data(), zero.data(), 4, 3, blue.data(), 5, 4);
    EXPECT_EQ(std::vector<uint32_t>(12, 0xFF0000FFu), flat);
}

// The blender's pixel operators against the table that tools/compose_reference.py works out
// from their formulas on its own, pixel pairs on every alpha branch; and a few by hand.
#include <gtest/gtest.h>

#include <cstdio>

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

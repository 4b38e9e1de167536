#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <limits>

#include "operations/colour/shift_hue_kernels.h"

using namespace zt;

namespace {
TPixelChannel Pixel(uint32_t n) {
    TPixelChannel p;
    p.n = n;
    return p;
}
}  // namespace

TEST(ShiftHuePixel, ShiftOfAnAngleIsTruncatedSixteenBitTurn) {
    EXPECT_EQ(21845u, ShiftHueShift(120.0f));
    EXPECT_EQ(0u, ShiftHueShift(0.0f));
    EXPECT_EQ(static_cast<uint32_t>(-1820), ShiftHueShift(-10.0f));  // -10/360*65535 = -1820.4
}

TEST(ShiftHuePixel, SaturatedRedTurnedBy120DegreesIsGreen) {
    EXPECT_EQ(0xFF00FF00u, ShiftHuePixel(Pixel(0xFFFF0000u), ShiftHueShift(120.0f)).n);
    EXPECT_EQ(0x800000FFu, ShiftHuePixel(Pixel(0x8000FF00u), ShiftHueShift(120.0f)).n);  // green to blue
}

TEST(ShiftHuePixel, GreysAreUnchangedAtAngleZero) {
    for (uint32_t v = 0; v < 256; ++v) {
        uint32_t grey = 0xFF000000u | v * 0x010101u;
        EXPECT_EQ(grey, ShiftHuePixel(Pixel(grey), 0).n);
    }
}

TEST(ShiftHuePixel, AngleZeroRoundsThroughTheIntegerModel) {
    // Hand computed: L = 32000, S = 39321, h = 3640, high = 51200, low = 12800; the green
    // channel comes out as 25597 >> 8 = 99.
    EXPECT_EQ(0xFFC86332u, ShiftHuePixel(Pixel(0xFFC86432u), 0).n);
}

TEST(ShiftHuePixel, AngleZeroCanMoveTheWeakChannelsOfABrightSaturatedColour) {
    // Hand computed: L = 33408 (above half), S = 63955, h = 43734, high = 64761, low = 2055;
    // red rises by w = 43 only (8), green stays on low (8), blue reaches high (252).
    EXPECT_EQ(0xFF0808FCu, ShiftHuePixel(Pixel(0xFF0A09FCu), 0).n);
}

TEST(ShiftHuePixel, TransparentPixelGetsTransformedColourAndKeepsAlphaZero) {
    EXPECT_EQ(0x00C86332u, ShiftHuePixel(Pixel(0x00C86432u), 0).n);
    EXPECT_EQ(0x0000FF00u, ShiftHuePixel(Pixel(0x00FF0000u), ShiftHueShift(120.0f)).n);
}

TEST(HueChannel, PiecesOfTheTurn) {
    EXPECT_EQ(255u, HueChannel(0, 65280, 21845));  // plateau
    EXPECT_EQ(0u, HueChannel(0, 65280, 0));        // start of the rise: w = 0
    EXPECT_EQ(0u, HueChannel(0, 65280, 43690));    // w = 1 truncates to nothing
    EXPECT_EQ(50u, HueChannel(12800, 51200, 47331));
}

TEST(TruncateToInt32, CastWithinTheRangeHeldBeyondItAndNaNIsZero) {
    EXPECT_EQ(-3, TruncateToInt32(-3.9f));
    EXPECT_EQ(2147483520, TruncateToInt32(2147483520.0f));  // the largest float below 2^31
    EXPECT_EQ(INT32_MAX, TruncateToInt32(1e30f));
    EXPECT_EQ(INT32_MIN, TruncateToInt32(-1e30f));
    EXPECT_EQ(0, TruncateToInt32(std::numeric_limits<float>::quiet_NaN()));
}

TEST(ShiftHuePixel, AnAngleBeyondAnyTurnGivesADefinedShift) {
    EXPECT_EQ(static_cast<uint32_t>(INT32_MAX), ShiftHueShift(1e30f));
    EXPECT_EQ(0u, ShiftHueShift(std::numeric_limits<float>::quiet_NaN()));
}

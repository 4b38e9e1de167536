// The integer HLS pixel function of Shift hue: works on encoded bytes, no gamma.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "frame/host.h"
#include "frame/numeric.h"

namespace zt {

// One channel of the integer model; u is a position on the 16-bit hue circle.
inline uint32_t HueChannel(uint32_t aLow, uint32_t aHigh, uint32_t aU) {
    const uint32_t v = (aU + 10922) & 0xFFFF;
    const uint32_t m = v < 32768 ? v : 65535 - v;
    // 0 below a sixth of the turn, rising to 10922 at a third: the clamp keeps it free of branches.
    const uint32_t w = uint32_t(std::clamp(int32_t(m) - 10922, 0, 10922));
    return (((aHigh - aLow) * w) / 10922 + aLow) >> 8;
}

// The shift for an angle in degrees: 16 bits of a full turn, truncated.
inline uint32_t ShiftHueShift(float aAngle) {
    return static_cast<uint32_t>(TruncateToInt32(aAngle / 360.0f * 65535.0f));
}

inline TPixelChannel ShiftHuePixel(TPixelChannel aPixel, uint32_t aShift) {
    const int32_t r = aPixel.bR, g = aPixel.bG, b = aPixel.bB;
    const int32_t mx = std::max(std::max(r, g), b), mn = std::min(std::min(r, g), b);
    const int32_t d = mx - mn, sum = mx + mn;
    const uint32_t lightness = uint32_t(sum) * 128;
    TPixelChannel out;
    if (d == 0) {
        out.n = (lightness >> 8) * 0x010101u | (aPixel.n & 0xFF000000u);
        return out;
    }
    const uint32_t denominator = lightness < 32768 ? uint32_t(sum) : uint32_t(510 - sum);
    const uint32_t saturation = uint32_t(d) * 65535 / denominator;
    const int32_t six = d * 6;
    const int32_t sector = r == mx ? g - b : (g == mx ? 2 * d - r + b : 4 * d - g + r);
    const int32_t h = sector * 65535 / six;  // signed: red sectors may turn negative
    const uint32_t t = (uint32_t(h) + aShift) & 0xFFFF;
    uint32_t q = saturation * lightness / 65535;
    if (lightness > 32767) q = saturation - q;
    const uint32_t high = lightness + q, low = lightness - q;
    out.n = HueChannel(low, high, t + 21845) << 16 | HueChannel(low, high, t) << 8 | HueChannel(low, high, t - 21845) |
            (aPixel.n & 0xFF000000u);
    return out;
}

struct CShiftHueOp {
    static constexpr bool kKeepsAlphaTotal = true;
    uint32_t shift;
    std::atomic<uint64_t>* alphaTotal;
    TPixelChannel Apply(TPixelChannel aPixel) const { return ShiftHuePixel(aPixel, shift); }
};

}  // namespace zt

// The radial and zoom blurs: 8-bit stored values in 16.16 fixed point, no gamma.
#pragma once

#include <cstdint>

#include "frame/host.h"
#include "frame/numeric.h"

namespace zt {

// Products and sums run in 64 bits and are cut back to 32, which is what 32-bit wrapping
// arithmetic gives without its undefined behaviour on overflow.
inline int32_t Wrap32(int64_t a) { return int32_t(uint32_t(uint64_t(a))); }

struct SRadialSums {
    uint32_t a = 0, r = 0, g = 0, b = 0, count = 0;
    void Add(TPixelChannel p) {
        a += p.bA;
        r += uint32_t(p.bR) * p.bA;
        g += uint32_t(p.bG) * p.bA;
        b += uint32_t(p.bB) * p.bA;
        ++count;
    }
};

// The angle step in 16.16: trunc(a * 3.141528 * 65536 / 181) in single precision, then / 64.
// The two constants are the ones the blur has always used, not pi and 180.
inline int32_t RadialStep(float aAngle) {
    const float tt = aAngle * 3.141528f * 65536.0f / 181.0f;
    // Far beyond any slider; keeps the conversion defined.
    const float limited = tt > 2.0e9f ? 2.0e9f : tt < -2.0e9f ? -2.0e9f : tt;
    return TruncateToInt32(limited) / 64;  // NaN turns by nothing
}

struct SFixedPoint {
    int32_t x, y;
};

// One rotation step by s with the second-order term c.
inline SFixedPoint RadialRotate(SFixedPoint p, int32_t s, int32_t c) {
    const int64_t px = p.x, py = p.y;
    // The inner sum and difference are taken in 64 bits: only the final wrap to 32 bits counts,
    // and a 32-bit sum could overflow at extreme angles.
    const int32_t nx = Wrap32(px - (int64_t(Wrap32(((px >> 14) * c) >> 8)) + Wrap32(((py >> 8) * s) >> 8)));
    const int32_t ny = Wrap32(py + (int64_t(Wrap32(((px >> 8) * s) >> 8)) - Wrap32(((py >> 14) * c) >> 8)));
    return {nx, ny};
}

// The whole radial blur of a w x h image, tightly packed, into aOut.
inline void RadialBlur(const TPixelChannel* aIn, TPixelChannel* aOut, uint32_t aW, uint32_t aH, float aAngle) {
    const int32_t t = RadialStep(aAngle);
    const int32_t c = Wrap32((int64_t(t) * t) >> 11);  // the same for -t
    const int64_t cx = (int64_t(aW) << 15) + 32768, cy = (int64_t(aH) << 15) + 32768;
    for (uint32_t y = 0; y < aH; ++y) {
        for (uint32_t x = 0; x < aW; ++x) {
            const TPixelChannel self = aIn[size_t(y) * aW + x];
            SRadialSums s;
            s.Add(self);
            SFixedPoint p{Wrap32((int64_t(x) << 16) - (int64_t(aW) << 15)),
                          Wrap32((int64_t(y) << 16) - (int64_t(aH) << 15))};
            SFixedPoint one = p, two = p;
            auto sample = [&](SFixedPoint q) {
                const int64_t sx = (cx + q.x) >> 16, sy = (cy + q.y) >> 16;
                if (sx < 0 || sy < 0 || sx >= int64_t(aW) || sy >= int64_t(aH)) return;
                s.Add(aIn[size_t(sy) * aW + size_t(sx)]);
            };
            for (int round = 0; round < 32; ++round) {
                for (int half = 0; half < 2; ++half) {
                    one = RadialRotate(one, t, c);
                    two = RadialRotate(two, -t, c);
                    sample(one);
                    sample(two);
                }
            }
            TPixelChannel out;
            if (s.a == 0 || s.a < s.count) {
                out.n = 0;
            } else {
                out.bA = uint8_t(s.a / s.count);
                out.bR = uint8_t(s.r / s.a);
                out.bG = uint8_t(s.g / s.a);
                out.bB = uint8_t(s.b / s.a);
            }
            aOut[size_t(y) * aW + x] = out;
        }
    }
}

// The whole zoom blur: 64 samples towards the centre, each step z / 16384 of the distance.
inline void ZoomBlur(const TPixelChannel* aIn, TPixelChannel* aOut, uint32_t aW, uint32_t aH, int32_t aZoom) {
    const int64_t ox = (int64_t(aW) << 15) + 32768, oy = (int64_t(aH) << 15) + 32768;
    for (uint32_t y = 0; y < aH; ++y) {
        for (uint32_t x = 0; x < aW; ++x) {
            SRadialSums s;
            s.Add(aIn[size_t(y) * aW + x]);
            int32_t px = Wrap32((int64_t(x) << 16) - (int64_t(aW) << 15));
            int32_t py = Wrap32((int64_t(y) << 16) - (int64_t(aH) << 15));
            for (int step = 0; step < 64; ++step) {
                px = Wrap32(px - ((int64_t(px >> 4) * aZoom) >> 10));
                py = Wrap32(py - ((int64_t(py >> 4) * aZoom) >> 10));
                int64_t sx = (px + ox) >> 16, sy = (py + oy) >> 16;
                // A zoom between 0 and 16384 never leaves the image; a negative or larger one
                // would, so the sample is held on the nearest edge pixel.
                sx = sx < 0 ? 0 : sx >= int64_t(aW) ? int64_t(aW) - 1 : sx;
                sy = sy < 0 ? 0 : sy >= int64_t(aH) ? int64_t(aH) - 1 : sy;
                s.Add(aIn[size_t(sy) * aW + size_t(sx)]);
            }
            TPixelChannel out;
            if (s.a >= 65) {
                out.bA = uint8_t(s.a / 65);
                out.bR = uint8_t(s.r / s.a);
                out.bG = uint8_t(s.g / s.a);
                out.bB = uint8_t(s.b / s.a);
            } else {
                out.n = 0;
            }
            aOut[size_t(y) * aW + x] = out;
        }
    }
}

}  // namespace zt

// Fade's mix of an old and a new pixel in linear light, by a strength on a scale of 1024.
#pragma once

#include <cmath>
#include <cstdint>

#include "frame/host.h"
#include "pixel/colour.h"

namespace zt {

// trunc(strength x 1024); limited to the 32-bit range so that no conversion overflows.
inline int32_t FadeFactor(float aStrength) {
    const double f = std::trunc(double(aStrength) * 1024.0);
    if (!(f > -2147483648.0)) return INT32_MIN;
    return f > 2147483647.0 ? INT32_MAX : static_cast<int32_t>(f);
}

// 64-bit products: a strength beyond the item's range would overflow 32 bits.
inline int64_t FadeMove(int32_t aOld, int32_t aNew, int32_t aF) { return aOld + ((int64_t(aNew - aOld) * aF) >> 10); }

inline TPixelChannel FadePixel(const uint16_t* aT, TPixelChannel aOld, TPixelChannel aNew, int32_t aF) {
    TPixelChannel out;
    const int64_t a = FadeMove(aOld.bA, aNew.bA, aF);
    if (a < 1) {
        out.n = 0;
        return out;
    }
    auto colour = [&](uint8_t aO, uint8_t aN) -> uint8_t {
        const int64_t m = FadeMove(aT[aO], aT[aN], aF);
        if (m < 0) return 0;
        if (m >= 65536) return 255;
        return LinearToSRGB8(aT, uint32_t(m));
    };
    out.bR = colour(aOld.bR, aNew.bR);
    out.bG = colour(aOld.bG, aNew.bG);
    out.bB = colour(aOld.bB, aNew.bB);
    out.bA = static_cast<uint8_t>(a > 255 ? 255 : a);
    return out;
}

}  // namespace zt

// Flattening onto a solid background in linear light, and deleting pixels below a threshold.
#pragma once

#include <cstdint>

#include "frame/host.h"
#include "pixel/colour.h"

namespace zt {

struct CBackgroundBlendOp {
    static constexpr bool kKeepsAlphaTotal = false;
    const uint16_t* gamma;      // T; null: the bytes are mixed as they are
    uint32_t red, green, blue;  // the background, 16-bit linear (or bytes without T)
    uint8_t threshold;

    uint8_t Mix(uint8_t aByte, uint32_t aBackground, uint32_t aW, uint32_t aV) const {
        if (!gamma) return static_cast<uint8_t>((aByte * aW + aV * aBackground) >> 16);
        return LinearToSRGB8(gamma, (gamma[aByte] * aW + aV * aBackground) >> 16);
    }

    TPixelChannel Apply(TPixelChannel aPixel) const {
        TPixelChannel out;
        if (aPixel.bA < threshold) {
            out.n = 0;
            return out;
        }
        if (aPixel.bA == 255) return aPixel;
        const uint32_t w = uint32_t(aPixel.bA) * 65536 / 255, v = 65536 - w;
        out.bR = Mix(aPixel.bR, red, w, v);
        out.bG = Mix(aPixel.bG, green, w, v);
        out.bB = Mix(aPixel.bB, blue, w, v);
        out.bA = 255;
        return out;
    }
};

// The Op of a background value 0x00BBGGRR (red lowest) and a threshold item value.
inline CBackgroundBlendOp MakeBackgroundBlendOp(const uint16_t* aGamma, int32_t aBackground, int32_t aThreshold) {
    const uint32_t bg = static_cast<uint32_t>(aBackground);
    auto lin = [&](uint32_t aByte) { return aGamma ? uint32_t(aGamma[aByte]) : aByte; };
    return {aGamma, lin(bg & 255), lin(bg >> 8 & 255), lin(bg >> 16 & 255), static_cast<uint8_t>(aThreshold)};
}

// The opaque background as a pixel: the item's bytes swapped into pixel order.
inline TPixelChannel BackgroundPixel(int32_t aBackground) {
    const uint32_t bg = static_cast<uint32_t>(aBackground);
    TPixelChannel p;
    p.n = 0xFF000000u | (bg & 255) << 16 | (bg & 0xFF00) | (bg >> 16 & 255);
    return p;
}

}  // namespace zt

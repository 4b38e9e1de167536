// Colorize's per-image table and its two pixel functions: one hue for the whole image,
// looked up by the integer lightness of each pixel.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>

#include "frame/host.h"
#include "frame/numeric.h"
#include "pixel/colour.h"

namespace zt {

// Saturation as the run uses it: limited to 0 .. 1.
inline float ColorizeSaturation(float aSaturation) {
    return aSaturation < 0.0f ? 0.0f : aSaturation > 1.0f ? 1.0f : aSaturation;
}

// 256 entries 0x00RRGGBB: the colour of hue aHue and saturation aSaturation at each lightness.
inline void BuildColorizeTable(float aHue, float aSaturation, uint32_t* aTable) {
    const float s = aSaturation;
    for (int i = 0; i < 256; ++i) {
        const float f = static_cast<float>(i);
        float a = f * s;
        if (i >= 128) a = s * 255.0f - a;
        const float high = f + a;
        const float low = 2.0f * f - high;
        // A hue or saturation far outside its range (or NaN) must not reach a plain cast.
        const int32_t red = TruncateToInt32(HLSChannel(low, high, aHue + 120.0f));
        const int32_t green = TruncateToInt32(HLSChannel(low, high, aHue));
        const int32_t blue = TruncateToInt32(HLSChannel(low, high, aHue - 120.0f));
        aTable[i] = uint32_t(red & 255) << 16 | uint32_t(green & 255) << 8 | uint32_t(blue & 255);
    }
}

inline uint32_t ColorizeLightness(TPixelChannel aPixel) {
    const uint32_t mx = std::max(std::max(aPixel.bR, aPixel.bG), aPixel.bB);
    const uint32_t mn = std::min(std::min(aPixel.bR, aPixel.bG), aPixel.bB);
    return (mx + mn) >> 1;
}

inline TPixelChannel ColorizePixel(const uint32_t* aTable, TPixelChannel aPixel) {
    TPixelChannel out;
    out.n = aTable[ColorizeLightness(aPixel)] | (aPixel.n & 0xFF000000u);
    return out;
}

// The table's colour mixed with the pixel's own grey in the proportion of its saturation.
inline TPixelChannel ColorizeKeepSatPixel(const uint32_t* aTable, TPixelChannel aPixel) {
    const uint32_t mx = std::max(std::max(aPixel.bR, aPixel.bG), aPixel.bB);
    const uint32_t mn = std::min(std::min(aPixel.bR, aPixel.bG), aPixel.bB);
    const uint32_t sum = mx + mn, d = mx - mn, l = sum >> 1;
    TPixelChannel out;
    if (d == 0) {
        out.n = l * 0x010101u | (aPixel.n & 0xFF000000u);
        return out;
    }
    const uint32_t k = sum < 256 ? (d << 8) / sum : (d << 8) / (510 - sum);
    const uint32_t e = aTable[l];
    const uint32_t grey = (256 - k) * l;
    const uint32_t r = (((e >> 16) & 255) * k + grey) >> 8;
    const uint32_t g = (((e >> 8) & 255) * k + grey) >> 8;
    const uint32_t b = ((e & 255) * k + grey) >> 8;
    out.n = r << 16 | g << 8 | b | (aPixel.n & 0xFF000000u);
    return out;
}

struct CColorizeOp {
    static constexpr bool kKeepsAlphaTotal = true;
    const uint32_t* table;
    std::atomic<uint64_t>* alphaTotal;
    TPixelChannel Apply(TPixelChannel aPixel) const { return ColorizePixel(table, aPixel); }
};

struct CColorizeKeepSatOp {
    static constexpr bool kKeepsAlphaTotal = true;
    const uint32_t* table;
    std::atomic<uint64_t>* alphaTotal;
    TPixelChannel Apply(TPixelChannel aPixel) const { return ColorizeKeepSatPixel(table, aPixel); }
};

}  // namespace zt

// Brightness, contrast, gamma and saturation: the common curve in linear light, its two
// tables, the saturation weights and the two pixel functions.
#pragma once

#include <cmath>
#include <cstdint>

#include "frame/host.h"
#include "frame/numeric.h"
#include "pixel/colour.h"

namespace zt {

// Gamma as the run uses it: 0.001 .. 1000 (a NaN counts as the lower limit).
inline float LimitTransformationsGamma(float aGamma) {
    if (!(aGamma >= 0.001f)) return 0.001f;
    return aGamma > 1000.0f ? 1000.0f : aGamma;
}

// The curve of byte i before brightness: gamma, then contrast around 0.5, in linear light.
inline float ColorTransformationsCurve(int aByte, int32_t aContrast, float aInverseGamma) {
    const float x = static_cast<float>(aByte) / 255.0f;
    const float lin = SRGBToLinear(x);
    const float y = std::pow(lin, aInverseGamma);
    return (y - 0.5f) * static_cast<float>(aContrast) / 100.0f + 0.5f;
}

// Saturation 100: each byte straight to its adjusted byte.
inline void BuildColorTransformationsByteTable(int32_t aBrightness, int32_t aContrast, float aGamma, uint8_t* aTable) {
    const float inverse = 1.0f / LimitTransformationsGamma(aGamma);
    const float shift = static_cast<float>(aBrightness) / 255.0f;
    for (int i = 0; i < 256; ++i) aTable[i] = FloatToSRGB8(ColorTransformationsCurve(i, aContrast, inverse) + shift);
}

// Other saturations: 16-bit linear values, which may lie outside 0 .. 65535.
inline void BuildColorTransformationsLinearTable(int32_t aBrightness, int32_t aContrast, float aGamma,
                                                 int32_t* aTable) {
    const float inverse = 1.0f / LimitTransformationsGamma(aGamma);
    const float shift = static_cast<float>(aBrightness) / 255.0f;
    for (int i = 0; i < 256; ++i)
        aTable[i] = TruncateToInt32((ColorTransformationsCurve(i, aContrast, inverse) + shift) * 65535.0f);
}

// w0..w2 weigh the other channels (luminance share), w3..w5 the channel itself.
struct SSaturationWeights {
    int32_t w[6];
};
inline SSaturationWeights SaturationWeights(int32_t aSaturation) {
    const float t = static_cast<float>(aSaturation) / 100.0f * 1024.0f;
    const float u = 1024.0f - t;
    return {{TruncateToInt32(u * 0.299f + 0.5f), TruncateToInt32(u * 0.587f + 0.5f), TruncateToInt32(u * 0.114f + 0.5f),
             TruncateToInt32(u * 0.299f + t + 0.5f), TruncateToInt32(u * 0.587f + t + 0.5f),
             TruncateToInt32(u * 0.114f + t + 0.5f)}};
}

struct CColorTransformOp {
    static constexpr bool kKeepsAlphaTotal = false;
    const uint8_t* table;
    TPixelChannel Apply(TPixelChannel aPixel) const {
        TPixelChannel out = aPixel;
        out.bR = table[aPixel.bR];
        out.bG = table[aPixel.bG];
        out.bB = table[aPixel.bB];
        return out;
    }
};

struct CColorTransformWithSaturationOp {
    static constexpr bool kKeepsAlphaTotal = false;
    const int32_t* table;
    int32_t w0, w1, w2, w3, w4, w5;
    const uint16_t* gamma;  // the 16-bit table T

    static uint32_t Limit(int64_t aSum) { return uint32_t(aSum < 0 ? 0 : aSum > 0x3FFFC00 ? 0x3FFFC00 : aSum) >> 10; }

    TPixelChannel Apply(TPixelChannel aPixel) const {
        TPixelChannel out;
        if (aPixel.bA == 0) {
            out.n = 0;
            return out;
        }
        const int32_t r = table[aPixel.bR], g = table[aPixel.bG], b = table[aPixel.bB];
        // 64-bit sums: settings far outside their ranges must not overflow; within them the
        // sums fit 32 bits and come out the same.
        const int64_t red = int64_t(r) * w3 + int64_t(g) * w1 + int64_t(b) * w2;
        const int64_t green = int64_t(g) * w4 + int64_t(r) * w0 + int64_t(b) * w2;
        const int64_t blue = int64_t(b) * w5 + int64_t(r) * w0 + int64_t(g) * w1;
        out.bR = LinearToSRGB8(gamma, Limit(red));
        out.bG = LinearToSRGB8(gamma, Limit(green));
        out.bB = LinearToSRGB8(gamma, Limit(blue));
        out.bA = aPixel.bA;
        return out;
    }
};

}  // namespace zt

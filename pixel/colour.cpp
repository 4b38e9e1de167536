#include "pixel/colour.h"

#include <cmath>

namespace zt {

uint8_t FloatToSRGB8(float aX) {
    if (!(aX >= 0.0f)) return 0;
    if (aX > 1.0f) return 255;
    const float e = aX <= 0.0031308f ? aX * 12.92f : std::pow(aX, 0.41666666f) * 1.055f - 0.055f;
    return static_cast<uint8_t>(static_cast<int32_t>(e * 255.0f + 0.5f));
}

float SRGBToLinear(float aC) { return aC <= 0.04045f ? aC / 12.92f : std::pow((aC + 0.055f) / 1.055f, 2.4f); }

float HLSChannel(float aLow, float aHigh, float aHue) {
    float h = aHue + 360.0f;
    h = h - std::trunc(h / 360.0f) * 360.0f;
    if (h < 60.0f) return aLow + (aHigh - aLow) * h / 60.0f;
    if (h < 180.0f) return aHigh;
    if (h < 240.0f) return aLow + (aHigh - aLow) * (240.0f - h) / 60.0f;
    return aLow;
}

SRGBf HLSToRGB(float aHue, float aLightness, float aSaturation) {
    auto clamp = [](float v) { return v < 0.0f ? 0.0f : v > 1.0f ? 1.0f : v; };
    if (aSaturation == 0.0f) return {clamp(aLightness), clamp(aLightness), clamp(aLightness)};
    const float high = aLightness <= 0.5f ? aLightness * aSaturation + aLightness
                                          : aLightness + aSaturation - aLightness * aSaturation;
    const float low = 2.0f * aLightness - high;
    return {clamp(HLSChannel(low, high, aHue + 120.0f)), clamp(HLSChannel(low, high, aHue)),
            clamp(HLSChannel(low, high, aHue - 120.0f))};
}

}  // namespace zt

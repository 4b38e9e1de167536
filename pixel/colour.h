// Colour functions shared by the operations: sRGB encoding and decoding through the
// host's tables, exact forms for single values, and the HLS model.
#pragma once

#include <cstdint>
#include <cstring>

#include "frame/host.h"

namespace zt {

#include "pixel/srgb_encoder_step.h"

// v = 0 .. 65535 in linear light to an sRGB byte, interpolating the inverse half of the
// 16-bit table T. Callers test the limits first.
inline uint8_t LinearToSRGB8(const uint16_t* aT, uint32_t aV) {
    const uint32_t i = aV >> 8, f = aV & 255;
    const uint32_t a = aT[256 + i], b = aT[257 + i];
    return static_cast<uint8_t>(((((b - a) * f + 128) >> 8) + a) >> 8);
}

// A float that the caller has clamped to 2^-13 .. 1 - 2^-24, to an sRGB byte, by the
// segment table of the float record.
inline uint8_t EncodeSRGB8(const TSRGBFloatRecord* aRecord, float aX) {
    uint32_t bits;
    std::memcpy(&bits, &aX, 4);
    return static_cast<uint8_t>(EncoderByte(bits, aRecord->encoder[EncoderSegment(bits)]));
}

// The exact sRGB encoding of one value, for tables and single colours.
uint8_t FloatToSRGB8(float aX);
// The sRGB byte value c / 255 (0 .. 1) to linear light.
float SRGBToLinear(float aC);

// One channel of the HLS model; hue in degrees, folded by one turn only.
float HLSChannel(float aLow, float aHigh, float aHue);

struct SRGBf {
    float r, g, b;
};
// Hue in degrees, lightness and saturation 0 .. 1; each channel clamped to 0 .. 1.
SRGBf HLSToRGB(float aHue, float aLightness, float aSaturation);

}  // namespace zt

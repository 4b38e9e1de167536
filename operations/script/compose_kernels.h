// The blender's composition operators on one pixel pair: the premultiplied operators with
// their Finish step, SoftLight in double precision, and the straight per-channel ones.
// Pixels are 0xAARRGGBB, not premultiplied; d is the destination, s the source.
#pragma once

#include <cstddef>
#include <cstdint>

namespace zt {

enum ECompositionMode : uint32_t {
    OpClear = 0,
    OpColorBurn,
    OpColorDodge,
    OpContrast,
    OpDarken,
    OpDifference,
    OpDst,
    OpDstAtop,
    OpDstIn,
    OpDstOut,
    OpDstOver,
    OpExclusion,
    OpHardLight,
    OpInvert,
    OpInvertRGB,
    OpLighten,
    OpMinus,
    OpMultiply,
    OpOverlay,
    OpPlus,
    OpScreen,
    OpSoftLight,
    OpSrc,
    OpSrcAtop,
    OpSrcIn,
    OpSrcOut,
    OpSrcOver,
    OpXor,
    OpRGBAPlus,
    OpRGBAMinus,
    OpRGBAMultiply,
    OpRGBAMultiply2x,
    OpNormalBumpmap,
    OpHeightBumpmap,
    OpMapChannels,
    OpNormalDisplace,
    OpHeightDisplace,
    OpHeightToNormal,
    OpRGBAMaximum,
    OpRGBAMinimum,
    OpRGBADifference,
    OpNormalReflection,
};

// The premultiplication of the engine: (x a 65793 + 2^23) >> 24.
inline uint32_t Premultiply(uint32_t aX, uint32_t aA) { return (aX * aA * 65793u + 8388608u) >> 24; }

// The pixel of colours c (premultiplied, at most A each) and alpha A, unpremultiplied.
uint32_t ComposeFinish(const uint8_t aColour[3], uint32_t aA);

// True for the operators that work pixel by pixel: the premultiplied ones and the straight
// ones (all but the bump maps, channel mapping, displacement, height to normal, reflection).
bool IsPixelOperator(uint32_t aMode);

// One pixel of a pixel operator, and aCount of them in place in aD.
uint32_t ComposePixel(uint32_t aMode, uint32_t aD, uint32_t aS);
void ComposePixels(uint32_t aMode, uint32_t* aD, const uint32_t* aS, size_t aCount);

// The luminance a height map is read through: (3 blue + 5 green + 8 red) >> 4.
inline uint32_t HeightOf(uint32_t aPixel) {
    return (3 * (aPixel & 255) + 5 * ((aPixel >> 8) & 255) + 8 * ((aPixel >> 16) & 255)) >> 4;
}

// The normal map of the heights of aSource (w x h, may be aTarget itself) into aTarget, whose
// alpha stays; aScale in 1/256.
void HeightToNormal(const uint32_t* aSource, uint32_t* aTarget, uint32_t aWidth, uint32_t aHeight, int64_t aScale);

// Lights aTarget by the normals of aSource at the same places: each colour of a pixel with
// alpha gains (n . l) / (|n| x 0.005) - 200 l.z.
void Bumpmap(uint32_t* aTarget, const uint32_t* aSource, size_t aCount, float aLX, float aLY, float aLZ);

// Moves each pixel of aTarget by the source's red and green (127 is no move) times aK, the
// offsets wrapping round inside the w x h rectangle.
void Displace(uint32_t* aTarget, const uint32_t* aSource, uint32_t aWidth, uint32_t aHeight, float aK);

// Channel mapping by a code of eight nibbles (src1 .. src4, dst1 .. dst4): a plain copy of
// bytes, or a conversion between RGB and YCbCr; codes it cannot serve leave aTarget as it is.
void MapChannelPixels(uint32_t* aTarget, const uint32_t* aSource, size_t aCount, uint32_t aCode);

// Reflects an environment map of aEnvWidth x aEnvHeight in the normals of aSource over the
// w x h target: a perspective view vector per pixel, the reflected ray's direction as
// coordinates on the map, a bilinear sample in 1/256 pixel; the map's transparency lets the
// target show through. Pixels of the target without alpha stay.
void NormalReflection(uint32_t* aTarget, const uint32_t* aSource, uint32_t aWidth, uint32_t aHeight,
                      const uint32_t* aEnvironment, uint32_t aEnvWidth, uint32_t aEnvHeight);

}  // namespace zt

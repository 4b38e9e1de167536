// The blender's composition operators on one pixel pair: the premultiplied operators with
// their Finish step, SoftLight in double precision, and the straight per-channel ones.
// Pixels are 0xAARRGGBB, not premultiplied; d is the destination, s the source.
#pragma once

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

// One pixel of a pixel operator.
uint32_t ComposePixel(uint32_t aMode, uint32_t aD, uint32_t aS);

}  // namespace zt

// The drop shadow's own arithmetic: a triangular integer kernel per axis, the removal of
// the interior of semi-transparent areas, the shadow strength, and the compositing in
// 16-bit linear light. Works on a tightly packed buffer in place, on the calling thread.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/host.h"
#include "operations/shape/linear_tables.h"

namespace zt {

// Cells lo .. lo + k.size() - 1 relative to the output position.
struct SShadowKernel {
    int32_t lo = 0;
    std::vector<uint32_t> k;
    uint32_t sum = 0;
};

// A triangle of half-width aSize + 1 centred on aShift + 0.5, each cell the mean of 31 samples,
// scaled to 255. The vertical kernel grows by one cell when its ends meet.
SShadowKernel MakeShadowKernel(float aSize, float aShift, bool aVertical);

// Zeroes the coverage of semi-transparent pixels that lie deeper than the outline band:
// decisions are made on the alpha of aPixels and applied to aCoverage afterwards.
void RemoveInteriorCoverage(const TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, float aSize,
                            uint32_t* aCoverage);

// One pass of the kernel along every row (aVertical false) or column of aIn into aOut;
// cells outside the image contribute nothing; each sum is shifted right by 8.
void ConvolveShadow(const uint32_t* aIn, uint32_t* aOut, uint32_t aWidth, uint32_t aHeight,
                    const SShadowKernel& aKernel, bool aVertical);

// 0x80000000 / ((Ksum_h x Ksum_v) >> 9) in unsigned 32 bits; 0 where the divisor is 0.
uint32_t ShadowScale(uint32_t aSumH, uint32_t aSumV);
// ((s x c, cut to 32 bits) >> 24) x d >> 8.
inline uint32_t ShadowStrength(uint32_t aScale, uint32_t aCoverage, uint32_t aDensity) {
    return ((uint32_t(aScale * aCoverage) >> 24) * aDensity) >> 8;
}
// The density as 8.8 fixed point, 1 .. 4096.
uint32_t ShadowDensity(float aDensity);

// The colour of the shadow in pixel order, with its linear forms.
struct SShadowColour {
    uint8_t b, g, r;
    uint32_t linB, linG, linR;
};
// aColor has red in its lowest byte.
SShadowColour MakeShadowColour(uint32_t aColor, const SLinearTables& aTables);

enum EShadowBlending : int32_t { EShadowOuter = 0, EShadowInner = 1, EShadowOnly = 2 };

// The compositing of one pixel with strength aA; aMask is null or the mask byte.
TPixelChannel ComposeOuter(TPixelChannel aPixel, uint32_t aA, const SShadowColour& aColour,
                           const SLinearTables& aTables);
TPixelChannel ComposeOuterMasked(TPixelChannel aPixel, uint32_t aA, uint32_t aMask, const SShadowColour& aColour,
                                 const SLinearTables& aTables);
TPixelChannel ComposeInner(TPixelChannel aPixel, uint32_t aA, const uint8_t* aMask, const SShadowColour& aColour,
                           const SLinearTables& aTables);
TPixelChannel ComposeShadowOnly(uint32_t aA, const SShadowColour& aColour);

struct SShadowParams {
    float size = 3.0f;
    float shiftX = -1.0f;  // the negated offset
    float shiftY = -1.0f;
    float density = 1.5f;  // 1 = 100 %
    int32_t type = 1;
    uint32_t color = 0;
    int32_t blending = EShadowOuter;
};

// The whole shadow routine on aWidth x aHeight pixels, with aMask null or one byte per pixel.
// Throws std::bad_alloc.
void DropShadow(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SShadowParams& aParams,
                const uint8_t* aMask, const SLinearTables& aTables);

}  // namespace zt

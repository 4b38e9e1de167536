// The outline's arithmetic: the seeds of the two distance maps, the reach of the line, its
// strength at a pixel, and the nine ways of putting it on the image.
#pragma once

#include <cstdint>

#include "frame/host.h"
#include "operations/shape/linear_tables.h"

namespace zt {

enum EOutlinePosition : int32_t { EOutlineInside = 0, EOutlineCentered = 1, EOutlineOutside = 2 };
enum EOutlineMode : int32_t { EOutlineOnly = 0, EOutlineReplace = 1, EOutlineBlend = 2 };

// A linear channel (0 .. 1) to a stored byte; an alpha to a byte.
uint8_t OutlineChannelByte(float aLinear);
uint8_t OutlineAlphaByte(float aAlpha);

struct SOutlineColour {
    uint8_t b, g, r, a;
    uint32_t linB, linG, linR;
};
// From four linear floats: red, green, blue, alpha.
SOutlineColour MakeOutlineColour(const float* aColor, const SLinearTables& aTables);

// Fills the maps of (aWidth + 2) x (aHeight + 2) cells: A grows from the outside of the shape
// inwards, B from its inside outwards; the ring is outside.
void SeedOutlineMaps(const TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, uint32_t aFar, uint32_t* aA,
                     uint32_t* aB);

// The reach L of the line in 1/256 pixel.
int32_t OutlineReach(float aWidth, int32_t aPosition);

struct SLineStrength {
    uint32_t m = 0;      // 0 .. 255
    uint32_t first = 0;  // centred: m before the second distance's factor, when the first one cut it
    bool inReach = false;
};
SLineStrength LineStrength(int32_t aPosition, uint32_t aAlpha, uint32_t aDistanceA, uint32_t aDistanceB,
                           int32_t aReach);

// The strength o of the line: (ca x m x 4112 + k) >> 20 with k = 0x10000 for "outline only"
// and 0x80000 for the other two.
inline uint32_t OutlineOnlyStrength(uint32_t aColourAlpha, uint32_t aM) {
    return (aColourAlpha * aM * 4112 + 0x10000) >> 20;
}
inline uint32_t OutlineStrength(uint32_t aColourAlpha, uint32_t aM) {
    return (aColourAlpha * aM * 4112 + 0x80000) >> 20;
}

TPixelChannel ComposeOutlineOnly(const SLineStrength& aLine, const SOutlineColour& aColour);
TPixelChannel ComposeOutlineReplace(TPixelChannel aPixel, int32_t aPosition, const SLineStrength& aLine,
                                    const SOutlineColour& aColour, const SLinearTables& aTables);
TPixelChannel ComposeOutlineBlend(TPixelChannel aPixel, const SLineStrength& aLine, const SOutlineColour& aColour,
                                  const SLinearTables& aTables);

struct SOutlineParams {
    float width = 2.0f;  // already raised to 0.1
    int32_t position = EOutlineCentered;
    float color[4] = {0.0f, 0.0f, 0.0f, 1.0f};
    int32_t mode = EOutlineReplace;
};

// The margin M around the content that the run adds on each side.
int64_t OutlineMargin(float aWidth);

// The whole run on a buffer that already has the margin. Throws std::bad_alloc.
void Outline(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SOutlineParams& aParams,
             const SLinearTables& aTables);

}  // namespace zt

// The long shadow's arithmetic: the shadow vector and its integer reach, and the sweep that
// extends the shape along it with a flat colour. Pure functions over pixel arrays.
#pragma once

#include <cstddef>
#include <cstdint>

#include "frame/host.h"

namespace zt {

// The shadow vector of a length and an orientation (degrees clockwise from up), and its
// reach in whole pixels away from zero.
struct SLongShadowVector {
    float dx, dy;
    int32_t ix, iy;
};
SLongShadowVector LongShadowVector(float aLength, float aOrientation);

// The shadow's pixel P and its colour's linear values, by the host's 16-bit table.
struct SLongShadowColour {
    TPixelChannel pixel;
    uint32_t linB, linG, linR;
};

// Sweeps a source of aWidth x aHeight pixels (rows aSourceRow pixels apart) into a target of
// (aWidth + |ix|) x (aHeight + |iy|) pixels, rows tight, whose origin lies min(ix, 0),
// min(iy, 0) from the source's. aTable: the host's 513-entry sRGB table. Throws std::bad_alloc.
void LongShadowSweep(const TPixelChannel* aSource, uint32_t aWidth, uint32_t aHeight, size_t aSourceRow,
                     TPixelChannel* aTarget, const SLongShadowVector& aVector, const SLongShadowColour& aColour,
                     TPixelChannel aDefault, const uint16_t* aTable);

// A semi-transparent pixel of alpha aAlpha over the shadow.
TPixelChannel LongShadowOver(TPixelChannel aPixel, const SLongShadowColour& aColour, const uint16_t* aTable);

}  // namespace zt

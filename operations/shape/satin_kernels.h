// Satin's arithmetic: the shift of the two samples, and the fold colour laid over the shape
// by the difference of the blurred alpha at the two samples.
#pragma once

#include <cstdint>

#include "frame/host.h"
#include "operations/shape/linear_tables.h"

namespace zt {

struct SSatinParams {
    int32_t shiftX, shiftY;  // the sample offset; the second sample is the opposite one
    uint32_t radius;         // of the blur, and the plane's margin
    TPixelChannel colour;    // the fold colour's stored bytes and alpha
    bool invert;
};

// trunc(value + 0.5) for positive values, trunc(value - 0.5) for the others.
int32_t RoundAwayFromZero(float aValue);

// The sample shift of a size and an angle in degrees: (cos, -sin) x size, rounded away from zero.
void SatinShift(float aSize, float aAngle, int32_t* aX, int32_t* aY);

// The radius of a blur setting: trunc(ceil(blur)), 0 for what is not above 0.
uint32_t SatinRadius(float aBlur);

// One pixel under the fold strength d (0 .. 255): the colour laid over it by d x alpha / 65025.
TPixelChannel SatinPixel(TPixelChannel aPixel, uint32_t aD, TPixelChannel aColour, const SLinearTables& aTables);

// The whole run on aWidth x aHeight pixels, rows tight, in place. Throws std::bad_alloc.
void Satin(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SSatinParams& aParams,
           const SLinearTables& aTables);

}  // namespace zt

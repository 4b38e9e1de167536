// Shape gradient's arithmetic: the colour table of a gradient in stored pixels, and the
// colouring of the shape by each pixel's distance from its edge.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/host.h"
#include "operations/shape/gradient_stops.h"

namespace zt {

// Scale raised to 1 where it is at or below 1.
float ContourGradientScale(float aScale);

// n + 1 stored pixels for n = trunc(ceil(scale) x 4): the gradient's n entries, and the last
// one again.
std::vector<TPixelChannel> ContourGradientTable(const TGradient& aGradient, float aScale);

// Colours aWidth x aHeight pixels, rows tight, in place: a pixel at distance d (1/256 pixel)
// takes entry (d + 32) >> 6 of the table; edge pixels keep their share of alpha.
// Throws std::bad_alloc.
void ContourGradient(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, float aScale,
                     const std::vector<TPixelChannel>& aTable);

}  // namespace zt

// An anti-aliased scanline filler: the coverage of each pixel by a polygon (non-zero winding)
// with 256 sub-pixel steps on both axes, handed out per row as spans of covered pixels.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace zt {

struct SPolygonPoint {
    double x, y;
};

// Calls aSpan(y, x, length, covers) for each run of pixels with coverage above 0 (covers: 1 to
// 255 each) inside the clip box 0 .. aWidth, 0 .. aHeight. Points beyond the box are fine.
using TSpanCallback = std::function<void(uint32_t aY, uint32_t aX, uint32_t aLength, const uint8_t* aCovers)>;
void FillPolygon(const SPolygonPoint* aPoints, size_t aCount, uint32_t aWidth, uint32_t aHeight,
                 const TSpanCallback& aSpan);

}  // namespace zt

// Pixels placed on the canvas: an array, where its first pixel stands, its size and its steps
// (pixel step and row step, in pixels). What a tile producer reads and writes.
#pragma once

#include <cstddef>

#include "frame/host.h"

namespace zt {

template <class Pixel>
struct SPixelRegion {
    Pixel* pixels;
    TImagePoint origin;
    TImageSize size;
    TImageStride stride;

    // Row y's first pixel; x steps by stride.nX from there.
    Pixel* Row(size_t aY) const { return pixels + aY * stride.nY; }
};

using SSourcePixels = SPixelRegion<const TPixelChannel>;
using STargetPixels = SPixelRegion<TPixelChannel>;

}  // namespace zt

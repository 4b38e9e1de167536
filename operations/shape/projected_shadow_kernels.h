// Projected shadow's arithmetic: the blur radii, the silhouette with its density ramp, the
// blur that grows across the shadow, the bilinear sample of the plane, and the shadow laid
// behind the image.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/host.h"

namespace zt {

struct SProjectedShadowParams {
    float blur1, blur2, density1, density2;
    float corners[8];  // the quadrilateral in pixels: x, y of four corners
};

struct SProjectedRadii {
    uint32_t r1, r2, R;
};
SProjectedRadii ProjectedRadii(uint32_t aWidth, uint32_t aHeight, float aBlur1, float aBlur2);

// The silhouette's factor of row y: trunc(((d1 - d2) x y / H + d2) x 256 / 100 + 0.5), floats.
int32_t SilhouetteFactor(int32_t aD1, int32_t aD2, uint32_t aY, uint32_t aHeight);

// The plane of (W + 2R) x (H + 2R) bytes: the silhouette in its middle, blurred.
std::vector<uint8_t> ProjectedShadowPlane(const TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight,
                                          const SProjectedRadii& aRadii, float aDensity1, float aDensity2);

// The blur of the plane: one radius for all when r1 = r2 or H < 2, otherwise rows by their
// radius and columns in three copies merged across the shadow.
void ProjectedShadowBlur(uint8_t* aPlane, uint32_t aWidth, uint32_t aHeight, const SProjectedRadii& aRadii);

// The plane sampled bilinearly at (aU, aV) in 1/256 pixel (pixel centres at 128), weights in
// 1/16384; 0 outside the plane.
uint8_t SamplePlane(const uint8_t* aPlane, uint32_t aPlaneWidth, uint32_t aPlaneHeight, int64_t aU, int64_t aV);

// The shadow s behind a pixel: black under its transparent part, stored bytes.
TPixelChannel ShadowBehind(TPixelChannel aPixel, uint32_t aShadow);

// The whole run on the canvas of aWidth x aHeight pixels, rows tight, in place; false when the
// quadrilateral is degenerate and nothing was drawn. Throws std::bad_alloc.
bool ProjectedShadow(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SProjectedShadowParams& aParams);

}  // namespace zt

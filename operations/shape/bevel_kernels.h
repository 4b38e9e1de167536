// Bevel's arithmetic: the light vector of a quaternion, the tiling of the work rectangle, the
// height map of a tile with its profiles and smoothing, and the three ways of lighting it.
// Pure functions over arrays; the task that runs them on the pool is CBevelTask.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/host.h"

namespace zt {

enum EBevelMethod : int32_t { EBevelSimple = -1, EBevelEdges = 0, EBevelRound = 1, EBevelRidged = 2 };
enum EBevelOutput : int32_t { EBevelImage = 0, EBevelNormalMap = 1 };

struct SBevelVector {
    float x, y, z;
};

// The quaternion (x, y, z, w) turning (0, 0, 1): (2(xz - wy), 2(xw + yz), 1 - 2(x^2 + y^2)).
SBevelVector BevelLight(float aX, float aY, float aZ, float aW);

struct SBevelParams {
    int32_t amount, blur, method, angle;
    bool sunken, keepFlat;
    int32_t output;
    SBevelVector light;
    float specular[3];  // red, green, blue
};

// A tile: its own area (written) and its outer area (read for the height map), both in the
// work rectangle's coordinates, [x0, x1) x [y0, y1).
struct SBevelArea {
    uint32_t x0, y0, x1, y1;
};
struct SBevelTile {
    SBevelArea own, outer;
};

// The columns of the grid for aShares shares over a aWidth x aHeight rectangle with margin
// aMargin; rows = shares / columns. aShares is already min(total, nx x ny).
uint32_t BevelGridColumns(uint32_t aWidth, uint32_t aHeight, uint32_t aMargin, uint32_t aShares);
// Share aIndex of aTotal: false when the share has no tile.
bool BevelTileOf(uint32_t aIndex, uint32_t aTotal, uint32_t aWidth, uint32_t aHeight, uint32_t aMargin,
                 SBevelTile* aTile);

// The height map of an outer area: (W' + 2) x (H' + 2) cells over the alpha of the buffer's
// matching pixels with their ring (aAlpha: rows aAlphaRow apart, the buffer's ring included,
// so cell (0, 0) is aAlpha[outer.y0 * row + outer.x0]). aMask: the mask bytes of the same
// cells, or null. Distance, profile and smoothing. Throws std::bad_alloc.
void BevelHeightMap(const uint8_t* aAlpha, size_t aAlphaRow, const SBevelArea& aOuter, const uint8_t* aMask,
                    const SBevelParams& aParams, std::vector<uint32_t>& aMap);

// Lights the own area of a tile in the buffer ((W + 2) x (H + 2) pixels with its ring, rows
// aRow apart) from the height map of its outer area. aTable: the host's 513-entry sRGB table.
void BevelLightTile(TPixelChannel* aBuffer, size_t aRow, uint32_t aWidth, uint32_t aHeight, const SBevelTile& aTile,
                    const std::vector<uint32_t>& aMap, const SBevelParams& aParams, const uint16_t* aTable);

}  // namespace zt

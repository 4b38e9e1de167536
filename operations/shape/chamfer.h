// The chamfer distance transform shared by the outline, the bevel and the shape gradient:
// distances in 1/256 pixel with the weights 256 (a step), 362 (a diagonal) and 572 (a
// knight's move), over a grid whose outermost cells form a ring around the image.
#pragma once

#include <cstdint>

namespace zt {

constexpr uint32_t kChamferStep = 256;      // 256 x 1
constexpr uint32_t kChamferDiagonal = 362;  // 256 x sqrt 2, rounded down
constexpr uint32_t kChamferKnight = 572;    // 256 x sqrt 5, rounded down

// aMap holds aWidth x aHeight cells, rows tight. Cells of 0 are seeds and stay 0; every other
// cell becomes the least of itself and its neighbours plus their weights, in a forward sweep
// and a backward sweep that both read all neighbours. Non-zero cells of the outer ring take
// aRingValue; the second ring has no knight's moves. At the end no cell exceeds aLimit.
// Cells should stay below 2^32 - 572 so that no sum wraps.
void ChamferDistance(uint32_t* aMap, uint32_t aWidth, uint32_t aHeight, uint32_t aLimit, uint32_t aRingValue);

}  // namespace zt

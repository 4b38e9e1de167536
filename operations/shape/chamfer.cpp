#include "operations/shape/chamfer.h"

#include <algorithm>
#include <cstddef>
#include <vector>

namespace zt {

namespace {

// The eight neighbours at one step; p points at the cell, aStride is the row length.
inline uint32_t Around(const uint32_t* p, ptrdiff_t aStride, uint32_t v) {
    v = std::min(v, p[-1] + kChamferStep);
    v = std::min(v, p[1] + kChamferStep);
    v = std::min(v, p[-aStride] + kChamferStep);
    v = std::min(v, p[aStride] + kChamferStep);
    v = std::min(v, p[-aStride - 1] + kChamferDiagonal);
    v = std::min(v, p[-aStride + 1] + kChamferDiagonal);
    v = std::min(v, p[aStride - 1] + kChamferDiagonal);
    v = std::min(v, p[aStride + 1] + kChamferDiagonal);
    return v;
}

inline uint32_t Knights(const uint32_t* p, ptrdiff_t aStride, uint32_t v) {
    v = std::min(v, p[-2 * aStride - 1] + kChamferKnight);
    v = std::min(v, p[-2 * aStride + 1] + kChamferKnight);
    v = std::min(v, p[2 * aStride - 1] + kChamferKnight);
    v = std::min(v, p[2 * aStride + 1] + kChamferKnight);
    v = std::min(v, p[-aStride - 2] + kChamferKnight);
    v = std::min(v, p[-aStride + 2] + kChamferKnight);
    v = std::min(v, p[aStride - 2] + kChamferKnight);
    v = std::min(v, p[aStride + 2] + kChamferKnight);
    return v;
}

// Any cell, with the ring rules; the sweeps use it for the rings and the fast loop inside.
inline void Cell(uint32_t* aMap, uint32_t aWidth, uint32_t aHeight, uint32_t x, uint32_t y, uint32_t aRingValue) {
    uint32_t* p = aMap + size_t(y) * aWidth + x;
    if (*p == 0) return;
    if (x == 0 || y == 0 || x == aWidth - 1 || y == aHeight - 1) {
        *p = aRingValue;
        return;
    }
    uint32_t v = Around(p, aWidth, *p);
    if (x != 1 && y != 1 && x != aWidth - 2 && y != aHeight - 2) v = Knights(p, aWidth, v);
    *p = v;
}

// One row of the interior columns 2 .. w-3 in one sweep. Only the row's own left and right
// neighbours depend on the order of the sweep; everything else is read first, for all cells
// at once (a loop without a carried dependency), and the in-row step follows as one cheap pass.
// The result is the same as visiting the cells one by one.
void InnerRow(uint32_t* aRow, ptrdiff_t aStride, uint32_t aCount, bool aForward, uint32_t* __restrict aScratch) {
    uint32_t* __restrict t = aScratch;
    const ptrdiff_t side = aForward ? 1 : -1;
    for (uint32_t i = 0; i < aCount; ++i) {
        const uint32_t* p = aRow + i;
        // Not yet visited in this sweep: the right neighbour going forward, the left going back.
        uint32_t v = std::min(*p, p[side] + kChamferStep);
        v = std::min(v, p[-aStride] + kChamferStep);
        v = std::min(v, p[aStride] + kChamferStep);
        v = std::min(v, p[-aStride - 1] + kChamferDiagonal);
        v = std::min(v, p[-aStride + 1] + kChamferDiagonal);
        v = std::min(v, p[aStride - 1] + kChamferDiagonal);
        v = std::min(v, p[aStride + 1] + kChamferDiagonal);
        t[i] = Knights(p, aStride, v);
    }
    if (aForward) {
        uint32_t left = aRow[-1];
        for (uint32_t i = 0; i < aCount; ++i) {
            const uint32_t v = aRow[i] == 0 ? 0 : std::min(t[i], left + kChamferStep);
            aRow[i] = v;
            left = v;
        }
    } else {
        uint32_t right = aRow[aCount];
        for (uint32_t i = aCount; i-- > 0;) {
            const uint32_t v = aRow[i] == 0 ? 0 : std::min(t[i], right + kChamferStep);
            aRow[i] = v;
            right = v;
        }
    }
}

}  // namespace

void ChamferDistance(uint32_t* aMap, uint32_t aWidth, uint32_t aHeight, uint32_t aLimit, uint32_t aRingValue) {
    if (!aMap || aWidth == 0 || aHeight == 0) return;
    const ptrdiff_t stride = aWidth;
    // Rows and columns 2 .. n-3 need no ring test; the others go through Cell.
    const bool inner = aWidth >= 5 && aHeight >= 5;
    std::vector<uint32_t> scratch(inner ? aWidth - 4 : 0);

    for (uint32_t y = 0; y < aHeight; ++y) {
        if (!inner || y < 2 || y >= aHeight - 2) {
            for (uint32_t x = 0; x < aWidth; ++x) Cell(aMap, aWidth, aHeight, x, y, aRingValue);
            continue;
        }
        Cell(aMap, aWidth, aHeight, 0, y, aRingValue);
        Cell(aMap, aWidth, aHeight, 1, y, aRingValue);
        InnerRow(aMap + size_t(y) * aWidth + 2, stride, aWidth - 4, true, scratch.data());
        Cell(aMap, aWidth, aHeight, aWidth - 2, y, aRingValue);
        Cell(aMap, aWidth, aHeight, aWidth - 1, y, aRingValue);
    }

    for (uint32_t y = aHeight; y-- > 0;) {
        if (!inner || y < 2 || y >= aHeight - 2) {
            for (uint32_t x = aWidth; x-- > 0;) Cell(aMap, aWidth, aHeight, x, y, aRingValue);
            continue;
        }
        Cell(aMap, aWidth, aHeight, aWidth - 1, y, aRingValue);
        Cell(aMap, aWidth, aHeight, aWidth - 2, y, aRingValue);
        InnerRow(aMap + size_t(y) * aWidth + 2, stride, aWidth - 4, false, scratch.data());
        Cell(aMap, aWidth, aHeight, 1, y, aRingValue);
        Cell(aMap, aWidth, aHeight, 0, y, aRingValue);
    }

    const size_t cells = size_t(aWidth) * aHeight;
    for (size_t i = 0; i < cells; ++i) aMap[i] = std::min(aMap[i], aLimit);
}

}  // namespace zt

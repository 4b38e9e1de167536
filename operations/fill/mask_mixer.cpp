#include "operations/fill/mask_mixer.h"

namespace zt {

HRESULT CMaskMixer::Visit(uint32_t aTileCount, const TImageTile* aTiles, void*) {
    if (aTileCount && !aTiles) return E_POINTER;
    for (uint32_t t = 0; t < aTileCount; ++t) {
        const TImageTile& tile = aTiles[t];
        if (!tile.pData) continue;
        for (uint32_t row = 0; row < tile.nSizeY; ++row) {
            const int64_t y = int64_t(tile.nY) + row - originY;
            // A tile reaching past the mixer's rectangle writes nothing there.
            if (y < 0 || y >= int64_t(height)) continue;
            for (uint32_t col = 0; col < tile.nSizeX; ++col) {
                const int64_t x = int64_t(tile.nX) + col - originX;
                if (x < 0 || x >= int64_t(width)) continue;
                const size_t at = size_t(y) * width + size_t(x);
                const TPixelChannel n = tile.pData[size_t(row) * tile.nStrideY + size_t(col) * tile.nStrideX];
                pixels[at] = MixMasked(n, pixels[at], mask[at]);
            }
        }
    }
    return S_OK;
}

}  // namespace zt

// Mixes the result of an operation into the old pixels by a mask, in encoded values: the
// visitor that AutoMask hands to Inspect over the result.
#pragma once

#include "frame/host.h"
#include "frame/object.h"

namespace zt {

// The mix of one pixel: N under weight mask, O under 255 - mask, by alpha.
inline TPixelChannel MixMasked(TPixelChannel aNew, TPixelChannel aOld, uint32_t aMask) {
    const uint32_t wNew = uint32_t(aNew.bA) * aMask, wOld = uint32_t(aOld.bA) * (255 - aMask);
    const uint32_t total = wNew + wOld;
    if (total < 255) return TPixelChannel{};
    TPixelChannel out;
    out.bB = uint8_t((aNew.bB * wNew + aOld.bB * wOld) / total);
    out.bG = uint8_t((aNew.bG * wNew + aOld.bG * wOld) / total);
    out.bR = uint8_t((aNew.bR * wNew + aOld.bR * wOld) / total);
    out.bA = uint8_t(total / 255);
    return out;
}

class CMaskMixer final : public CStackUnknown<IImageVisitor> {
public:
    CMaskMixer(int32_t aOriginX, int32_t aOriginY, uint32_t aWidth, uint32_t aHeight, const uint8_t* aMask,
               TPixelChannel* aPixels)
        : originX(aOriginX), originY(aOriginY), width(aWidth), height(aHeight), mask(aMask), pixels(aPixels) {}

    HRESULT Visit(uint32_t aTileCount, const TImageTile* aTiles, void*) override;

    int32_t originX, originY;
    uint32_t width, height;
    const uint8_t* mask;
    TPixelChannel* pixels;
};

}  // namespace zt

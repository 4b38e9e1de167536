#include "operations/shape/satin_kernels.h"

#include <cmath>
#include <cstdlib>
#include <vector>

#include "operations/shape/stack_blur_kernels.h"

namespace zt {

int32_t RoundAwayFromZero(float aValue) {
    const float v = aValue > 0.0f ? aValue + 0.5f : aValue - 0.5f;
    // Held inside 32 bits; a shift that large misses the plane anyway.
    if (!(v > -1073741824.0f)) return -1073741824;
    if (v > 1073741824.0f) return 1073741824;
    return static_cast<int32_t>(v);
}

void SatinShift(float aSize, float aAngle, int32_t* aX, int32_t* aY) {
    const float theta = aAngle * 3.1415927f / 180.0f;
    *aX = RoundAwayFromZero(std::cos(theta) * aSize);
    *aY = RoundAwayFromZero(std::sin(theta) * -aSize);
}

uint32_t SatinRadius(float aBlur) {
    const float c = std::ceil(aBlur);
    if (!(c > 0.0f)) return 0;
    return c > 65535.0f ? 65535u : static_cast<uint32_t>(c);
}

TPixelChannel SatinPixel(TPixelChannel aPixel, uint32_t aD, TPixelChannel aColour, const SLinearTables& aTables) {
    const uint64_t w = uint64_t(aD) * aColour.bA, u = 65025 - w;
    auto channel = [&](uint8_t aByte, uint8_t aColourByte) {
        const uint64_t L = aTables.lin[aByte] * u + aTables.lin[aColourByte] * w;
        // L / 65025 without a division.
        return LinearToByte(aTables, uint32_t((L + (L >> 15) + (L >> 16) + (L >> 7) + 32767) >> 16));
    };
    TPixelChannel out = aPixel;
    out.bB = channel(aPixel.bB, aColour.bB);
    out.bG = channel(aPixel.bG, aColour.bG);
    out.bR = channel(aPixel.bR, aColour.bR);
    return out;
}

void Satin(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SSatinParams& aParams,
           const SLinearTables& aTables) {
    const uint64_t r = aParams.radius;
    const uint64_t pw = aWidth + 2 * r, ph = aHeight + 2 * r;
    std::vector<uint8_t> plane(size_t(pw * ph), 0);
    for (uint32_t y = 0; y < aHeight; ++y)
        for (uint32_t x = 0; x < aWidth; ++x) plane[size_t((y + r) * pw + x + r)] = aPixels[size_t(y) * aWidth + x].bA;
    StackBlurPlane(plane.data(), uint32_t(pw), uint32_t(ph), size_t(pw), uint32_t(r));

    // A sample outside the plane counts as 0.
    auto sample = [&](int64_t aX, int64_t aY) -> int32_t {
        if (aX < 0 || aY < 0 || aX >= int64_t(pw) || aY >= int64_t(ph)) return 0;
        return plane[size_t(aY) * size_t(pw) + size_t(aX)];
    };
    const int64_t sx = aParams.shiftX, sy = aParams.shiftY;
    for (uint32_t y = 0; y < aHeight; ++y) {
        for (uint32_t x = 0; x < aWidth; ++x) {
            TPixelChannel& p = aPixels[size_t(y) * aWidth + x];
            if (p.bA == 0) continue;
            const int64_t px = int64_t(x) + int64_t(r), py = int64_t(y) + int64_t(r);
            uint32_t d = uint32_t(std::abs(sample(px + sx, py + sy) - sample(px - sx, py - sy)));
            if (aParams.invert) d = 255 - d;
            if (d != 0) p = SatinPixel(p, d, aParams.colour, aTables);
        }
    }
}

}  // namespace zt

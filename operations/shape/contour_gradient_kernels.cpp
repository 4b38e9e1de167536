#include "operations/shape/contour_gradient_kernels.h"

#include <algorithm>
#include <cmath>

#include "operations/shape/chamfer.h"
#include "operations/shape/outlines_kernels.h"

namespace zt {

float ContourGradientScale(float aScale) { return aScale > 1.0f ? aScale : 1.0f; }

std::vector<TPixelChannel> ContourGradientTable(const TGradient& aGradient, float aScale) {
    const uint32_t n = static_cast<uint32_t>(std::ceil(aScale) * 4.0f);
    const std::vector<SGradientStop> entries = GradientToTable(aGradient, n);
    std::vector<TPixelChannel> table(size_t(n) + 1);
    for (uint32_t i = 0; i < n; ++i) {
        table[i].bR = OutlineChannelByte(entries[i].r);
        table[i].bG = OutlineChannelByte(entries[i].g);
        table[i].bB = OutlineChannelByte(entries[i].b);
        table[i].bA = OutlineAlphaByte(entries[i].a);
    }
    table[n] = table[n - 1];
    return table;
}

void ContourGradient(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, float aScale,
                     const std::vector<TPixelChannel>& aTable) {
    const uint32_t T = static_cast<uint32_t>(aScale * 256.0f);
    const size_t w = size_t(aWidth) + 2;
    std::vector<uint32_t> map(w * (size_t(aHeight) + 2), 0);  // the ring is 0
    for (uint32_t y = 0; y < aHeight; ++y) {
        for (uint32_t x = 0; x < aWidth; ++x) {
            const uint8_t a = aPixels[size_t(y) * aWidth + x].bA;
            map[(y + 1) * w + x + 1] = a > 254 ? T : a;
        }
    }
    ChamferDistance(map.data(), uint32_t(w), aHeight + 2, T, 256);
    const size_t last = aTable.size() - 1;
    for (uint32_t y = 0; y < aHeight; ++y) {
        for (uint32_t x = 0; x < aWidth; ++x) {
            TPixelChannel& p = aPixels[size_t(y) * aWidth + x];
            if (p.bA == 0) continue;
            const uint32_t d = map[(y + 1) * w + x + 1];
            const TPixelChannel entry = aTable[std::min<size_t>((size_t(d) + 32) >> 6, last)];
            const uint8_t alpha = p.bA;
            p = entry;
            if (alpha <= 254) p.bA = uint8_t(uint32_t(entry.bA) * alpha / 255);
        }
    }
}

}  // namespace zt

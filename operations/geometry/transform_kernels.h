// Pixel producers of rotation and general transforms: exact copies for right angles, mirror
// and flip, and a 2x2 Hermite sampler in 1/256 pixel steps over 16-bit premultiplied pixels.
#pragma once

#include <cstdint>
#include <vector>

#include "frame/host.h"
#include "pixel/region.h"

namespace zt::transform {

// 512 signed taps: table[f + 256] is the near tap of fraction f, table[f] the far one.
void HermiteTable(int16_t aTable[512]);

// The sampler's state of one call: tables, the converted default pixel and the source.
struct SSampler {
    int16_t weights[512];
    bool gamma = false;
    uint16_t toLinear[256];
    uint16_t toGamma[256 + 2];  // guard entries 0xFF00 behind the last
    uint16_t fill[4];           // default pixel, premultiplied 16-bit B, G, R, A
    int64_t x0, y0, x1, y1;     // source rectangle on the canvas
    // The source converted once, with a frame of one default pixel all round, so that a
    // window overlapping the edge reads the default without a test per pixel.
    std::vector<uint16_t> padded;
    size_t paddedRow = 0;              // in pixels
    std::vector<uint64_t> reciprocal;  // 2^48 / alpha + 1 for every 16-bit alpha

    void Init(float aGamma, TPixelChannel aDefault, const SSourcePixels& aSource);
    void Convert(TPixelChannel aPixel, uint16_t aOut[4]) const;
    // One target pixel from a position in 1/256 pixel, the half pixel already subtracted.
    TPixelChannel Sample(int64_t aPX, int64_t aPY) const;
};

// Inclusive gamma range here: 0.1 and 10.0 take tables too.
bool UsesGamma(float aGamma);

// Rotation: the three exact paths, otherwise the affine sampler with anchors every 16 pixels.
void RotateTile(float aGamma, TPixelChannel aFill, const TMatrix3x3f& aMatrix, const SSourcePixels& aSource,
                const STargetPixels& aTarget);

// General transform: mirror and flip copies, otherwise a perspective divide per pixel.
void TransformTile(float aGamma, TPixelChannel aFill, const TMatrix3x3f& aMatrix, const SSourcePixels& aSource,
                   const STargetPixels& aTarget);

template <class R>
void Invert3x3(const R aM[9], R aOut[9]) {
    const R c0 = aM[4] * aM[8] - aM[5] * aM[7];
    const R c1 = aM[5] * aM[6] - aM[3] * aM[8];
    const R c2 = aM[3] * aM[7] - aM[4] * aM[6];
    const R det = aM[0] * c0 + aM[1] * c1 + aM[2] * c2;
    if (det == 0) {
        for (int i = 0; i < 9; ++i) aOut[i] = 0;
        return;
    }
    aOut[0] = c0 / det;
    aOut[1] = (aM[2] * aM[7] - aM[1] * aM[8]) / det;
    aOut[2] = (aM[1] * aM[5] - aM[2] * aM[4]) / det;
    aOut[3] = c1 / det;
    aOut[4] = (aM[0] * aM[8] - aM[2] * aM[6]) / det;
    aOut[5] = (aM[2] * aM[3] - aM[0] * aM[5]) / det;
    aOut[6] = c2 / det;
    aOut[7] = (aM[1] * aM[6] - aM[0] * aM[7]) / det;
    aOut[8] = (aM[0] * aM[4] - aM[1] * aM[3]) / det;
}

// Row-vector product: first aA, then aB.
template <class R>
void Multiply3x3(const R aA[9], const R aB[9], R aOut[9]) {
    R r[9];
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r[3 * i + j] = aA[3 * i] * aB[j] + aA[3 * i + 1] * aB[3 + j] + aA[3 * i + 2] * aB[6 + j];
    for (int i = 0; i < 9; ++i) aOut[i] = r[i];
}

}  // namespace zt::transform

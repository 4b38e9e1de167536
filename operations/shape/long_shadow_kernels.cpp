#include "operations/shape/long_shadow_kernels.h"

#include <cmath>
#include <cstdlib>
#include <vector>

#include "pixel/colour.h"

namespace zt {

namespace {

// ceil away from zero: ceil(v) for v >= 0, otherwise -ceil(-v); held inside 32 bits.
int32_t Reach(float aValue) {
    const double r = aValue >= 0.0f ? std::ceil(double(aValue)) : -std::ceil(-double(aValue));
    if (!(r > -1073741824.0)) return -1073741824;  // also NaN: refused later as too large
    if (r > 1073741824.0) return 1073741824;
    return static_cast<int32_t>(r);
}

}  // namespace

SLongShadowVector LongShadowVector(float aLength, float aOrientation) {
    const float theta = aOrientation * 3.1415927f / 180.0f;
    SLongShadowVector v;
    v.dx = std::sin(theta) * aLength;
    v.dy = -std::cos(theta) * aLength;
    v.ix = Reach(v.dx);
    v.iy = Reach(v.dy);
    return v;
}

TPixelChannel LongShadowOver(TPixelChannel aPixel, const SLongShadowColour& aColour, const uint16_t* aTable) {
    const uint64_t a = aPixel.bA;
    const uint64_t w = (255 - a) * aColour.pixel.bA;
    const uint64_t t = a * 255 + w;
    auto channel = [&](uint32_t aLin, uint8_t aByte) {
        return LinearToSRGB8(aTable, static_cast<uint32_t>((aLin * w + a * aTable[aByte] * 255) / t));
    };
    TPixelChannel out;
    out.bB = channel(aColour.linB, aPixel.bB);
    out.bG = channel(aColour.linG, aPixel.bG);
    out.bR = channel(aColour.linR, aPixel.bR);
    out.bA = static_cast<uint8_t>(t / 255);
    return out;
}

void LongShadowSweep(const TPixelChannel* aSource, uint32_t aWidth, uint32_t aHeight, size_t aSourceRow,
                     TPixelChannel* aTarget, const SLongShadowVector& aVector, const SLongShadowColour& aColour,
                     TPixelChannel aDefault, const uint16_t* aTable) {
    const uint32_t ax = uint32_t(std::abs(aVector.ix)), ay = uint32_t(std::abs(aVector.iy));
    const size_t targetRow = size_t(aWidth) + ax;
    // Lines cross the shadow's direction: rows when it is steeper than 45 degrees.
    const bool byRows = std::fabs(aVector.dy) >= std::fabs(aVector.dx);
    const float along = byRows ? std::fabs(aVector.dy) : std::fabs(aVector.dx);
    const float across = byRows ? std::fabs(aVector.dx) : std::fabs(aVector.dy);
    const float slope = along > 0.0f ? across / along : 0.0f;  // no length: no slope
    const float G = along;
    const uint32_t Ls = byRows ? aHeight : aWidth, Ps = byRows ? aWidth : aHeight;
    const uint32_t Ld = Ls + (byRows ? ay : ax), Pd = Ps + (byRows ? ax : ay);
    // The sweep starts on the side the shadow comes from.
    const bool backLines = byRows ? aVector.iy < 0 : aVector.ix < 0;
    const bool backPixels = byRows ? aVector.ix < 0 : aVector.iy < 0;

    // Pixel i of line j in an array of aLines lines of aPixels pixels, rows aRow apart.
    auto at = [&](uint32_t aI, uint32_t aJ, uint32_t aLines, uint32_t aPixels, size_t aRow) {
        const size_t line = backLines ? aLines - 1 - aJ : aJ, pixel = backPixels ? aPixels - 1 - aI : aI;
        return byRows ? line * aRow + pixel : pixel * aRow + line;
    };

    // top[k]: the last line on which something stood in skewed column k, in 1/255 of a line.
    std::vector<float> top(size_t(Ld) + 1 + Pd, G * -510.0f);
    const float lastLine = float(Ld);
    for (uint32_t j = 0; j < Ld; ++j) {
        const int64_t skew = static_cast<int64_t>(lastLine - (slope * float(j) + 0.5f));
        // The skew stays within 0 .. Ld for slopes up to 1; held there whatever rounding does.
        const size_t o = size_t(skew < 0 ? 0 : skew > int64_t(Ld) ? int64_t(Ld) : skew);
        const float t = (float(j) - G) * 255.0f;
        uint32_t i = 0;
        if (j < Ls) {
            for (; i < Ps; ++i) {
                const TPixelChannel s = aSource[at(i, j, Ls, Ps, aSourceRow)];
                TPixelChannel& d = aTarget[at(i, j, Ld, Pd, targetRow)];
                float& reach = top[i + o];
                if (s.bA != 0) {
                    // A pixel is over the shadow when a caster stood fewer than G lines back:
                    // judged before the pixel casts its own, so that Length 0 keeps the image.
                    d = s.bA == 255 || t >= reach ? s : LongShadowOver(s, aColour, aTable);
                    const float v = float(int64_t(j) * 255 + s.bA);
                    if (v > reach) reach = v;
                } else {
                    d = reach > t ? aColour.pixel : aDefault;
                }
            }
        }
        for (; i < Pd; ++i) aTarget[at(i, j, Ld, Pd, targetRow)] = top[i + o] > t ? aColour.pixel : aDefault;
    }
}

}  // namespace zt

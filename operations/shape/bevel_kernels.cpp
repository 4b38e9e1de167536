#include "operations/shape/bevel_kernels.h"

#include <algorithm>
#include <cmath>

#include "operations/shape/chamfer.h"
#include "operations/shape/stack_blur_kernels.h"
#include "pixel/colour.h"

namespace zt {

SBevelVector BevelLight(float aX, float aY, float aZ, float aW) {
    return {2 * (aX * aZ - aW * aY), 2 * (aX * aW + aY * aZ), 1 - 2 * (aX * aX + aY * aY)};
}

namespace {

// trunc(v) held inside 32 bits; what is not a number gives 0 (a light or colour setting can be).
int32_t Truncate(float aValue) {
    if (!(aValue == aValue)) return 0;
    if (aValue <= -2147483648.0f) return INT32_MIN;
    if (aValue >= 2147483647.0f) return INT32_MAX;
    return static_cast<int32_t>(aValue);
}

// Long side over short side of a tile of a grid.
float Ratio(uint32_t aWidth, uint32_t aHeight, uint32_t aColumns, uint32_t aRows) {
    const float w = float(aWidth / aColumns), h = float(aHeight / aRows);
    const float lo = std::min(w, h), hi = std::max(w, h);
    return lo > 0 ? hi / lo : INFINITY;
}

// Z of the normal: the slope's cosine over that of 45 degrees, x 512, with the constants as
// the effect has always had them.
float NormalZ(const SBevelParams& aParams) {
    const float a = float(aParams.method == EBevelEdges ? aParams.angle : 45);
    return std::cos(a * 3.1415f / 180.0f) / std::cos(0.785375f) * 256.0f * 2.0f;
}

}  // namespace

uint32_t BevelGridColumns(uint32_t aWidth, uint32_t aHeight, uint32_t aMargin, uint32_t aShares) {
    const uint32_t c = aMargin + 64;
    const uint32_t nx = std::max(aWidth / c, 1u), ny = std::max(aHeight / c, 1u);
    const uint32_t N = aShares;
    if (nx <= ny) {
        uint32_t columns = 1;
        float best = Ratio(aWidth, aHeight, 1, N);
        for (uint32_t cols = 2; cols <= nx; ++cols) {
            if (N % cols) continue;
            const float r = Ratio(aWidth, aHeight, cols, N / cols);
            if (r > best) break;
            best = r;
            columns = cols;
        }
        return columns;
    }
    uint32_t rows = 1;
    float best = Ratio(aWidth, aHeight, N, 1);
    for (uint32_t r = 2; r <= ny; ++r) {
        if (N % r) continue;
        const float ratio = Ratio(aWidth, aHeight, N / r, r);
        if (ratio > best) break;
        best = ratio;
        rows = r;
    }
    return N / rows;
}

bool BevelTileOf(uint32_t aIndex, uint32_t aTotal, uint32_t aWidth, uint32_t aHeight, uint32_t aMargin,
                 SBevelTile* aTile) {
    uint32_t cols = 1, rows = 1;
    if (aTotal >= 2) {
        const uint64_t c = uint64_t(aMargin) + 64;
        const uint64_t nx = std::max<uint64_t>(aWidth / c, 1), ny = std::max<uint64_t>(aHeight / c, 1);
        if (aIndex >= nx * ny) return false;
        const uint32_t N = uint32_t(std::min<uint64_t>(aTotal, nx * ny));
        cols = BevelGridColumns(aWidth, aHeight, aMargin, N);
        rows = N / cols;
    } else if (aIndex != 0) {
        return false;
    }
    const uint32_t col = aIndex % cols, row = aIndex / cols;
    if (row >= rows) return false;
    SBevelArea own{uint32_t(uint64_t(col) * aWidth / cols), uint32_t(uint64_t(row) * aHeight / rows),
                   uint32_t(uint64_t(col + 1) * aWidth / cols), uint32_t(uint64_t(row + 1) * aHeight / rows)};
    // Widened by the margin where a neighbour is, held inside the rectangle.
    SBevelArea outer = own;
    if (col > 0) outer.x0 = own.x0 > aMargin ? own.x0 - aMargin : 0;
    if (row > 0) outer.y0 = own.y0 > aMargin ? own.y0 - aMargin : 0;
    if (col + 1 < cols) outer.x1 = uint32_t(std::min<uint64_t>(uint64_t(own.x1) + aMargin, aWidth));
    if (row + 1 < rows) outer.y1 = uint32_t(std::min<uint64_t>(uint64_t(own.y1) + aMargin, aHeight));
    *aTile = {own, outer};
    return true;
}

void BevelHeightMap(const uint8_t* aAlpha, size_t aAlphaRow, const SBevelArea& aOuter, const uint8_t* aMask,
                    const SBevelParams& aParams, std::vector<uint32_t>& aMap) {
    const uint32_t w = aOuter.x1 - aOuter.x0 + 2, h = aOuter.y1 - aOuter.y0 + 2;
    const uint32_t T = uint32_t(aParams.amount) << 8;
    aMap.assign(size_t(w) * h, 0);
    for (uint32_t y = 0; y < h; ++y) {
        const uint8_t* alpha = aAlpha + (aOuter.y0 + size_t(y)) * aAlphaRow + aOuter.x0;
        uint32_t* cell = aMap.data() + size_t(y) * w;
        for (uint32_t x = 0; x < w; ++x) {
            if (!aMask) {
                cell[x] = alpha[x] == 0 ? 0 : alpha[x] > 254 ? T : alpha[x];
            } else if (x > 0 && y > 0 && x + 1 < w && y + 1 < h) {
                const uint32_t v = uint32_t(alpha[x]) * aMask[size_t(y) * w + x];
                cell[x] = v < 255 ? 0 : v < 64517 ? (v << 8) >> 16 : T;
            }
        }
    }
    ChamferDistance(aMap.data(), w, h, T, 256);
    if (aParams.method == EBevelRound || aParams.method == EBevelRidged) {
        const double top = aParams.method == EBevelRound ? 2.0 * T : double(T);
        for (uint32_t& d : aMap)
            if (d) d = static_cast<uint32_t>(std::sqrt((top - d) * d));
    }
    if (aParams.blur > 0) StackBlurPlane(aMap.data(), w, h, w, uint32_t(aParams.blur));
}

void BevelLightTile(TPixelChannel* aBuffer, size_t aRow, uint32_t aWidth, uint32_t aHeight, const SBevelTile& aTile,
                    const std::vector<uint32_t>& aMap, const SBevelParams& aParams, const uint16_t* aTable) {
    const SBevelArea& own = aTile.own;
    const SBevelArea& outer = aTile.outer;
    const size_t mapRow = size_t(outer.x1 - outer.x0) + 2;
    // The height at a pixel of the rectangle, through the map of the outer area and its ring.
    auto h = [&](int64_t aX, int64_t aY) {
        return int64_t(aMap[size_t(aY - outer.y0 + 1) * mapRow + size_t(aX - outer.x0 + 1)]);
    };
    const SBevelVector& l = aParams.light;
    const float Z = NormalZ(aParams);
    const bool normalMap = aParams.output == EBevelNormalMap;
    const bool simple = !normalMap && aParams.method == EBevelSimple;

    // The lit output's constants.
    const float k = 255.0f / std::max(l.z, 0.1f);
    const float s = std::sqrt(aParams.specular[0] * aParams.specular[0] + aParams.specular[1] * aParams.specular[1] +
                              aParams.specular[2] * aParams.specular[2]) /
                    std::sqrt(3.0f);
    const bool shine = s > 0.001f;
    const float p = s < 0.1f ? 10.0f : s < 1.0f ? 38.88889f * s * s + 1.6666641f * s + 9.444445f : 50.0f;
    const float M = float(std::max(aWidth, aHeight)), u = 0.8f / M;
    const float base = aParams.keepFlat ? 255.0f * l.z : 255.0f * std::cos(0.785398f);

    for (uint32_t y = own.y0; y < own.y1; ++y) {
        TPixelChannel* row = aBuffer + (size_t(y) + 1) * aRow + 1;
        for (uint32_t x = own.x0; x < own.x1; ++x) {
            TPixelChannel& px = row[x];
            if (!normalMap && px.bA == 0) continue;
            const int64_t X = x, Y = y;
            float gx = float(h(X - 1, Y) - h(X + 1, Y)), gy = float(h(X, Y + 1) - h(X, Y - 1));
            if (simple) {
                const int32_t D = static_cast<int32_t>(
                    (gx * l.x + gy * l.y + 512.0f * l.z) * 255.0f / std::sqrt(gx * gx + gy * gy + 262144.0f) - base);
                auto add = [&](uint8_t& aByte) {
                    aByte = uint8_t(std::clamp(int64_t(aByte) + D, int64_t(0), int64_t(255)));
                };
                add(px.bB);
                add(px.bG);
                add(px.bR);
                continue;
            }
            if (aParams.sunken) gx = -gx, gy = -gy;
            const float length = std::sqrt(gx * gx + gy * gy + Z * Z);
            const float nx = gx / length, ny = gy / length, nz = Z / length;
            if (normalMap) {
                px.bR = uint8_t(Truncate(std::floor(nx * 127.0f + 127.5f)));
                px.bG = uint8_t(Truncate(std::floor(ny * 127.0f + 127.5f)));
                px.bB = uint8_t(Truncate(std::floor(nz * 127.0f + 127.5f)));
                px.bA = 255;
                continue;
            }
            const float e = l.x * nx + l.y * ny + l.z * nz;
            const int32_t f = std::max(Truncate(e * k * 0.5f), 0);
            float S = 0.0f;
            if (shine) {
                const float tileX = float(own.x0), tileY = float(own.y0);
                const float lx = float(x - own.x0), ly = float(y - own.y0);
                const float vx = 0.4f - ((M - float(aWidth)) * 0.5f + 0.5f + tileX) * u - lx * u;
                const float vy = ((M - float(aHeight)) * 0.5f + 0.5f + tileY) * u - 0.4f + ly * u;
                const float vz = std::sqrt(1.0f - vx * vx - vy * vy);
                const float rx = l.x - 2 * e * nx, ry = l.y - 2 * e * ny, rz = l.z - 2 * e * nz;
                const float q = rx * vx + ry * vy + rz * vz;
                if (q < 0) S = std::pow(-q, p) * 255.0f * 256.0f * 0.75f;
            }
            auto channel = [&](uint8_t& aByte, float aSpecular) {
                const float t = float((uint32_t(aTable[aByte]) * uint32_t(f)) >> 7) + S * aSpecular;
                const int32_t v = t >= 65280.0f ? 65280 : t > 0.0f ? static_cast<int32_t>(t) : 0;
                aByte = LinearToSRGB8(aTable, uint32_t(v));
            };
            channel(px.bR, aParams.specular[0]);
            channel(px.bG, aParams.specular[1]);
            channel(px.bB, aParams.specular[2]);
        }
    }
}

}  // namespace zt

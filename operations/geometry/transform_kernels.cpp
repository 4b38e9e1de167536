#include "operations/geometry/transform_kernels.h"

#include <algorithm>
#include <cmath>

namespace zt::transform {

void HermiteTable(int16_t aTable[512]) {
    for (int i = 0; i < 256; ++i) {
        const double x = i / 256.0;
        const int16_t w = static_cast<int16_t>(std::lround(((2 * x - 3) * x * x + 1) * 16384));
        aTable[256 - i] = w;
        aTable[256 + i] = w;
    }
    aTable[0] = aTable[511];
}

bool UsesGamma(float aGamma) { return aGamma != 1.0f && aGamma >= 0.1f && aGamma <= 10.0f; }

void SSampler::Init(float aGamma, TPixelChannel aDefault, const SSourcePixels& aSource) {
    const TImagePoint aOrigin = aSource.origin;
    const TImageSize aSize = aSource.size;
    HermiteTable(weights);
    gamma = UsesGamma(aGamma);
    if (gamma) {
        const double inverse = 1.0 / aGamma;
        for (int i = 0; i < 256; ++i) {
            toLinear[i] = static_cast<uint16_t>(std::pow(i / 255.0, double(aGamma)) * 65535 + 0.5);
            toGamma[i] = static_cast<uint16_t>(std::pow(i / 255.0, inverse) * 65535 + 0.5);
        }
        toGamma[256] = toGamma[257] = 0xFF00;
    }
    Convert(aDefault, fill);
    reciprocal.resize(65536);
    reciprocal[0] = 0;
    for (uint32_t a = 1; a < 65536; ++a) reciprocal[a] = ((uint64_t(1) << 48) / a) + 1;
    x0 = aOrigin.nX;
    y0 = aOrigin.nY;
    x1 = x0 + aSize.nX;
    y1 = y0 + aSize.nY;
    paddedRow = size_t(aSize.nX) + 2;
    padded.resize(paddedRow * (size_t(aSize.nY) + 2) * 4);
    uint16_t* out = padded.data();
    auto frame = [&](size_t aCount) {
        for (size_t i = 0; i < aCount; ++i, out += 4) std::copy(fill, fill + 4, out);
    };
    frame(paddedRow);
    for (uint32_t y = 0; y < aSize.nY; ++y) {
        frame(1);
        const TPixelChannel* row = aSource.Row(y);
        for (uint32_t x = 0; x < aSize.nX; ++x, out += 4) Convert(row[size_t(x) * aSource.stride.nX], out);
        frame(1);
    }
    frame(paddedRow);
}

void SSampler::Convert(TPixelChannel aPixel, uint16_t aOut[4]) const {
    const uint32_t a = aPixel.bA;
    if (gamma) {
        aOut[0] = static_cast<uint16_t>(toLinear[aPixel.bB] * a / 255);
        aOut[1] = static_cast<uint16_t>(toLinear[aPixel.bG] * a / 255);
        aOut[2] = static_cast<uint16_t>(toLinear[aPixel.bR] * a / 255);
    } else {
        aOut[0] = static_cast<uint16_t>((uint32_t(aPixel.bB) << 8 | aPixel.bB) * a / 255);
        aOut[1] = static_cast<uint16_t>((uint32_t(aPixel.bG) << 8 | aPixel.bG) * a / 255);
        aOut[2] = static_cast<uint16_t>((uint32_t(aPixel.bR) << 8 | aPixel.bR) * a / 255);
    }
    aOut[3] = static_cast<uint16_t>(a << 8 | a);
}

TPixelChannel SSampler::Sample(int64_t aPX, int64_t aPY) const {
    const int64_t bx = aPX >> 8, by = aPY >> 8;
    const uint32_t fx = static_cast<uint32_t>(aPX & 255), fy = static_cast<uint32_t>(aPY & 255);
    const int32_t nx = weights[fx + 256], fxw = weights[fx], ny = weights[fy + 256], fyw = weights[fy];
    const uint32_t w[4] = {
        static_cast<uint32_t>((nx * ny + 8192) >> 14),
        static_cast<uint32_t>((fxw * ny + 8192) >> 14),
        static_cast<uint32_t>((nx * fyw + 8192) >> 14),
        static_cast<uint32_t>((fxw * fyw + 8192) >> 14),
    };
    uint32_t sum[4] = {8192, 8192, 8192, 8192};
    if (bx < x0 - 1 || bx >= x1 || by < y0 - 1 || by >= y1) {
        // The whole window lies outside: four default pixels.
        for (int j = 0; j < 4; ++j)
            for (int k = 0; k < 4; ++k) sum[k] += w[j] * fill[k];
    } else {
        const uint16_t* p00 = padded.data() + (size_t(by - y0 + 1) * paddedRow + size_t(bx - x0 + 1)) * 4;
        const uint16_t* p[4] = {p00, p00 + 4, p00 + paddedRow * 4, p00 + paddedRow * 4 + 4};
        for (int j = 0; j < 4; ++j)
            for (int k = 0; k < 4; ++k) sum[k] += w[j] * p[j][k];
    }
    uint32_t alpha = std::min<uint32_t>(sum[3] >> 14, 65535);
    uint32_t col[3];
    for (int k = 0; k < 3; ++k) col[k] = std::min(sum[k] >> 14, alpha);
    if (alpha == 0) {
        col[0] = col[1] = col[2] = 0;
    } else if (alpha < 65535) {
        // c * 65535 / alpha by one reciprocal: with m = 2^48 / alpha + 1 the error stays below
        // 2^-16, less than the distance 1 / alpha of any quotient from the next whole number.
        const unsigned __int128 m = reciprocal[alpha];
        for (int k = 0; k < 3; ++k) {
            const uint32_t q = static_cast<uint32_t>((uint64_t(col[k]) * 65535 * m) >> 48);
            col[k] = std::min<uint32_t>(q, 65535);
        }
    }
    TPixelChannel out;
    uint8_t bytes[3];
    for (int k = 0; k < 3; ++k) {
        if (gamma) {
            const int32_t i = static_cast<int32_t>(col[k] >> 8), t = static_cast<int32_t>(col[k] & 255);
            const int32_t lo = toGamma[i], hi = toGamma[i + 1];
            bytes[k] = static_cast<uint8_t>(((((hi - lo) * t + 128) >> 8) + lo) >> 8);
        } else {
            bytes[k] = static_cast<uint8_t>(col[k] >> 8);
        }
    }
    out.bB = bytes[0];
    out.bG = bytes[1];
    out.bR = bytes[2];
    out.bA = static_cast<uint8_t>(alpha >> 8);
    return out;
}

namespace {

bool Whole(float aValue) { return std::floor(aValue) == aValue && std::fabs(aValue) < 2147483648.0f; }

// Fills each target pixel with the source pixel that aPick names (canvas coordinates), or aFill.
template <class F>
void CopyMapped(TPixelChannel aFill, const SSourcePixels& aSource, const STargetPixels& aTarget, F&& aPick) {
    const int64_t sx0 = aSource.origin.nX, sy0 = aSource.origin.nY;
    for (uint32_t j = 0; j < aTarget.size.nY; ++j) {
        TPixelChannel* d = aTarget.Row(j);
        const int64_t ty = int64_t(aTarget.origin.nY) + j;
        for (uint32_t i = 0; i < aTarget.size.nX; ++i) {
            const int64_t tx = int64_t(aTarget.origin.nX) + i;
            int64_t sx, sy;
            aPick(tx, ty, sx, sy);
            sx -= sx0;
            sy -= sy0;
            d[size_t(i) * aTarget.stride.nX] =
                sx >= 0 && sy >= 0 && sx < int64_t(aSource.size.nX) && sy < int64_t(aSource.size.nY)
                    ? aSource.Row(size_t(sy))[size_t(sx) * aSource.stride.nX]
                    : aFill;
        }
    }
}

// A position in 1/256 pixel, kept far outside the source when the map sends it to infinity.
int64_t Fixed(double aValue) {
    const double v = aValue * 256;
    if (!(v > -1e15 && v < 1e15)) return int64_t(1) << 50;
    return std::llround(v);
}

}  // namespace

void RotateTile(float aGamma, TPixelChannel aFill, const TMatrix3x3f& aMatrix, const SSourcePixels& aSource,
                const STargetPixels& aTarget) {
    const float* m = aMatrix.m;
    auto copy = [&](auto&& pick) { CopyMapped(aFill, aSource, aTarget, pick); };
    if (m[0] == 0 && m[1] == 1 && m[3] == -1 && m[4] == 0 && Whole(m[6]) && Whole(m[7])) {
        const int64_t t6 = int64_t(m[6]), t7 = int64_t(m[7]);
        return copy([&](int64_t x, int64_t y, int64_t& sx, int64_t& sy) {
            sx = y - t7;
            sy = t6 - 1 - x;
        });
    }
    if (m[0] == 0 && m[1] == -1 && m[3] == 1 && m[4] == 0 && Whole(m[6]) && Whole(m[7])) {
        const int64_t t6 = int64_t(m[6]), t7 = int64_t(m[7]);
        return copy([&](int64_t x, int64_t y, int64_t& sx, int64_t& sy) {
            sx = t7 - 1 - y;
            sy = x - t6;
        });
    }
    if (m[0] == -1 && m[1] == 0 && m[3] == 0 && m[4] == -1 && aSource.size.nX == aTarget.size.nX &&
        aSource.size.nY == aTarget.size.nY) {
        const uint32_t W = aSource.size.nX, H = aSource.size.nY;
        for (uint32_t j = 0; j < H; ++j) {
            const TPixelChannel* s = aSource.Row(j);
            TPixelChannel* d = aTarget.Row(H - 1 - j);
            for (uint32_t i = 0; i < W; ++i)
                d[size_t(W - 1 - i) * aTarget.stride.nX] = s[size_t(i) * aSource.stride.nX];
        }
        return;
    }

    // Target to source: the inverse of the affine part.
    const double a = m[0], b = m[1], c = m[3], d = m[4], e = m[6], f = m[7];
    const double det = a * d - b * c;
    double i0 = 0, i1 = 0, i3 = 0, i4 = 0, i6 = 0, i7 = 0;
    if (det != 0) {
        i0 = d / det;
        i1 = -b / det;
        i3 = -c / det;
        i4 = a / det;
        i6 = (c * f - d * e) / det;
        i7 = (b * e - a * f) / det;
    }
    SSampler sampler;
    sampler.Init(aGamma, aFill, aSource);
    const double ox = aTarget.origin.nX, oy = aTarget.origin.nY;
    const uint32_t W = aTarget.size.nX, H = aTarget.size.nY;
    // Each 16-pixel segment stands alone between two exact anchors, so the target is walked
    // in blocks of rows and segments: same pixels, and the source window stays in cache.
    constexpr uint32_t kBlockRows = 32, kBlockColumns = 256;
    for (uint32_t by = 0; by < H; by += kBlockRows) {
        const uint32_t yEnd = std::min(H, by + kBlockRows);
        for (uint32_t bx = 0; bx < W; bx += kBlockColumns) {
            const uint32_t xEnd = std::min(W, bx + kBlockColumns);
            for (uint32_t j = by; j < yEnd; ++j) {
                TPixelChannel* out = aTarget.Row(j);
                const double Y = j + oy + 0.5;
                auto anchor = [&](uint32_t x, int64_t& u, int64_t& v) {
                    const double X = x + ox + 0.5;
                    u = Fixed(X * i0 + Y * i3 + i6);
                    v = Fixed(X * i1 + Y * i4 + i7);
                };
                int64_t au, av;
                anchor(bx, au, av);
                for (uint32_t s = bx; s < xEnd; s += 16) {
                    int64_t nu, nv;
                    anchor(s + 16, nu, nv);
                    // A line-drawing step: floored quotient and remainder of the distance by 16.
                    const int64_t du = nu - au, dv = nv - av;
                    const int64_t qu = du >> 4, ru = du & 15, qv = dv >> 4, rv = dv & 15;
                    int64_t pu = au, pv = av, eu = 0, ev = 0;
                    const uint32_t n = std::min<uint32_t>(16, xEnd - s);
                    for (uint32_t i = 0; i < n; ++i) {
                        out[size_t(s + i) * aTarget.stride.nX] = sampler.Sample(pu - 128, pv - 128);
                        pu += qu;
                        eu += ru;
                        if (eu >= 16) {
                            ++pu;
                            eu -= 16;
                        }
                        pv += qv;
                        ev += rv;
                        if (ev >= 16) {
                            ++pv;
                            ev -= 16;
                        }
                    }
                    au = nu;
                    av = nv;
                }
            }
        }
    }
}

void TransformTile(float aGamma, TPixelChannel aFill, const TMatrix3x3f& aMatrix, const SSourcePixels& aSource,
                   const STargetPixels& aTarget) {
    const float* m = aMatrix.m;
    auto copy = [&](auto&& pick) { CopyMapped(aFill, aSource, aTarget, pick); };
    if (m[0] == -1 && m[1] == 0 && m[2] == 0 && m[3] == 0 && m[4] == 1 && m[5] == 0 && Whole(m[6]) && m[7] == 0 &&
        m[8] == 1) {
        const int64_t t6 = int64_t(m[6]);
        return copy([&](int64_t x, int64_t y, int64_t& sx, int64_t& sy) {
            sx = t6 - 1 - x;
            sy = y;
        });
    }
    if (m[0] == 1 && m[1] == 0 && m[2] == 0 && m[3] == 0 && m[4] == -1 && m[5] == 0 && m[6] == 0 && Whole(m[7]) &&
        m[8] == 1) {
        const int64_t t7 = int64_t(m[7]);
        return copy([&](int64_t x, int64_t y, int64_t& sx, int64_t& sy) {
            sx = x;
            sy = t7 - 1 - y;
        });
    }
    float inverse[9];
    Invert3x3<float>(m, inverse);
    const float shift[9] = {1, 0, 0, 0, 1, 0, float(aTarget.origin.nX), float(aTarget.origin.nY), 1};
    float composed[9];
    Multiply3x3<float>(shift, inverse, composed);
    double r[9];
    for (int i = 0; i < 9; ++i) r[i] = composed[i];
    SSampler sampler;
    sampler.Init(aGamma, aFill, aSource);
    for (uint32_t j = 0; j < aTarget.size.nY; ++j) {
        TPixelChannel* out = aTarget.Row(j);
        const double Y = j + 0.5;
        for (uint32_t i = 0; i < aTarget.size.nX; ++i) {
            const double X = i + 0.5;
            const double w = X * r[2] + Y * r[5] + r[8];
            const int64_t u = Fixed((X * r[0] + Y * r[3] + r[6]) / w);
            const int64_t v = Fixed((X * r[1] + Y * r[4] + r[7]) / w);
            out[size_t(i) * aTarget.stride.nX] = sampler.Sample(u - 128, v - 128);
        }
    }
}

}  // namespace zt::transform

#include "operations/shape/projected_shadow_kernels.h"

#include <algorithm>
#include <cmath>

#include "operations/geometry/perspective.h"
#include "operations/geometry/transform_kernels.h"
#include "operations/shape/stack_blur_kernels.h"
#include "pixel/polygon_fill.h"

namespace zt {

namespace {

uint32_t Radius(float aSize, float aBlur, uint32_t aWidth, uint32_t aHeight) {
    const float v = aSize * aBlur / 300.0f + 0.5f;
    const uint32_t r = v > 0.0f ? (v < 4294967040.0f ? static_cast<uint32_t>(v) : 4294967040u) : 0;
    return std::min({r, aWidth, aHeight});
}

// The bilinear weights of 256 sub-pixel steps: 1 - t in 1/16384, the pair summing to 16384.
struct SBilinearWeights {
    int32_t near[256];
    SBilinearWeights() {
        for (int f = 0; f < 256; ++f) near[f] = int32_t(std::lround((1.0 - f / 256.0) * 16384.0));
    }
};
const SBilinearWeights kWeights;

// A point through a 3x3 row-vector matrix, with the perspective divide.
void Map(const double aM[9], double aX, double aY, double* aOutX, double* aOutY) {
    const double w = aX * aM[2] + aY * aM[5] + aM[8];
    *aOutX = (aX * aM[0] + aY * aM[3] + aM[6]) / w;
    *aOutY = (aX * aM[1] + aY * aM[4] + aM[7]) / w;
}

int64_t Fixed(double aValue) {
    const double v = aValue * 256.0;
    if (!(v > -1e15 && v < 1e15)) return int64_t(1) << 50;  // far outside the plane
    // Half away from zero, as llround, without the call: v minus its integer part is exact.
    const int64_t whole = static_cast<int64_t>(v);
    const double rest = v - double(whole);
    return rest >= 0.5 ? whole + 1 : rest <= -0.5 ? whole - 1 : whole;
}

bool Degenerate(const double aM[9]) {
    return std::fabs(aM[0]) <= 1e-14 || std::fabs(aM[4]) <= 1e-14 || std::fabs(aM[8]) <= 1e-14;
}

}  // namespace

SProjectedRadii ProjectedRadii(uint32_t aWidth, uint32_t aHeight, float aBlur1, float aBlur2) {
    const float S = std::sqrt(float(aHeight) * float(aWidth));
    SProjectedRadii r;
    r.r1 = Radius(S, aBlur1, aWidth, aHeight);
    r.r2 = Radius(S, aBlur2, aWidth, aHeight);
    r.R = std::max(r.r1, r.r2);
    return r;
}

int32_t SilhouetteFactor(int32_t aD1, int32_t aD2, uint32_t aY, uint32_t aHeight) {
    const float f = (float(aD1 - aD2) * float(aY) / float(aHeight) + float(aD2)) * 256.0f / 100.0f + 0.5f;
    if (!(f > -2147483648.0f)) return INT32_MIN;
    if (f >= 2147483647.0f) return INT32_MAX;
    return static_cast<int32_t>(f);
}

std::vector<uint8_t> ProjectedShadowPlane(const TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight,
                                          const SProjectedRadii& aRadii, float aDensity1, float aDensity2) {
    const uint32_t R = aRadii.R;
    const size_t pw = size_t(aWidth) + 2 * size_t(R), ph = size_t(aHeight) + 2 * size_t(R);
    std::vector<uint8_t> plane(pw * ph, 0);
    auto density = [](float aD) {
        const float v = aD + 0.5f;
        return v > -2147483648.0f && v < 2147483647.0f ? static_cast<int32_t>(v) : 0;
    };
    const int32_t d1 = density(aDensity1), d2 = density(aDensity2);
    for (uint32_t y = 0; y < aHeight; ++y) {
        const uint32_t f = uint32_t(SilhouetteFactor(d1, d2, y, aHeight));
        uint8_t* row = plane.data() + (y + size_t(R)) * pw + R;
        // Densities above 100 wrap the byte on storing: kept as it is.
        for (uint32_t x = 0; x < aWidth; ++x) row[x] = uint8_t((aPixels[size_t(y) * aWidth + x].bA * f) >> 8);
    }
    ProjectedShadowBlur(plane.data(), aWidth, aHeight, aRadii);
    return plane;
}

void ProjectedShadowBlur(uint8_t* aPlane, uint32_t aWidth, uint32_t aHeight, const SProjectedRadii& aRadii) {
    const uint32_t r1 = aRadii.r1, r2 = aRadii.r2, R = aRadii.R;
    const uint32_t pw = aWidth + 2 * R, ph = aHeight + 2 * R;
    if (r1 == r2 || aHeight < 2) {
        StackBlurPlane(aPlane, pw, ph, pw, R);
        return;
    }
    std::vector<uint8_t> work;
    // Rows by their radius; the first rows take r1 and the next starts near r2.
    const int64_t n = int64_t(aHeight) - 1;
    for (uint32_t k = 0; k < ph; ++k) {
        const int64_t m = int64_t(k) - R;
        const uint32_t h = m < 1 ? r1 : m < n ? uint32_t(((n - m) * r2 + m * r1 + n / 2) / n) : r2;
        StackBlurLine(aPlane + size_t(k) * pw, pw, 1, h, work);
    }
    // Columns in three copies: the middle radius, r1 and r2.
    const size_t size = size_t(pw) * ph;
    std::vector<uint8_t> middle(aPlane, aPlane + size), first(aPlane, aPlane + size);
    const uint32_t rm = static_cast<uint32_t>((r1 + r2) * 0.5f + 0.5f);
    StackBlurColumns(middle.data(), pw, ph, pw, rm);
    StackBlurColumns(first.data(), pw, ph, pw, r1);
    StackBlurColumns(aPlane, pw, ph, pw, r2);
    const uint32_t c = ph / 2;
    for (uint32_t k = 0; k < ph; ++k) {
        uint8_t* out = aPlane + size_t(k) * pw;
        const uint8_t* pm = middle.data() + size_t(k) * pw;
        const uint8_t* pa = first.data() + size_t(k) * pw;
        if (k >= R && k < c) {
            const uint32_t w = (((k - R) << 8) | 128) / (c - R);
            for (uint32_t x = 0; x < pw; ++x) out[x] = uint8_t((pm[x] * w + out[x] * (256 - w)) >> 8);
        } else if (k >= c && k < ph - R) {
            const uint32_t w = (((k - c) << 8) | 128) / (ph - c - R);
            for (uint32_t x = 0; x < pw; ++x) out[x] = uint8_t((pa[x] * w + pm[x] * (256 - w)) >> 8);
        } else {
            std::copy(pa, pa + pw, out);
        }
    }
}

uint8_t SamplePlane(const uint8_t* aPlane, uint32_t aPlaneWidth, uint32_t aPlaneHeight, int64_t aU, int64_t aV) {
    const int64_t u = aU - 128, v = aV - 128;
    const int64_t x0 = u >> 8, y0 = v >> 8;
    const int32_t wx[2] = {kWeights.near[u & 255], 16384 - kWeights.near[u & 255]};
    const int32_t wy[2] = {kWeights.near[v & 255], 16384 - kWeights.near[v & 255]};
    int64_t sum = 0;
    for (int j = 0; j < 2; ++j) {
        const int64_t y = y0 + j;
        if (y < 0 || y >= int64_t(aPlaneHeight)) continue;
        for (int i = 0; i < 2; ++i) {
            const int64_t x = x0 + i;
            if (x < 0 || x >= int64_t(aPlaneWidth)) continue;
            const int64_t weight = (int64_t(wy[j]) * wx[i] + 8192) >> 14;
            sum += aPlane[size_t(y) * aPlaneWidth + size_t(x)] * weight;
        }
    }
    return uint8_t(std::clamp<int64_t>((sum + 8192) >> 14, 0, 255));
}

TPixelChannel ShadowBehind(TPixelChannel aPixel, uint32_t aShadow) {
    const uint32_t a = aPixel.bA;
    if (a == 255) return aPixel;
    const uint32_t w = a * 255, t = (255 - a) * aShadow + w;
    if (t == 0) return aPixel;
    TPixelChannel out;
    out.bB = uint8_t(aPixel.bB * w / t);
    out.bG = uint8_t(aPixel.bG * w / t);
    out.bR = uint8_t(aPixel.bR * w / t);
    out.bA = uint8_t(t / 255);
    return out;
}

bool ProjectedShadow(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SProjectedShadowParams& aParams) {
    const SProjectedRadii radii = ProjectedRadii(aWidth, aHeight, aParams.blur1, aParams.blur2);
    const std::vector<uint8_t> plane =
        ProjectedShadowPlane(aPixels, aWidth, aHeight, radii, aParams.density1, aParams.density2);
    const double R = radii.R, W = aWidth, H = aHeight;
    double quad[8];
    for (int i = 0; i < 8; ++i) quad[i] = aParams.corners[i];
    const double source[8] = {R, R, W + R, R, W + R, H + R, R, H + R};
    double toQuad[9];
    RectToQuad(source, quad, toQuad);
    if (Degenerate(toQuad)) return false;
    const double canvas[8] = {0, 0, W, 0, W, H, 0, H};
    double fromCanvas[9], back[9];
    RectToQuad(canvas, quad, fromCanvas);
    transform::Invert3x3<double>(fromCanvas, back);

    SPolygonPoint outline[4];
    const double corners[8] = {-R, -R, W + R, -R, W + R, H + R, -R, H + R};
    for (int i = 0; i < 4; ++i) Map(toQuad, corners[2 * i], corners[2 * i + 1], &outline[i].x, &outline[i].y);
    const uint32_t pw = aWidth + 2 * radii.R, ph = aHeight + 2 * radii.R;
    // The spans give the pixels; their coverage is not applied.
    FillPolygon(outline, 4, aWidth, aHeight, [&](uint32_t aY, uint32_t aX, uint32_t aLength, const uint8_t*) {
        TPixelChannel* row = aPixels + size_t(aY) * aWidth;
        for (uint32_t x = aX; x < aX + aLength; ++x) {
            double u, v;
            Map(back, x + 0.5, aY + 0.5, &u, &v);
            // The plane holds the image R pixels in from its corner.
            const uint8_t s = SamplePlane(plane.data(), pw, ph, Fixed(u + R), Fixed(v + R));
            row[x] = ShadowBehind(row[x], s);
        }
    });
    return true;
}

}  // namespace zt

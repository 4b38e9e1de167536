#include "operations/shape/drop_shadow_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <memory>

namespace zt {

SShadowKernel MakeShadowKernel(float aSize, float aShift, bool aVertical) {
    SShadowKernel kernel;
    const float x = aSize, a = aShift;
    // Offsets beyond any canvas (or not numbers) cannot be turned into cell indices.
    if (!(std::fabs(a) < 1.0e9f) || !(x >= 0.0f && x <= 1.0e9f)) return kernel;
    const int32_t lo = static_cast<int32_t>(std::floor(a - x));
    int32_t hi = static_cast<int32_t>(std::ceil(x + a + 1.0f));
    if (aVertical && hi == lo) ++hi;
    kernel.lo = lo;
    if (hi <= lo) return kernel;
    kernel.k.resize(size_t(hi - lo));
    const float halfWidth = x + 1.0f;
    for (int32_t i = lo; i < hi; ++i) {
        double sum = 0.0;
        for (int s = 0; s < 31; ++s) {
            const float distance = static_cast<float>(std::fabs(a + 0.5 - ((s + 0.5) / 31.0 + i)));
            const float weight = 1.0f - distance / halfWidth;
            if (weight > 0.0f) sum += weight;
        }
        const uint32_t k = static_cast<uint32_t>(sum * 255.0 / 31.0 + 0.5);
        kernel.k[size_t(i - lo)] = k;
        kernel.sum += k;
    }
    return kernel;
}

void RemoveInteriorCoverage(const TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, float aSize,
                            uint32_t* aCoverage) {
    const int64_t r = static_cast<int64_t>(aSize + 0.5f);
    const double grown = double(aSize) + 1.0;
    const int64_t lim = std::max<int64_t>(2, static_cast<int64_t>(grown * grown * 0.5 + 0.5));
    const int64_t w = aWidth, h = aHeight;
    const size_t count = size_t(aWidth) * aHeight;
    std::unique_ptr<uint8_t[]> lose(new uint8_t[count]);
    std::memset(lose.get(), 0, count);

    for (int64_t y = 0; y < h; ++y) {
        for (int64_t x = 0; x < w; ++x) {
            const size_t at = size_t(y) * aWidth + size_t(x);
            const uint32_t c = aCoverage[at];
            if (c == 255) continue;
            if (aPixels[at].bA == 0) {
                lose[at] = 1;
                continue;
            }
            if (c == 0) continue;  // nothing to remove
            bool stays = false;
            for (int64_t dy = -r; dy <= r && !stays; ++dy) {
                const int64_t row = y + dy;
                const bool rowOut = row < 0 || row >= h;
                if (rowOut && dy * dy <= lim) {
                    stays = true;
                    break;
                }
                const TPixelChannel* line = rowOut ? nullptr : aPixels + size_t(row) * aWidth;
                for (int64_t dx = -r; dx <= r; ++dx) {
                    const int64_t col = x + dx;
                    const int64_t d2 = dx * dx + dy * dy;
                    if (col < 0 || col >= w) {
                        if (dx * dx <= lim) {
                            stays = true;
                            break;
                        }
                        continue;
                    }
                    if (rowOut) continue;
                    const uint8_t alpha = line[col].bA;
                    if ((alpha == 0 && d2 <= lim) || (alpha == 255 && d2 <= 2)) {
                        stays = true;
                        break;
                    }
                }
            }
            if (!stays) lose[at] = 1;
        }
    }
    for (size_t i = 0; i < count; ++i)
        if (lose[i]) aCoverage[i] = 0;
}

namespace {

// One line of the horizontal pass: aPadded holds the line shifted by lo, with zeros where
// the kernel reaches outside it, so the inner loop needs no bounds test.
void ConvolveRows(const uint32_t* aIn, uint32_t* aOut, uint32_t aWidth, uint32_t aHeight,
                  const SShadowKernel& aKernel) {
    const size_t n = aKernel.k.size();
    const int64_t lo = aKernel.lo;
    std::vector<uint32_t> padded(size_t(aWidth) + n);
    std::vector<uint32_t> acc(aWidth);
    for (uint32_t y = 0; y < aHeight; ++y) {
        const uint32_t* row = aIn + size_t(y) * aWidth;
        for (size_t t = 0; t < padded.size(); ++t) {
            const int64_t col = int64_t(t) + lo;
            padded[t] = col >= 0 && col < int64_t(aWidth) ? row[col] : 0;
        }
        // Coverage is at most 255 and a cell at most 255: over 503 cells the sum stays in 32 bits.
        std::fill(acc.begin(), acc.end(), 0u);
        for (size_t j = 0; j < n; ++j) {
            const uint32_t k = aKernel.k[j];
            const uint32_t* p = padded.data() + j;
            for (uint32_t x = 0; x < aWidth; ++x) acc[x] += p[x] * k;
        }
        uint32_t* out = aOut + size_t(y) * aWidth;
        for (uint32_t x = 0; x < aWidth; ++x) out[x] = acc[x] >> 8;
    }
}

// The vertical pass row by row (each output row sums whole input rows), which gives the same
// sums as a column at a time while reading memory in order.
template <class Acc>
void ConvolveColumns(const uint32_t* aIn, uint32_t* aOut, uint32_t aWidth, uint32_t aHeight,
                     const SShadowKernel& aKernel) {
    const size_t n = aKernel.k.size();
    std::vector<Acc> acc(aWidth);
    for (int64_t y = 0; y < int64_t(aHeight); ++y) {
        std::fill(acc.begin(), acc.end(), Acc(0));
        for (size_t j = 0; j < n; ++j) {
            const int64_t row = y + aKernel.lo + int64_t(j);
            if (row < 0 || row >= int64_t(aHeight)) continue;
            const Acc k = aKernel.k[j];
            const uint32_t* p = aIn + size_t(row) * aWidth;
            for (uint32_t x = 0; x < aWidth; ++x) acc[x] += Acc(p[x]) * k;
        }
        uint32_t* out = aOut + size_t(y) * aWidth;
        for (uint32_t x = 0; x < aWidth; ++x) out[x] = static_cast<uint32_t>(acc[x] >> 8);
    }
}

}  // namespace

void ConvolveShadow(const uint32_t* aIn, uint32_t* aOut, uint32_t aWidth, uint32_t aHeight,
                    const SShadowKernel& aKernel, bool aVertical) {
    if (aWidth == 0 || aHeight == 0) return;
    if (aKernel.k.empty()) {
        std::fill_n(aOut, size_t(aWidth) * aHeight, 0u);
        return;
    }
    uint32_t peak = 0;
    for (size_t i = 0, n = size_t(aWidth) * aHeight; i < n; ++i) peak = std::max(peak, aIn[i]);
    // After the horizontal pass a sum can pass 32 bits; 64-bit sums are taken only then.
    const bool wide = uint64_t(peak) * aKernel.sum > UINT32_MAX;
    if (!aVertical && !wide)
        ConvolveRows(aIn, aOut, aWidth, aHeight, aKernel);
    else if (!aVertical) {
        // Rows of values above 255 do not occur in the shadow; transpose-free fallback.
        for (uint32_t y = 0; y < aHeight; ++y) {
            const uint32_t* row = aIn + size_t(y) * aWidth;
            uint32_t* out = aOut + size_t(y) * aWidth;
            for (int64_t x = 0; x < int64_t(aWidth); ++x) {
                uint64_t sum = 0;
                for (size_t j = 0; j < aKernel.k.size(); ++j) {
                    const int64_t col = x + aKernel.lo + int64_t(j);
                    if (col >= 0 && col < int64_t(aWidth)) sum += uint64_t(row[col]) * aKernel.k[j];
                }
                out[x] = static_cast<uint32_t>(sum >> 8);
            }
        }
    } else if (wide)
        ConvolveColumns<uint64_t>(aIn, aOut, aWidth, aHeight, aKernel);
    else
        ConvolveColumns<uint32_t>(aIn, aOut, aWidth, aHeight, aKernel);
}

uint32_t ShadowScale(uint32_t aSumH, uint32_t aSumV) {
    const uint32_t divisor = uint32_t(aSumH * aSumV) >> 9;
    // Kernels too small to carry a shadow give none rather than a division by zero.
    return divisor ? 0x80000000u / divisor : 0;
}

uint32_t ShadowDensity(float aDensity) {
    const double d = double(aDensity) * 256.0 + 0.5;
    if (!(d >= 1.0)) return 1;  // also a density that is not a number
    if (d >= 4096.0) return 4096;
    return static_cast<uint32_t>(d);
}

SShadowColour MakeShadowColour(uint32_t aColor, const SLinearTables& aTables) {
    SShadowColour c;
    c.r = uint8_t(aColor);
    c.g = uint8_t(aColor >> 8);
    c.b = uint8_t(aColor >> 16);
    c.linR = aTables.lin[c.r];
    c.linG = aTables.lin[c.g];
    c.linB = aTables.lin[c.b];
    return c;
}

namespace {

inline TPixelChannel Solid(const SShadowColour& aColour, uint8_t aAlpha) {
    TPixelChannel p;
    p.bB = aColour.b, p.bG = aColour.g, p.bR = aColour.r, p.bA = aAlpha;
    return p;
}

// The shadow behind the pixel with strength aA (a < 255, aA > 0).
TPixelChannel Behind(TPixelChannel aPixel, uint32_t aA, const SShadowColour& aColour, const SLinearTables& t) {
    const uint64_t a = aPixel.bA;
    TPixelChannel out;
    if (aA >= 256) {
        auto mix = [&](uint8_t ch, uint32_t linC) {
            const uint64_t v = uint64_t(t.lin[ch]) * a + uint64_t(linC) * (255 - a);
            return LinearToByte(t, uint32_t(v / 255));
        };
        out.bB = mix(aPixel.bB, aColour.linB);
        out.bG = mix(aPixel.bG, aColour.linG);
        out.bR = mix(aPixel.bR, aColour.linR);
        out.bA = 255;
    } else {
        const uint64_t w = (255 - a) * aA, total = a * 255 + w;
        auto mix = [&](uint8_t ch, uint32_t linC) {
            return LinearToByte(t, uint32_t((uint64_t(t.lin[ch]) * a * 255 + uint64_t(linC) * w) / total));
        };
        out.bB = mix(aPixel.bB, aColour.linB);
        out.bG = mix(aPixel.bG, aColour.linG);
        out.bR = mix(aPixel.bR, aColour.linR);
        out.bA = uint8_t(total / 255);
    }
    return out;
}

// The shadow over the pixel with strength aA (0 < aA < 256).
TPixelChannel Over(TPixelChannel aPixel, uint32_t aA, const SShadowColour& aColour, const SLinearTables& t) {
    const uint64_t v = uint64_t(255 - aA) * aPixel.bA, u = uint64_t(aA) * 255, total = u + v;
    auto mix = [&](uint8_t ch, uint32_t linC) {
        return LinearToByte(t, uint32_t((uint64_t(t.lin[ch]) * v + uint64_t(linC) * u) / total));
    };
    TPixelChannel out;
    out.bB = mix(aPixel.bB, aColour.linB);
    out.bG = mix(aPixel.bG, aColour.linG);
    out.bR = mix(aPixel.bR, aColour.linR);
    out.bA = uint8_t(total / 255);
    return out;
}

}  // namespace

TPixelChannel ComposeOuter(TPixelChannel aPixel, uint32_t aA, const SShadowColour& aColour,
                           const SLinearTables& aTables) {
    if (aPixel.bA == 255 || aA == 0) return aPixel;
    return Behind(aPixel, aA, aColour, aTables);
}

TPixelChannel ComposeOuterMasked(TPixelChannel aPixel, uint32_t aA, uint32_t aMask, const SShadowColour& aColour,
                                 const SLinearTables& aTables) {
    if (aA == 0) return aPixel;
    if (aMask == 255) return ComposeOuter(aPixel, aA, aColour, aTables);
    if (aMask == 0) return aA >= 256 ? Solid(aColour, 255) : Over(aPixel, aA, aColour, aTables);
    const uint32_t over = (255 - aMask) * aA / 255, behind = aA - over;
    if (behind != 0 && aPixel.bA < 255) aPixel = Behind(aPixel, behind, aColour, aTables);
    if (over > 255) return Solid(aColour, 255);
    if (over > 0) return Over(aPixel, over, aColour, aTables);
    return aPixel;
}

TPixelChannel ComposeInner(TPixelChannel aPixel, uint32_t aA, const uint8_t* aMask, const SShadowColour& aColour,
                           const SLinearTables& aTables) {
    if (aPixel.bA == 0) return aPixel;
    uint32_t e;
    if (aMask) {
        // Unsigned on purpose: above 256 the product wraps and the colour takes over.
        e = (uint32_t(256u - aA) * *aMask) >> 8;
        if (e > 255) return Solid(aColour, aPixel.bA);
        if (e == 0) return aPixel;
    } else {
        const int32_t signedE = 256 - int32_t(aA);
        if (signedE >= 256) return Solid(aColour, aPixel.bA);
        if (signedE <= 0) return aPixel;
        e = uint32_t(signedE);
    }
    auto mix = [&](uint8_t ch, uint32_t linC) {
        return LinearToByte(aTables, (uint32_t(aTables.lin[ch]) * (256 - e) + linC * e) >> 8);
    };
    TPixelChannel out;
    out.bB = mix(aPixel.bB, aColour.linB);
    out.bG = mix(aPixel.bG, aColour.linG);
    out.bR = mix(aPixel.bR, aColour.linR);
    out.bA = aPixel.bA;
    return out;
}

TPixelChannel ComposeShadowOnly(uint32_t aA, const SShadowColour& aColour) {
    if (aA == 0) return TPixelChannel{};
    return Solid(aColour, uint8_t(std::min<uint32_t>(aA, 255)));
}

void DropShadow(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SShadowParams& aParams,
                const uint8_t* aMask, const SLinearTables& aTables) {
    if (aWidth == 0 || aHeight == 0) return;
    float x = aParams.size;
    if (!(x > 0.0f)) x = 0.0f;
    if (x > 250.0f) x = 250.0f;
    const uint32_t d = ShadowDensity(aParams.density);
    const size_t count = size_t(aWidth) * aHeight;

    std::unique_ptr<uint32_t[]> coverage(new uint32_t[count]);
    std::unique_ptr<uint32_t[]> scratch(new uint32_t[count]);
    for (size_t i = 0; i < count; ++i) coverage[i] = aMask ? (uint32_t(aPixels[i].bA) * aMask[i]) >> 8 : aPixels[i].bA;
    if (aParams.type == 1) RemoveInteriorCoverage(aPixels, aWidth, aHeight, x, coverage.get());

    const SShadowKernel kh = MakeShadowKernel(x, aParams.shiftX, false);
    const SShadowKernel kv = MakeShadowKernel(x, aParams.shiftY, true);
    ConvolveShadow(coverage.get(), scratch.get(), aWidth, aHeight, kh, false);
    ConvolveShadow(scratch.get(), coverage.get(), aWidth, aHeight, kv, true);
    scratch.reset();

    const uint32_t s = ShadowScale(kh.sum, kv.sum);
    const SShadowColour colour = MakeShadowColour(aParams.color, aTables);
    for (size_t i = 0; i < count; ++i) {
        const uint32_t A = ShadowStrength(s, coverage[i], d);
        TPixelChannel& p = aPixels[i];
        switch (aParams.blending) {
            case EShadowOuter:
                p = aMask ? ComposeOuterMasked(p, A, aMask[i], colour, aTables) : ComposeOuter(p, A, colour, aTables);
                break;
            case EShadowInner: p = ComposeInner(p, A, aMask ? aMask + i : nullptr, colour, aTables); break;
            case EShadowOnly: p = ComposeShadowOnly(A, colour); break;
            default: break;  // an unknown blending leaves the image
        }
    }
}

}  // namespace zt

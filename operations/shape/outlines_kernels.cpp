#include "operations/shape/outlines_kernels.h"

#include <cmath>
#include <memory>

#include "operations/shape/chamfer.h"

namespace zt {

uint8_t OutlineChannelByte(float aLinear) {
    if (aLinear < 0.0f) return 0;
    if (aLinear > 1.0f) return 255;
    if (!(aLinear == aLinear)) return 0;  // not a number
    const double c = aLinear;
    const double encoded = c <= 0.0031308 ? c * 12.92 : std::pow(c, 0.41666666) * 1.055 - 0.055;
    return static_cast<uint8_t>(encoded * 255.0 + 0.5);
}

uint8_t OutlineAlphaByte(float aAlpha) {
    if (aAlpha < 0.0f) return 0;
    if (aAlpha > 1.0f) return 255;
    if (!(aAlpha == aAlpha)) return 0;
    return static_cast<uint8_t>(aAlpha * 255.0f + 0.5f);
}

SOutlineColour MakeOutlineColour(const float* aColor, const SLinearTables& aTables) {
    SOutlineColour c;
    c.r = OutlineChannelByte(aColor[0]);
    c.g = OutlineChannelByte(aColor[1]);
    c.b = OutlineChannelByte(aColor[2]);
    c.a = OutlineAlphaByte(aColor[3]);
    c.linR = aTables.lin[c.r];
    c.linG = aTables.lin[c.g];
    c.linB = aTables.lin[c.b];
    return c;
}

void SeedOutlineMaps(const TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, uint32_t aFar, uint32_t* aA,
                     uint32_t* aB) {
    const size_t cells = size_t(aWidth + 2) * (aHeight + 2);
    for (size_t i = 0; i < cells; ++i) aA[i] = 0, aB[i] = aFar;
    for (uint32_t y = 0; y < aHeight; ++y) {
        const TPixelChannel* row = aPixels + size_t(y) * aWidth;
        uint32_t* a = aA + size_t(y + 1) * (aWidth + 2) + 1;
        uint32_t* b = aB + size_t(y + 1) * (aWidth + 2) + 1;
        for (uint32_t x = 0; x < aWidth; ++x) {
            const uint32_t alpha = row[x].bA;
            if (alpha == 0)
                a[x] = 0, b[x] = aFar;
            else if (alpha == 255)
                a[x] = aFar, b[x] = 0;
            else
                a[x] = alpha, b[x] = 255 - alpha;
        }
    }
}

int32_t OutlineReach(float aWidth, int32_t aPosition) {
    const float limit = aPosition == EOutlineCentered ? (aWidth * 0.5f + 1.0f) * 256.0f : (aWidth + 1.0f) * 256.0f;
    return static_cast<int32_t>(limit + 0.5f);
}

SLineStrength LineStrength(int32_t aPosition, uint32_t aAlpha, uint32_t aDistanceA, uint32_t aDistanceB,
                           int32_t aReach) {
    SLineStrength s;
    const int64_t L = aReach;
    auto along = [&](int64_t d, uint32_t cover) {
        if (d >= L) return;
        s.inReach = true;
        s.m = d > L - 256 ? uint32_t(((L - d) * cover) >> 8) : cover;
    };
    switch (aPosition) {
        case EOutlineInside: along(aDistanceA, aAlpha); break;
        case EOutlineOutside: along(aDistanceB, 255 - aAlpha); break;
        case EOutlineCentered: {
            const int64_t d1 = aDistanceA, d2 = aDistanceB;
            if (d1 >= L || d2 >= L) break;
            s.inReach = true;
            int64_t m = 255;
            if (d1 > L - 256) {
                m = ((L - d1) * 255) >> 8;
                s.first = uint32_t(m);
            }
            if (d2 > L - 256) m = (m * (L - d2)) >> 8;
            s.m = uint32_t(m);
            break;
        }
        default: break;
    }
    return s;
}

namespace {

inline TPixelChannel Solid(const SOutlineColour& aColour, uint32_t aAlpha) {
    TPixelChannel p;
    p.bB = aColour.b, p.bG = aColour.g, p.bR = aColour.r, p.bA = uint8_t(aAlpha);
    return p;
}

inline TPixelChannel SolidOrNothing(const SOutlineColour& aColour, uint32_t aAlpha) {
    return aAlpha ? Solid(aColour, aAlpha) : TPixelChannel{};
}

}  // namespace

TPixelChannel ComposeOutlineOnly(const SLineStrength& aLine, const SOutlineColour& aColour) {
    return SolidOrNothing(aColour, OutlineOnlyStrength(aColour.a, aLine.m));
}

TPixelChannel ComposeOutlineReplace(TPixelChannel aPixel, int32_t aPosition, const SLineStrength& aLine,
                                    const SOutlineColour& aColour, const SLinearTables& aTables) {
    const uint32_t m = aLine.m, a = aPixel.bA;
    const uint32_t o = OutlineStrength(aColour.a, m);
    const bool full = aLine.inReach && m == 255;
    if (!full) {
        bool keep = false;
        uint32_t r = 0;
        switch (aPosition) {
            case EOutlineInside:
                keep = a > m;
                r = a - m;
                if (r + m >= 256) r = 255 - m;
                break;
            case EOutlineCentered:
                if (m == 0) return aPixel;
                keep = a > aLine.first;
                r = a - aLine.first;
                if (r + m >= 256) r = 255 - m;
                break;
            case EOutlineOutside:
                keep = a != 0;
                r = a;
                if (a + m >= 256) r = 255 - m;
                break;
            default: return aPixel;
        }
        if (keep) {
            if (m == 0) return aPixel;
            const uint32_t t = r + o;
            if (t == 0) return TPixelChannel{};
            auto mix = [&](uint8_t ch, uint32_t linC) {
                return LinearToByte(aTables, (uint32_t(aTables.lin[ch]) * r + linC * o) / t);
            };
            TPixelChannel out;
            out.bB = mix(aPixel.bB, aColour.linB);
            out.bG = mix(aPixel.bG, aColour.linG);
            out.bR = mix(aPixel.bR, aColour.linR);
            out.bA = uint8_t(t);
            return out;
        }
    }
    return SolidOrNothing(aColour, o);
}

TPixelChannel ComposeOutlineBlend(TPixelChannel aPixel, const SLineStrength& aLine, const SOutlineColour& aColour,
                                  const SLinearTables& aTables) {
    const uint32_t o = OutlineStrength(aColour.a, aLine.m), a = aPixel.bA;
    if (o == 255 || a == 0) return SolidOrNothing(aColour, o);
    if (o == 0) return aPixel;
    const uint64_t w = 255 - o;
    const uint64_t t = ((w * a * 4112 + 2048) >> 12) + (uint64_t(o) << 8);
    auto mix = [&](uint8_t ch, uint32_t linC) {
        return LinearToByte(aTables, uint32_t((uint64_t(aTables.lin[ch]) * w * a + uint64_t(linC) * o * 255) / t));
    };
    TPixelChannel out;
    out.bB = mix(aPixel.bB, aColour.linB);
    out.bG = mix(aPixel.bG, aColour.linG);
    out.bR = mix(aPixel.bR, aColour.linR);
    out.bA = uint8_t((t + 128) >> 8);
    return out;
}

int64_t OutlineMargin(float aWidth) {
    const float c = std::ceil(aWidth);
    // Widths beyond any canvas would not fit the integers below; the caller refuses them.
    if (!(c < 1.0e9f)) return INT64_MAX;
    return static_cast<int64_t>(c + 1.0f);
}

void Outline(TPixelChannel* aPixels, uint32_t aWidth, uint32_t aHeight, const SOutlineParams& aParams,
             const SLinearTables& aTables) {
    if (aWidth == 0 || aHeight == 0) return;
    const float c = std::ceil(aParams.width);
    const uint32_t far = static_cast<uint32_t>(double(c) + 3.0) << 8;
    const size_t cells = size_t(aWidth + 2) * (aHeight + 2);
    std::unique_ptr<uint32_t[]> mapA(new uint32_t[cells]), mapB(new uint32_t[cells]);
    SeedOutlineMaps(aPixels, aWidth, aHeight, far, mapA.get(), mapB.get());
    ChamferDistance(mapA.get(), aWidth + 2, aHeight + 2, far, 256);
    ChamferDistance(mapB.get(), aWidth + 2, aHeight + 2, far, far);

    const int32_t L = OutlineReach(aParams.width, aParams.position);
    const SOutlineColour colour = MakeOutlineColour(aParams.color, aTables);
    int32_t mode = aParams.mode;
    if (mode == EOutlineBlend && colour.a == 255) mode = EOutlineReplace;
    if (mode != EOutlineOnly && mode != EOutlineReplace && mode != EOutlineBlend) return;

    for (uint32_t y = 0; y < aHeight; ++y) {
        TPixelChannel* row = aPixels + size_t(y) * aWidth;
        const uint32_t* a = mapA.get() + size_t(y + 1) * (aWidth + 2) + 1;
        const uint32_t* b = mapB.get() + size_t(y + 1) * (aWidth + 2) + 1;
        for (uint32_t x = 0; x < aWidth; ++x) {
            const SLineStrength line = LineStrength(aParams.position, row[x].bA, a[x], b[x], L);
            switch (mode) {
                case EOutlineOnly: row[x] = ComposeOutlineOnly(line, colour); break;
                case EOutlineReplace:
                    row[x] = ComposeOutlineReplace(row[x], aParams.position, line, colour, aTables);
                    break;
                default: row[x] = ComposeOutlineBlend(row[x], line, colour, aTables); break;
            }
        }
    }
}

}  // namespace zt

#include "operations/script/compose_kernels.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>

namespace zt {

namespace {

uint32_t Union(uint32_t aDA, uint32_t aSA) { return aDA + aSA - ((aDA * aSA + 255) >> 8); }

// SoftLight on one premultiplied channel, in double precision.
uint8_t SoftLight(uint32_t aDc, uint32_t aSc, uint32_t aDA, uint32_t aSA) {
    const double d = aDc / 255.0, s = (aSc * 255) / 65025.0, a = (aSA * 255) / 65025.0;
    const double b = (aDA ? aDA : 1) / 255.0, x = d / b;
    double v;
    if (a > 2 * s)
        v = ((1 - x) * (2 * s - a) + a) * d;
    else if (b >= 8 * d)
        v = ((3 - 8 * d / b) * ((1 - x) * (2 * s - a)) + a) * d;
    else
        v = (std::sqrt(x) * b - d) * (2 * s - a) + d * a;
    v = v + (1 - b) * s + d * (1 - a);
    return uint8_t(static_cast<int64_t>(v * 255 + 0.5));
}

// The colour of a premultiplied operator for one channel; the alpha comes from AlphaOf.
uint32_t Colour(uint32_t aMode, uint32_t Dc, uint32_t Sc, uint32_t dA, uint32_t sA) {
    switch (aMode) {
        case OpColorBurn:
            if (Dc * sA + dA * Sc > dA * sA)
                return ((Sc * dA + Dc * sA - dA * sA) * sA / Sc + (255 - dA) * Sc + (255 - sA) * Dc + 255) >> 8;
            return ((255 - dA) * Sc + (255 - sA) * Dc) >> 8;
        case OpColorDodge:
            if (dA * Sc + Dc * sA < dA * sA)
                return Dc * sA / (255 - (Sc * 256) / sA) + (((255 - sA) * Dc + (255 - dA) * Sc + 255) >> 8);
            return (dA * sA + 255 + (255 - sA) * Dc + (255 - dA) * Sc) >> 8;
        case OpContrast: {
            const int32_t t = ((int32_t(Sc) - int32_t(sA >> 1)) * 2 + 255) * (int32_t(Dc) - int32_t(dA >> 1)) >> 8;
            return uint32_t(std::clamp(t + int32_t(dA >> 1), 0, int32_t(dA)));
        }
        case OpDarken: return (std::min(dA * Sc, Dc * sA) + Dc * (255 - sA) + (255 - dA) * Sc + 255) >> 8;
        case OpDifference: return Dc + Sc - ((2 * std::min(dA * Sc, Dc * sA) + 255) >> 8);
        case OpDst: return Dc;
        case OpDstAtop: return (Sc * (255 - dA) + Dc * sA + 255) >> 8;
        case OpDstIn: return dA * sA == 0 ? 0 : (Dc * sA + 255) >> 8;
        case OpDstOut: return (Dc * (255 - sA) + 8) >> 8;
        case OpDstOver: return Dc + ((Sc * (255 - dA) + 255) >> 8);
        case OpExclusion: return ((255 - 2 * Sc) * Dc + (Sc + 1) * 255) >> 8;
        case OpHardLight:
            if (2 * Sc < sA) return ((2 * Sc + 255 - sA) * Dc + (255 - dA) * Sc) >> 8;
            return ((255 - dA) * Sc + Dc * (255 - sA) - 2 * (dA - Dc) * (sA - Sc) + dA * sA + 255) >> 8;
        case OpInvertRGB: return ((Dc * (255 - sA) + 255) >> 8) + ((Sc * (dA - Dc) + 255) >> 8);
        case OpLighten: return (std::max(dA * Sc, Dc * sA) + Dc * (255 - sA) + (255 - dA) * Sc + 255) >> 8;
        case OpMinus: return Dc > Sc ? Dc - Sc : 0;
        case OpMultiply: return ((255 - sA + Sc) * Dc + (255 - dA) * Sc + 255) >> 8;
        case OpOverlay:
            if (2 * Dc < dA) return ((255 - sA + 2 * Sc) * Dc + (255 - dA) * Sc) >> 8;
            return ((255 - dA) * Sc + Dc * (255 - sA) - 2 * (dA - Dc) * (sA - Sc) + dA * sA + 255) >> 8;
        case OpPlus: return std::min(Dc + Sc, 255u);
        case OpScreen: return Dc + Sc - ((Dc * Sc + 255) >> 8);
        case OpSoftLight: return SoftLight(Dc, Sc, dA, sA);
        case OpSrc: return Sc;
        case OpSrcAtop: return (Dc * (255 - sA) + dA * Sc + 255) >> 8;
        case OpSrcIn: return sA * dA == 0 ? 0 : (Sc * dA + 255) >> 8;
        case OpSrcOut: return (Sc * (255 - dA) + 255) >> 8;
        case OpSrcOver: return Sc + ((Dc * (255 - sA) + 255) >> 8);
        case OpXor: return (Dc * (255 - sA) + Sc * (255 - dA) + 255) >> 8;
        default: return 0;
    }
}

uint32_t AlphaOf(uint32_t aMode, uint32_t dA, uint32_t sA) {
    switch (aMode) {
        case OpContrast:
        case OpDst:
        case OpSrcAtop: return dA;
        case OpDstAtop:
        case OpSrc: return sA;
        case OpDstIn: return (dA * sA + 255) >> 8;
        case OpDstOut: return (dA * (255 - sA) + 8) >> 8;
        case OpPlus: return std::min(dA + sA, 255u);
        case OpSrcIn: return (sA * dA + 255) >> 8;
        case OpSrcOut: return (sA * (255 - dA) + 255) >> 8;
        case OpXor: return dA + sA - ((dA * sA + 127) >> 7);
        default: return Union(dA, sA);
    }
}

bool Guarded(uint32_t aMode) {
    switch (aMode) {
        case OpColorBurn:
        case OpColorDodge:
        case OpDarken:
        case OpDifference:
        case OpExclusion:
        case OpHardLight:
        case OpInvertRGB:
        case OpLighten:
        case OpMinus:
        case OpMultiply:
        case OpOverlay:
        case OpPlus:
        case OpScreen:
        case OpSoftLight:
        case OpXor: return true;
        default: return false;
    }
}

uint32_t Straight(uint32_t aMode, uint32_t d, uint32_t s) {
    switch (aMode) {
        case OpRGBAPlus: return std::min(d + s, 255u);
        case OpRGBAMinus: return d > s ? d - s : 0;
        case OpRGBAMultiply: return (d * s * 65793u + 32768u) >> 24;
        case OpRGBAMultiply2x: return std::min((d * s * 33026u + 16384u) >> 22, 255u);
        case OpRGBAMaximum: return std::max(d, s);
        case OpRGBAMinimum: return std::min(d, s);
        case OpRGBADifference: return d > s ? d - s : s - d;
        default: return 0;  // Clear
    }
}

bool IsStraight(uint32_t aMode) {
    return aMode == OpClear || (aMode >= OpRGBAPlus && aMode <= OpRGBAMultiply2x) ||
           (aMode >= OpRGBAMaximum && aMode <= OpRGBADifference);
}

}  // namespace

uint32_t ComposeFinish(const uint8_t aColour[3], uint32_t aA) {
    if (aA == 0) return 0;
    const uint32_t r = 16711680u / aA;
    uint32_t out = aA << 24;
    for (int i = 0; i < 3; ++i) out |= ((std::min<uint32_t>(aColour[i], aA) * r + 32768u) >> 16) << (8 * i);
    return out;
}

bool IsPixelOperator(uint32_t aMode) { return aMode <= OpXor || IsStraight(aMode); }

uint32_t ComposePixel(uint32_t aMode, uint32_t aD, uint32_t aS) {
    if (IsStraight(aMode)) {
        uint32_t out = 0;
        for (int i = 0; i < 4; ++i) out |= Straight(aMode, (aD >> (8 * i)) & 255, (aS >> (8 * i)) & 255) << (8 * i);
        return out;
    }
    const uint32_t dA = aD >> 24, sA = aS >> 24;
    uint8_t colour[3];
    uint32_t alpha;
    if (aMode == OpInvert) {
        // Invert reads only the source's alpha, as a.
        const uint32_t a = ((sA + 1) * 255) >> 8;
        for (int i = 0; i < 3; ++i) {
            const uint32_t Dc = Premultiply((aD >> (8 * i)) & 255, dA);
            colour[i] = uint8_t(a == 0 ? Dc : (((dA - Dc) * a + 255) >> 8) + ((Dc * (255 - a) + 255) >> 8));
        }
        alpha = a == 0 ? dA : dA + a - ((dA * a + 255) >> 8);
        return ComposeFinish(colour, alpha);
    }
    const bool skip = Guarded(aMode) && sA == 0;
    for (int i = 0; i < 3; ++i) {
        const uint32_t Dc = Premultiply((aD >> (8 * i)) & 255, dA);
        const uint32_t Sc = Premultiply((aS >> (8 * i)) & 255, sA);
        colour[i] = uint8_t(skip ? Dc : Colour(aMode, Dc, Sc, dA, sA));
    }
    alpha = skip ? dA : AlphaOf(aMode, dA, sA);
    return ComposeFinish(colour, alpha);
}

}  // namespace zt

#include "operations/script/compose_kernels.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <utility>
#include <vector>

namespace zt {

namespace {

uint32_t Union(uint32_t aDA, uint32_t aSA) { return aDA + aSA - ((aDA * aSA + 255) >> 8); }

// SoftLight on one premultiplied channel, in double precision.
[[gnu::always_inline]] inline uint8_t SoftLight(uint32_t aDc, uint32_t aSc, uint32_t aDA, uint32_t aSA) {
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
[[gnu::always_inline]] inline uint32_t Colour(uint32_t aMode, uint32_t Dc, uint32_t Sc, uint32_t dA, uint32_t sA) {
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

[[gnu::always_inline]] inline uint32_t AlphaOf(uint32_t aMode, uint32_t dA, uint32_t sA) {
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

[[gnu::always_inline]] inline bool Guarded(uint32_t aMode) {
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

[[gnu::always_inline]] inline uint32_t Straight(uint32_t aMode, uint32_t d, uint32_t s) {
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

[[gnu::always_inline]] inline bool IsStraight(uint32_t aMode) {
    return aMode == OpClear || (aMode >= OpRGBAPlus && aMode <= OpRGBAMultiply2x) ||
           (aMode >= OpRGBAMaximum && aMode <= OpRGBADifference);
}

}  // namespace

namespace {
// floor(16711680 / A) for every alpha: the division of Finish, looked up.
constexpr std::array<uint32_t, 256> kFinishFactor = [] {
    std::array<uint32_t, 256> t{};
    for (uint32_t a = 1; a < 256; ++a) t[a] = 16711680u / a;
    return t;
}();
}  // namespace

namespace {
[[gnu::always_inline]] inline uint32_t Finish(const uint8_t aColour[3], uint32_t aA) {
    if (aA == 0) return 0;
    const uint32_t r = kFinishFactor[aA & 255];
    uint32_t out = aA << 24;
    for (int i = 0; i < 3; ++i) out |= ((std::min<uint32_t>(aColour[i], aA) * r + 32768u) >> 16) << (8 * i);
    return out;
}
}  // namespace

uint32_t ComposeFinish(const uint8_t aColour[3], uint32_t aA) { return Finish(aColour, aA); }

bool IsPixelOperator(uint32_t aMode) { return aMode <= OpXor || IsStraight(aMode); }

namespace {

// One pixel; inlined into a loop per operator, so that the operator's branches fold away and
// the integer ones vectorise.
[[gnu::always_inline]] inline uint32_t PixelOf(uint32_t aMode, uint32_t aD, uint32_t aS) {
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
        return Finish(colour, alpha);
    }
    const bool skip = Guarded(aMode) && sA == 0;
    for (int i = 0; i < 3; ++i) {
        const uint32_t Dc = Premultiply((aD >> (8 * i)) & 255, dA);
        const uint32_t Sc = Premultiply((aS >> (8 * i)) & 255, sA);
        colour[i] = uint8_t(skip ? Dc : Colour(aMode, Dc, Sc, dA, sA));
    }
    alpha = skip ? dA : AlphaOf(aMode, dA, sA);
    return Finish(colour, alpha);
}

template <uint32_t Mode>
void Loop(uint32_t* aD, const uint32_t* aS, size_t aCount) {
    for (size_t i = 0; i < aCount; ++i) aD[i] = PixelOf(Mode, aD[i], aS[i]);
}

template <size_t... Modes>
constexpr auto Loops(std::index_sequence<Modes...>) {
    return std::array<void (*)(uint32_t*, const uint32_t*, size_t), sizeof...(Modes)>{&Loop<uint32_t(Modes)>...};
}

}  // namespace

uint32_t ComposePixel(uint32_t aMode, uint32_t aD, uint32_t aS) { return PixelOf(aMode, aD, aS); }

void ComposePixels(uint32_t aMode, uint32_t* aD, const uint32_t* aS, size_t aCount) {
    static constexpr auto kLoops = Loops(std::make_index_sequence<OpNormalReflection + 1>());
    if (IsPixelOperator(aMode)) kLoops[aMode](aD, aS, aCount);
}

void HeightToNormal(const uint32_t* aSource, uint32_t* aTarget, uint32_t aWidth, uint32_t aHeight, int64_t aScale) {
    const size_t w = aWidth, h = aHeight;
    std::vector<int64_t> L(w * h);
    for (size_t i = 0; i < L.size(); ++i) L[i] = HeightOf(aSource[i]);
    for (size_t y = 0; y < h; ++y) {
        size_t up = y, down = y;
        int shift = 10;
        if (y == 0) {
            down = h == 1 ? y : y + 1;
            shift = h == 1 ? 10 : 9;
        } else if (y + 1 == h) {
            up = y - 1;
            shift = 9;
        } else {
            up = y - 1;
            down = y + 1;
        }
        const int64_t* row = L.data() + y * w;
        for (size_t x = 0; x < w; ++x) {
            int64_t dx = 0;
            if (w > 1) {
                if (x == 0)
                    dx = ((row[1] - row[0]) * aScale) >> 9;
                else if (x + 1 == w)
                    dx = ((row[x] - row[x - 1]) * aScale) >> 9;
                else
                    dx = ((row[x + 1] - row[x - 1]) * aScale) >> 10;
            }
            const int64_t dy = ((L[down * w + x] - L[up * w + x]) * aScale) >> shift;
            const int64_t q = dx * dx + dy * dy;
            uint32_t r, g, b;
            if (q < 64517) {
                b = uint32_t(254 - std::sqrt(double(q)));
                g = uint32_t(dy + 127) & 255;
                r = uint32_t(127 - dx) & 255;
            } else {
                const float f = 254.0f / std::sqrt(float(q));
                b = 127;
                g = uint32_t(static_cast<int64_t>(float(dy) * f + 127.0f)) & 255;
                r = uint32_t(static_cast<int64_t>(127.0f - float(dx) * f)) & 255;
            }
            uint32_t& out = aTarget[y * w + x];
            out = (out & 0xFF000000u) | r << 16 | g << 8 | b;
        }
    }
}

void Bumpmap(uint32_t* aTarget, const uint32_t* aSource, size_t aCount, float aLX, float aLY, float aLZ) {
    for (size_t i = 0; i < aCount; ++i) {
        uint32_t& d = aTarget[i];
        if ((d >> 24) == 0) continue;
        const float nx = float(int32_t((aSource[i] >> 16) & 255) - 127);
        const float ny = float(int32_t((aSource[i] >> 8) & 255) - 127);
        const float nz = float(int32_t(aSource[i] & 255) - 127);
        const float m = std::sqrt(nx * nx + ny * ny + nz * nz) * 0.005f;
        if (!(m > 0.0001f)) continue;
        const float v = (ny * aLY + nx * aLX + nz * aLZ) / m - aLZ * 200.0f;
        const int64_t delta = v == v ? static_cast<int64_t>(std::clamp(v, -1e6f, 1e6f)) : 0;
        uint32_t out = d & 0xFF000000u;
        for (int c = 0; c < 3; ++c)
            out |= uint32_t(std::clamp<int64_t>(int64_t((d >> (8 * c)) & 255) + delta, 0, 255)) << (8 * c);
        d = out;
    }
}

void Displace(uint32_t* aTarget, const uint32_t* aSource, uint32_t aWidth, uint32_t aHeight, float aK) {
    const std::vector<uint32_t> copy(aTarget, aTarget + size_t(aWidth) * aHeight);
    // A float beyond 32 bits, or not a number, is held at the end of the range.
    auto truncate = [](float aValue) {
        if (!(aValue == aValue)) return int32_t(0);
        return static_cast<int32_t>(std::clamp(aValue, -2147483648.0f, 2147483520.0f));
    };
    for (uint32_t y = 0; y < aHeight; ++y) {
        for (uint32_t x = 0; x < aWidth; ++x) {
            const uint32_t s = aSource[size_t(y) * aWidth + x];
            const float red = float(int32_t((s >> 16) & 255) - 127), green = float(int32_t((s >> 8) & 255) - 127);
            const uint32_t column = uint32_t(truncate(float(x) - red * aK + 0.5f + float(aWidth))) % aWidth;
            const uint32_t row = uint32_t(truncate(green * aK + float(y) + 0.5f + float(aHeight))) % aHeight;
            aTarget[size_t(y) * aWidth + x] = copy[size_t(row) * aWidth + column];
        }
    }
}

void MapChannelPixels(uint32_t* aTarget, const uint32_t* aSource, size_t aCount, uint32_t aCode) {
    enum { kEmpty, kR, kG, kB, kA, kY, kCb, kCr };
    uint32_t src[4], dst[4];
    for (int i = 0; i < 4; ++i) {
        src[i] = (aCode >> (4 * i)) & 15;
        dst[i] = (aCode >> (16 + 4 * i)) & 15;
    }
    const auto inSource = [&](uint32_t aCodeValue) { return std::find(src, src + 4, aCodeValue) != src + 4; };
    // The plain copy: every target nibble empty or one of the sources; dst i writes byte i - 1.
    if (std::all_of(dst, dst + 4, [&](uint32_t c) { return c == 0 || inSource(c); })) {
        for (size_t p = 0; p < aCount; ++p) {
            uint32_t out = aTarget[p];
            for (int i = 0; i < 4; ++i) {
                if (!dst[i]) continue;
                int from = 3;
                for (int k = 0; k < 3; ++k)
                    if (src[k] == dst[i]) {
                        from = k;
                        break;
                    }
                out = (out & ~(0xFFu << (8 * i))) | (((aSource[p] >> (8 * from)) & 255) << (8 * i));
            }
            aTarget[p] = out;
        }
        return;
    }
    int pos[16];
    std::fill(pos, pos + 16, -1);
    for (int i = 0; i < 4; ++i) pos[src[i]] = i;  // a later nibble with the same code wins
    if (dst[0] == kA || dst[1] == kA || dst[2] == kA || (dst[3] == kA && pos[kA] < 0)) return;
    const auto any = [&](uint32_t aFrom, uint32_t aTo) {
        return std::any_of(dst, dst + 4, [&](uint32_t c) { return c >= aFrom && c <= aTo; });
    };
    const bool rgb = any(kR, kB), ycc = any(kY, kCr);
    if (!rgb && !ycc) return;
    const int targetByte[4] = {2, 1, 0, 3};  // the conversion takes dst1 for red
    const auto byteOf = [](uint32_t aPixel, int aIndex) { return int32_t((aPixel >> (8 * aIndex)) & 255); };
    const auto write = [&](uint32_t& aOut, int aIndex, int64_t aValue) {
        const uint32_t v = uint32_t(std::clamp<int64_t>(aValue, 0, 255));
        aOut = (aOut & ~(0xFFu << (8 * targetByte[aIndex]))) | v << (8 * targetByte[aIndex]);
    };
    if (!rgb) {
        if (pos[kR] < 0 || pos[kG] < 0 || pos[kB] < 0) return;
        for (size_t p = 0; p < aCount; ++p) {
            const uint32_t s = aSource[p];
            const double R = byteOf(s, pos[kR]), G = byteOf(s, pos[kG]), B = byteOf(s, pos[kB]);
            const double Y = std::trunc(0.587 * G + 0.299 * R + 0.114 * B);
            const double values[8] = {
                0, 0, 0, 0, 0, Y, std::trunc((B - Y) * 0.565 + 128), std::trunc((R - Y) * 0.713 + 128)};
            uint32_t out = aTarget[p];
            for (int i = 0; i < 4; ++i) {
                if (dst[i] == kA)
                    write(out, i, byteOf(s, pos[kA]));
                else if (dst[i] >= kY && dst[i] <= kCr)
                    write(out, i, int64_t(values[dst[i]]));
            }
            aTarget[p] = out;
        }
        return;
    }
    if (pos[kY] < 0 || pos[kCb] < 0 || pos[kCr] < 0) return;
    for (size_t p = 0; p < aCount; ++p) {
        const uint32_t s = aSource[p];
        const double Y = byteOf(s, pos[kY]), Cb = byteOf(s, pos[kCb]), Cr = byteOf(s, pos[kCr]);
        const double values[4] = {0, std::trunc((Cr - 128) * 1.402 + Y),
                                  std::trunc(Y - (Cb - 128) * 0.34414 - (Cr - 128) * 0.71414),
                                  std::trunc((Cb - 128) * 1.772 + Y)};
        uint32_t out = aTarget[p];
        for (int i = 0; i < 4; ++i) {
            if (dst[i] == kA)
                write(out, i, byteOf(s, pos[kA]));
            else if (dst[i] >= kR && dst[i] <= kB)
                write(out, i, int64_t(values[dst[i]]));
        }
        aTarget[p] = out;
    }
}

void NormalReflection(uint32_t* aTarget, const uint32_t* aSource, uint32_t aWidth, uint32_t aHeight,
                      const uint32_t* aEnvironment, uint32_t aEnvWidth, uint32_t aEnvHeight) {
    if (!aEnvironment || aEnvWidth == 0 || aEnvHeight == 0) return;
    const double m = std::max(aWidth, aHeight), i = 1.0 / m, pi = 3.14159265358979323846;
    const double vy0 = ((m - aHeight) * 0.5 + 0.5) * i - 0.5, vx0 = 0.5 - ((m - aWidth) * 0.5 + 0.5) * i;
    // A coordinate in 1/256 pixel; what is not a number lands on 0.
    const auto fixed = [](double aValue) {
        return aValue == aValue ? static_cast<int64_t>(std::clamp(aValue, -1e15, 1e15)) : int64_t(0);
    };
    const auto wrap = [](int64_t aValue, uint32_t aSize) { return uint32_t(((aValue % aSize) + aSize) % aSize); };
    for (uint32_t y = 0; y < aHeight; ++y) {
        const double vy = y * i + vy0;
        for (uint32_t x = 0; x < aWidth; ++x) {
            uint32_t& d = aTarget[size_t(y) * aWidth + x];
            if ((d >> 24) == 0) continue;
            const uint32_t s = aSource[size_t(y) * aWidth + x];
            double nx = (int32_t((s >> 16) & 255) - 127) * 0.007874016,
                   ny = (int32_t((s >> 8) & 255) - 127) * 0.007874016, nz = (int32_t(s & 255) - 127) * 0.007874016;
            const double length = std::sqrt(nx * nx + ny * ny + nz * nz);
            nx /= length, ny /= length, nz /= length;
            const double vx = vx0 - x * i, vz = std::sqrt(1 - vx * vx - vy * vy);
            const double p = vx * nx + vy * ny + vz * nz;
            const double rx = vx - 2 * nx * p, ry = vy - 2 * ny * p, rz = vz - 2 * nz * p;
            const int64_t u = fixed((0.25 - (std::atan2(rz, rx) / pi) * 0.5) * aEnvWidth * 256 + 0.5);
            const int64_t v = fixed((std::asin(ry) / pi) * aEnvHeight * 256 + aEnvHeight * 0.5 * 256 + 0.5);
            const uint64_t fu = uint64_t(u & 255), fv = uint64_t(v & 255);
            const uint32_t iu = wrap(u >> 8, aEnvWidth), iv = wrap(v >> 8, aEnvHeight);
            const uint32_t iu1 = (iu + 1) % aEnvWidth, iv1 = (iv + 1) % aEnvHeight;
            const uint32_t samples[4] = {
                aEnvironment[size_t(iv) * aEnvWidth + iu], aEnvironment[size_t(iv) * aEnvWidth + iu1],
                aEnvironment[size_t(iv1) * aEnvWidth + iu], aEnvironment[size_t(iv1) * aEnvWidth + iu1]};
            const uint64_t weights[4] = {(255 - fu) * (255 - fv), fu * (255 - fv), (255 - fu) * fv, fu * fv};
            uint64_t A = 0, sums[3] = {0, 0, 0};
            for (int k = 0; k < 4; ++k) {
                const uint64_t aw = uint64_t(samples[k] >> 24) * weights[k];
                A += aw;
                for (int c = 0; c < 3; ++c) sums[c] += ((samples[k] >> (8 * c)) & 255) * aw;
            }
            uint32_t out = d & 0xFF000000u;
            for (int c = 0; c < 3; ++c)
                out |= uint32_t((sums[c] + ((d >> (8 * c)) & 255) * (16581375 - A)) / 16581375) << (8 * c);
            d = out;
        }
    }
}

}  // namespace zt

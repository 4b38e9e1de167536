#include "operations/colour/convolution_kernels.h"

#include <charconv>
#include <cmath>
#include <cstdio>

namespace zt {

namespace {

bool IsBlank(char16_t c) { return c == u' ' || c == u'\t'; }
bool IsLineEnd(char16_t c) { return c == u'\r' || c == u'\n'; }

// One number at aText[aPos] as a wide-character-to-double conversion reads it: the longest
// prefix that is a number; the rest of the text is read from where it stopped.
bool ReadNumber(std::u16string_view aText, size_t& aPos, float* aValue) {
    std::string narrow;
    for (size_t p = aPos; p < aText.size() && aText[p] <= 0x7F && !IsBlank(aText[p]) && !IsLineEnd(aText[p]); ++p)
        narrow += static_cast<char>(aText[p]);
    const char* begin = narrow.data();
    const char* end = begin + narrow.size();
    const char* start = begin;
    if (start != end && *start == '+' && start + 1 != end && start[1] != '-') ++start;  // from_chars takes no plus sign
    double value = 0;
    auto [stop, error] = std::from_chars(start, end, value);
    if (stop == start || error != std::errc()) return false;
    *aValue = static_cast<float>(value);
    aPos += size_t(stop - begin);
    return true;
}

}  // namespace

bool ParseConvolutionMatrix(std::u16string_view aText, SConvolutionMatrix* aMatrix) {
    size_t pos = 0;
    while (pos < aText.size() && (IsBlank(aText[pos]) || IsLineEnd(aText[pos]))) ++pos;
    std::vector<float> values;
    uint32_t width = 0, count = 0;
    bool rowEndSeen = false;
    bool endsWithLine = false;
    while (pos < aText.size()) {
        float v;
        if (!ReadNumber(aText, pos, &v)) return false;
        values.push_back(v);
        ++count;
        endsWithLine = false;
        while (pos < aText.size() && IsBlank(aText[pos])) ++pos;
        bool rowEnd = false;
        while (pos < aText.size() && (IsBlank(aText[pos]) || IsLineEnd(aText[pos]))) {
            rowEnd |= IsLineEnd(aText[pos]);
            ++pos;
        }
        if (rowEnd) {
            if (!rowEndSeen)
                width = count;
            else if (count != width)
                return false;
            rowEndSeen = true;
            endsWithLine = true;
            count = 0;
        }
    }
    if (!endsWithLine) {
        if (!rowEndSeen)
            width = count;
        else if (count != width)
            return false;
    }
    // No width, no division: an empty or blank text is no matrix.
    if (width == 0) return false;
    const uint32_t height = static_cast<uint32_t>(values.size() / width);
    if ((width & 1) == 0 || (height & 1) == 0) return false;
    aMatrix->width = width;
    aMatrix->height = height;
    aMatrix->values = std::move(values);
    return true;
}

void PremultiplyPixels(TPixelChannel* aPixels, size_t aCount) {
    for (size_t i = 0; i < aCount; ++i) {
        TPixelChannel& p = aPixels[i];
        const uint32_t a = p.bA;
        p.bR = static_cast<uint8_t>(p.bR * a / 255);
        p.bG = static_cast<uint8_t>(p.bG * a / 255);
        p.bB = static_cast<uint8_t>(p.bB * a / 255);
    }
}

void UnpremultiplyPixels(TPixelChannel* aPixels, size_t aCount) {
    for (size_t i = 0; i < aCount; ++i) {
        TPixelChannel& p = aPixels[i];
        const uint32_t a = p.bA;
        if (a == 0) {
            p.bR = p.bG = p.bB = 0;
            continue;
        }
        // The full filter caps colours at alpha, so the quotient stays within a byte.
        p.bR = static_cast<uint8_t>(p.bR * 255 / a);
        p.bG = static_cast<uint8_t>(p.bG * 255 / a);
        p.bB = static_cast<uint8_t>(p.bB * 255 / a);
    }
}

namespace {

// NaN (a divisor of 0 on zero sums) takes the lower branch, like a value below 0.
inline uint8_t ToByte(float aValue, uint32_t aCap) {
    if (!(aValue >= 0.0f)) return 0;
    if (aValue > float(aCap)) return static_cast<uint8_t>(aCap);
    return static_cast<uint8_t>(static_cast<int32_t>(aValue + 0.5f));
}

inline uint32_t ClampIndex(int64_t aValue, uint32_t aSize) {
    return aValue < 0 ? 0 : aValue >= int64_t(aSize) ? aSize - 1 : uint32_t(aValue);
}

}  // namespace

void ConvolveFull(const TPixelChannel* aSource, TPixelChannel* aTarget, uint32_t aWidth, uint32_t aHeight,
                  const SConvolutionMatrix& aMatrix, float aDiv, float aBias) {
    const float inv = 1.0f / aDiv;
    const int64_t kx = (aMatrix.width - 1) >> 1, ky = (aMatrix.height - 1) >> 1;
    for (uint32_t y = 0; y < aHeight; ++y) {
        for (uint32_t x = 0; x < aWidth; ++x) {
            float s[4] = {0.0f, 0.0f, 0.0f, 0.0f};  // blue, green, red, alpha
            const float* w = aMatrix.values.data();
            for (uint32_t r = 0; r < aMatrix.height; ++r) {
                const TPixelChannel* row = aSource + size_t(ClampIndex(int64_t(y) - ky + r, aHeight)) * aWidth;
                for (uint32_t c = 0; c < aMatrix.width; ++c, ++w) {
                    const TPixelChannel p = row[ClampIndex(int64_t(x) - kx + c, aWidth)];
                    s[0] += float(p.bB) * *w;
                    s[1] += float(p.bG) * *w;
                    s[2] += float(p.bR) * *w;
                    s[3] += float(p.bA) * *w;
                }
            }
            for (float& v : s) v = v * inv + aBias;
            TPixelChannel out;
            if (s[3] == 0.0f) {
                out.n = 0;
            } else {
                out.bA = ToByte(s[3], 255);
                out.bB = ToByte(s[0], out.bA);
                out.bG = ToByte(s[1], out.bA);
                out.bR = ToByte(s[2], out.bA);
            }
            aTarget[size_t(y) * aWidth + x] = out;
        }
    }
}

void ConvolveColour(const TPixelChannel* aSource, TPixelChannel* aTarget, uint32_t aWidth, uint32_t aHeight,
                    const SConvolutionMatrix& aMatrix, float aDiv, float aBias) {
    const float inv = 1.0f / aDiv;
    const int64_t kx = (aMatrix.width - 1) >> 1, ky = (aMatrix.height - 1) >> 1;
    for (uint32_t y = 0; y < aHeight; ++y) {
        for (uint32_t x = 0; x < aWidth; ++x) {
            const TPixelChannel self = aSource[size_t(y) * aWidth + x];
            if (self.bA == 0) {
                aTarget[size_t(y) * aWidth + x] = self;
                continue;
            }
            float s[3] = {0.0f, 0.0f, 0.0f};
            const float* w = aMatrix.values.data();
            for (uint32_t r = 0; r < aMatrix.height; ++r) {
                const TPixelChannel* row = aSource + size_t(ClampIndex(int64_t(y) - ky + r, aHeight)) * aWidth;
                for (uint32_t c = 0; c < aMatrix.width; ++c, ++w) {
                    const TPixelChannel p = row[ClampIndex(int64_t(x) - kx + c, aWidth)];
                    s[0] += float(p.bB) * *w;
                    s[1] += float(p.bG) * *w;
                    s[2] += float(p.bR) * *w;
                }
            }
            TPixelChannel out;
            out.bB = ToByte(s[0] * inv + aBias, 255);
            out.bG = ToByte(s[1] * inv + aBias, 255);
            out.bR = ToByte(s[2] * inv + aBias, 255);
            out.bA = self.bA;
            aTarget[size_t(y) * aWidth + x] = out;
        }
    }
}

namespace {
std::u16string Widen(const char* aText) {
    std::u16string s;
    for (const char* p = aText; *p; ++p) s += static_cast<char16_t>(*p);
    return s;
}
}  // namespace

SConvolutionSettings ConvolutionEffectSettings(EConvolutionEffect aEffect, int32_t aPosition) {
    char text[128];
    if (aEffect == EConvolutionEffect::sharpen) {
        const float c = float(40 - aPosition) * 0.5f;
        std::snprintf(text, sizeof(text), "0 -2 0\r\n-2 %g -2\r\n0 -2 0", double(c + 11.0f));
        return {Widen(text), c + 3.0f, 0.0f};
    }
    if (aEffect == EConvolutionEffect::soften) {
        const float f = static_cast<float>(std::pow(3.0, double(40 - aPosition) / 20.0));
        std::snprintf(text, sizeof(text), "1 1 1\r\n1 %g 1\r\n1 1 1", double(f));
        return {Widen(text), f + 8.0f, 0.0f};
    }
    return {u"0 0 0\r\n0 1 0\r\n0 0 0", 1.0f, 0.0f};
}

EConvolutionEffect RecogniseConvolutionEffect(std::u16string_view aMatrix, float aDiv, float aBias) {
    if (aBias != 0.0f) return EConvolutionEffect::none;
    SConvolutionMatrix m;
    if (!ParseConvolutionMatrix(aMatrix, &m) || m.width != 3 || m.height != 3) return EConvolutionEffect::none;
    const float* v = m.values.data();
    const float centre = v[4];
    if (v[0] == 0.0f && v[2] == 0.0f && v[6] == 0.0f && v[8] == 0.0f && v[1] == -2.0f && v[3] == -2.0f &&
        v[5] == -2.0f && v[7] == -2.0f && std::fabs(centre - aDiv - 8.0f) < 0.001f)
        return EConvolutionEffect::sharpen;
    bool ones = true;
    for (int i = 0; i < 9; ++i)
        if (i != 4 && v[i] != 1.0f) ones = false;
    if (ones && std::fabs(centre - aDiv + 8.0f) < 0.001f) return EConvolutionEffect::soften;
    return EConvolutionEffect::none;
}

int32_t ConvolutionEffectPosition(EConvolutionEffect aEffect, float aDiv) {
    if (aEffect == EConvolutionEffect::sharpen) return static_cast<int32_t>(40.0f - 2.0f * (aDiv - 3.0f) + 0.5f);
    if (aEffect == EConvolutionEffect::soften)
        return static_cast<int32_t>(40.0f - std::log(aDiv - 8.0f) * 18.204784f + 0.5f);
    return 0;
}

}  // namespace zt

// The published Stack Blur: a triangular window of radius r (weights 1 .. r+1 .. 1), the
// edges replicated, and the division by (r+1)^2 done as (sum x mul[r]) >> shift[r]. Shared by
// Satin, Bevel and Projected shadow; rows first, then columns.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>
#include <vector>

namespace zt {

constexpr uint32_t kStackBlurMaxRadius = 254;

// The published tables of 255 entries: shift[r] is the least that makes 2^shift above
// 256 (r+1)^2, and mul[r] = 2^shift / (r+1)^2 rounded up.
struct SStackBlurTables {
    std::array<uint16_t, kStackBlurMaxRadius + 1> mul;
    std::array<uint8_t, kStackBlurMaxRadius + 1> shift;
};
constexpr SStackBlurTables MakeStackBlurTables() {
    SStackBlurTables t{};
    for (uint32_t r = 0; r <= kStackBlurMaxRadius; ++r) {
        const uint64_t d = uint64_t(r + 1) * (r + 1);
        uint32_t s = 0;
        while ((uint64_t(1) << s) <= 256 * d) ++s;
        t.shift[r] = uint8_t(s);
        t.mul[r] = uint16_t(((uint64_t(1) << s) + d - 1) / d);
    }
    return t;
}
inline constexpr SStackBlurTables kStackBlurTables = MakeStackBlurTables();

// One line of aCount values aStep apart, blurred in place; aWork is scratch.
template <class T>
void StackBlurLine(T* aLine, size_t aCount, size_t aStep, uint32_t aRadius, std::vector<T>& aWork) {
    if (aCount == 0 || aRadius == 0) return;
    const uint32_t r = std::min(aRadius, kStackBlurMaxRadius);
    const uint64_t mul = kStackBlurTables.mul[r];
    const uint32_t shift = kStackBlurTables.shift[r];
    // The line with its edges replicated r + 1 values out on both sides, so the window never
    // needs a test.
    aWork.resize(aCount + 2 * size_t(r) + 2);
    T* v = aWork.data() + r + 1;
    for (size_t i = 0; i < aCount; ++i) v[i] = aLine[i * aStep];
    std::fill(aWork.data(), v, v[0]);
    std::fill(v + aCount, aWork.data() + aWork.size(), v[aCount - 1]);
    // sum: the weighted window at x; in: the values right of x that the next step raises by
    // one; out: x and the values left of it, which the next step lowers by one.
    uint64_t sum = 0, in = 0, out = 0;
    for (int64_t i = -int64_t(r); i <= int64_t(r); ++i) {
        const uint64_t value = v[i];
        sum += value * (r + 1 - uint64_t(i < 0 ? -i : i));
        (i <= 0 ? out : in) += value;
    }
    for (size_t x = 0; x < aCount; ++x) {
        aLine[x * aStep] = T((sum * mul) >> shift);
        sum -= out;
        out -= v[ptrdiff_t(x) - ptrdiff_t(r)];
        const uint64_t centre = v[x + 1];
        in += v[x + r + 1];
        sum += in;
        out += centre;
        in -= centre;
    }
}

// The columns of a plane of aWidth x aHeight values, rows aRow apart, blurred in place: the
// same arithmetic as StackBlurLine down each column, run on a block of neighbouring columns
// at a time so that the plane is read row by row.
template <class T>
void StackBlurColumns(T* aPlane, uint32_t aWidth, uint32_t aHeight, size_t aRow, uint32_t aRadius) {
    if (aWidth == 0 || aHeight == 0 || aRadius == 0) return;
    constexpr uint32_t kBlock = 64;
    const uint32_t r = std::min(aRadius, kStackBlurMaxRadius);
    const uint64_t mul = kStackBlurTables.mul[r];
    const uint32_t shift = kStackBlurTables.shift[r];
    const size_t rows = size_t(aHeight) + 2 * size_t(r) + 2;
    std::vector<T> padded(rows * kBlock);
    // Sums of bytes stay below 255 x 255^2 and fit 32 bits, which run more lanes at once.
    using TSum = std::conditional_t<sizeof(T) == 1, uint32_t, uint64_t>;
    TSum sum[kBlock], in[kBlock], out[kBlock];
    for (uint32_t x0 = 0; x0 < aWidth; x0 += kBlock) {
        const uint32_t n = std::min(kBlock, aWidth - x0);
        // Row i of the block is row i - r - 1 of the plane, the edge rows replicated.
        for (size_t i = 0; i < rows; ++i) {
            const int64_t y = std::clamp<int64_t>(int64_t(i) - int64_t(r) - 1, 0, int64_t(aHeight) - 1);
            std::copy(aPlane + size_t(y) * aRow + x0, aPlane + size_t(y) * aRow + x0 + n, padded.data() + i * kBlock);
        }
        auto at = [&](int64_t aY) { return padded.data() + size_t(aY + int64_t(r) + 1) * kBlock; };
        std::fill(sum, sum + n, 0);
        std::fill(in, in + n, 0);
        std::fill(out, out + n, 0);
        for (int64_t i = -int64_t(r); i <= int64_t(r); ++i) {
            const T* v = at(i);
            const TSum weight = TSum(r + 1 - uint32_t(i < 0 ? -i : i));
            for (uint32_t c = 0; c < n; ++c) {
                sum[c] += TSum(v[c]) * weight;
                (i <= 0 ? out[c] : in[c]) += v[c];
            }
        }
        for (uint32_t y = 0; y < aHeight; ++y) {
            T* line = aPlane + size_t(y) * aRow + x0;
            const T* leaving = at(int64_t(y) - int64_t(r));
            const T* entering = at(int64_t(y) + int64_t(r) + 1);
            const T* centre = at(int64_t(y) + 1);
            for (uint32_t c = 0; c < n; ++c) {
                line[c] = T((uint64_t(sum[c]) * mul) >> shift);
                sum[c] -= out[c];
                out[c] -= leaving[c];
                in[c] += entering[c];
                sum[c] += in[c];
                out[c] += centre[c];
                in[c] -= centre[c];
            }
        }
    }
}

// A plane of aWidth x aHeight values, rows aRow apart: rows first, then columns.
template <class T>
void StackBlurPlane(T* aPlane, uint32_t aWidth, uint32_t aHeight, size_t aRow, uint32_t aRadius) {
    std::vector<T> work;
    for (uint32_t y = 0; y < aHeight; ++y) StackBlurLine(aPlane + y * aRow, aWidth, 1, aRadius, work);
    StackBlurColumns(aPlane, aWidth, aHeight, aRow, aRadius);
}

}  // namespace zt

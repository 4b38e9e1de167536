// The one-dimensional blur engine: sources that turn stored pixels into premultiplied
// linear light, four line kernels, destinations that turn sums back into stored pixels,
// and the task that splits lines among threads.
//
// All four channels go through the same arithmetic, so they are held in one vector of
// four lanes (blue, green, red, alpha). Lane-wise vector operations are the IEEE single
// or double operations of the scalar code, in the same order: the results do not change
// by a bit, only the number of instructions does.
#pragma once

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <vector>

#include "frame/host.h"
#include "frame/object.h"
#include "pixel/colour.h"
#include "pixel/parallel.h"

namespace zt {

using v4f = float __attribute__((vector_size(16)));
using v4i = int32_t __attribute__((vector_size(16)));
using v2d = double __attribute__((vector_size(16)));

// Four doubles as two SSE2 halves: a 32-byte vector type would change the calling
// convention without AVX.
struct v4d {
    v2d lo, hi;
    double operator[](int i) const { return i < 2 ? lo[i] : hi[i - 2]; }
};
inline v4d operator+(v4d a, v4d b) { return {a.lo + b.lo, a.hi + b.hi}; }
inline v4d operator-(v4d a, v4d b) { return {a.lo - b.lo, a.hi - b.hi}; }
inline v4d operator*(v4d a, v4d b) { return {a.lo * b.lo, a.hi * b.hi}; }
inline v4d operator*(v4d a, double b) { return {a.lo * b, a.hi * b}; }
inline v4d operator*(double b, v4d a) { return {b * a.lo, b * a.hi}; }
inline v4d Widen(v4f a) { return {v2d{double(a[0]), double(a[1])}, v2d{double(a[2]), double(a[3])}}; }
inline v4f Splat(float a) { return v4f{a, a, a, a}; }
inline v4f Load4(const float* p) { return v4f{p[0], p[1], p[2], p[3]}; }

// ---------------------------------------------------------------- pixel conversions

constexpr float kInv255 = 0.003921569f;                   // 0x3B808081
constexpr float kHalfStep = 0.0019607844f;                // half of one 8-bit step
constexpr double kRecursiveCutOff = 0.00196078431372549;  // alpha below which the recursive kernel drops a pixel
constexpr float kEncodeLow = 0.00012207031f;              // 2^-13: keeps the encoder's index in range
constexpr float kEncodeHigh = 0.99999994f;                // the largest float under 1
constexpr float kFromWideUnsigned = 3.0517578e-5f;        // 2^-15
constexpr float kFromWideSigned = 6.1035156e-5f;          // 2^-14

// A stored pixel in premultiplied linear light, single precision.
inline v4f PreMulLinearF(const TSRGBFloatRecord* aTable, TPixelChannel aPixel) {
    const float a = float(aPixel.bA) * kInv255;
    // The alpha lane multiplies 1.0, which gives a itself.
    return v4f{aTable->toLinear[aPixel.bB], aTable->toLinear[aPixel.bG], aTable->toLinear[aPixel.bR], 1.0f} * a;
}

// The same in double precision: alpha and the table entries are widened before the product.
inline v4d PreMulLinearD(const TSRGBFloatRecord* aTable, TPixelChannel aPixel) {
    const double a = double(float(aPixel.bA) * kInv255);
    return v4d{v2d{double(aTable->toLinear[aPixel.bB]), double(aTable->toLinear[aPixel.bG])},
               v2d{double(aTable->toLinear[aPixel.bR]), 1.0}} *
           a;
}

inline v4f ClampForEncoder(v4f v) {
    const v4f lo = Splat(kEncodeLow), hi = Splat(kEncodeHigh);
    v = v < lo ? lo : v;
    return v > hi ? hi : v;
}

inline uint32_t EncodeColours(const TSRGBFloatRecord* aTable, v4f v) {
    return uint32_t(EncodeSRGB8(aTable, v[0])) | uint32_t(EncodeSRGB8(aTable, v[1])) << 8 |
           uint32_t(EncodeSRGB8(aTable, v[2])) << 16;
}

// A window sum of a float kernel back to a stored pixel. The alpha byte has no limit: the
// sums never exceed the total weight.
inline TPixelChannel DeMulSRGBFromSum(const TSRGBFloatRecord* aTable, v4f aSum, float aInv) {
    TPixelChannel out;
    const float sa = aSum[3];
    if (!(sa * aInv > kHalfStep)) {  // colour is dropped, not merely hidden
        out.n = 0;
        return out;
    }
    const float u = 1.0f / sa;
    const uint32_t alpha = uint32_t(sa * (aInv * 255.0f) + 0.5f);
    out.n = EncodeColours(aTable, ClampForEncoder(aSum * u)) | (alpha & 255u) << 24;
    return out;
}

using v4u = uint32_t __attribute__((vector_size(16)));

// The encoder of EncodeSRGB8 on four values at once; only the table look-up is per lane.
inline v4u EncodeSRGB8x4(const TSRGBFloatRecord* aTable, v4f aV) {
    v4u bits;
    std::memcpy(&bits, &aV, sizeof bits);
    const v4u index = EncoderSegment(bits);
    const v4u entry = {aTable->encoder[index[0]], aTable->encoder[index[1]], aTable->encoder[index[2]],
                       aTable->encoder[index[3]]};
    return EncoderByte(bits, entry);
}

// DeMulSRGBFromSum on four sums at once, lane by lane the same operations in the same order.
inline void DeMulSRGBFromSums4(const TSRGBFloatRecord* aTable, const v4f* aSums, float aInv, uint32_t* aOut) {
    const v4f b = {aSums[0][0], aSums[1][0], aSums[2][0], aSums[3][0]};
    const v4f g = {aSums[0][1], aSums[1][1], aSums[2][1], aSums[3][1]};
    const v4f r = {aSums[0][2], aSums[1][2], aSums[2][2], aSums[3][2]};
    const v4f a = {aSums[0][3], aSums[1][3], aSums[2][3], aSums[3][3]};
    const v4i keep = a * aInv > Splat(kHalfStep);
    const v4f u = Splat(1.0f) / a;
    // Lanes that are dropped still go through the encoder: give them a value it accepts.
    auto colour = [&](v4f c) { return keep ? ClampForEncoder(c * u) : Splat(kEncodeLow); };
    const v4f alphaF = keep ? a * (aInv * 255.0f) + 0.5f : Splat(0.0f);
    const v4u alpha = __builtin_convertvector(__builtin_convertvector(alphaF, v4i), v4u);
    const v4u pixel = EncodeSRGB8x4(aTable, colour(b)) | EncodeSRGB8x4(aTable, colour(g)) << 8 |
                      EncodeSRGB8x4(aTable, colour(r)) << 16 | (alpha & 255u) << 24;
    const v4u kept = pixel & v4u(keep);
    std::memcpy(aOut, &kept, sizeof kept);
}

// A value of the recursive kernel back to a stored pixel; it can overshoot, so alpha is limited.
inline TPixelChannel DeMulSRGBFromRecursive(const TSRGBFloatRecord* aTable, v4d aY) {
    TPixelChannel out;
    const double ya = aY[3];
    if (!(ya > kRecursiveCutOff)) {
        out.n = 0;
        return out;
    }
    const float u = float(1.0 / ya);
    const v4f y = v4f{float(aY[0]), float(aY[1]), float(aY[2]), 0.0f};
    const uint32_t alpha = std::min(uint32_t(ya * 255.0 + 0.5), 255u);
    out.n = EncodeColours(aTable, ClampForEncoder(y * u)) | alpha << 24;
    return out;
}

// ---------------------------------------------------------------- wide pixels

// The intermediate of a two-axis blur: four 16-bit premultiplied values, blue green red alpha.
struct TWidePixel {
    uint16_t v[4];
};
static_assert(sizeof(TWidePixel) == 8);

inline v4i TruncateToInt(v2d lo, v2d hi) { return v4i{int32_t(lo[0]), int32_t(lo[1]), int32_t(hi[0]), int32_t(hi[1])}; }

// Float kernels: 1.0 is 32768, unsigned, cut towards zero.
inline TWidePixel WideFromSum(v4f aSum, float aInv) {
    const double scale = double(aInv) * 32768.0;
    const v4d s = Widen(aSum);
    const v4i q = TruncateToInt(s.lo * scale, s.hi * scale);
    return {{uint16_t(q[0]), uint16_t(q[1]), uint16_t(q[2]), uint16_t(q[3])}};
}
// Recursive kernel: 1.0 is 16384, signed, so that overshoot beyond 0 .. 1 is carried.
inline TWidePixel WideFromRecursive(v4d aY) {
    const v4i q = TruncateToInt(aY.lo * 16384.0, aY.hi * 16384.0);
    return {{uint16_t(int16_t(q[0])), uint16_t(int16_t(q[1])), uint16_t(int16_t(q[2])), uint16_t(int16_t(q[3]))}};
}
inline v4f FloatFromWideUnsigned(TWidePixel aPixel) {
    return v4f{float(aPixel.v[0]), float(aPixel.v[1]), float(aPixel.v[2]), float(aPixel.v[3])} * kFromWideUnsigned;
}
inline v4f FloatFromWideSigned(TWidePixel aPixel) {
    return v4f{float(int16_t(aPixel.v[0])), float(int16_t(aPixel.v[1])), float(int16_t(aPixel.v[2])),
               float(int16_t(aPixel.v[3]))} *
           kFromWideSigned;
}

// ---------------------------------------------------------------- sources

// Each source knows how to step along a line and from line to line, and reads a pixel
// in single (float kernels) or double (recursive kernel) precision.
template <bool kTransposing>
struct CFloatSRGBPreMulSrcT {
    using Stored = TPixelChannel;
    static constexpr bool kAcross = kTransposing;
    const TSRGBFloatRecord* table;
    const TPixelChannel* first;
    uint32_t stride;
    ptrdiff_t PixelStep() const { return kTransposing ? ptrdiff_t(stride) : 1; }
    ptrdiff_t LineStep() const { return kTransposing ? 1 : ptrdiff_t(stride); }
    v4f ReadF(const TPixelChannel* p) const { return PreMulLinearF(table, *p); }
    v4d ReadD(const TPixelChannel* p) const { return PreMulLinearD(table, *p); }
};
using CFloatSRGBPreMulSrc = CFloatSRGBPreMulSrcT<false>;
using CFloatSRGBPreMulTransposingSrc = CFloatSRGBPreMulSrcT<true>;

// The wide intermediate of the float kernels. The column form reads the intermediate
// stored in rows: the second pass then reads and writes runs of neighbouring columns.
template <bool kColumns>
struct CFloatWideSrcT {
    using Stored = TWidePixel;
    static constexpr bool kAcross = kColumns;
    const TWidePixel* first;
    uint32_t stride;
    ptrdiff_t PixelStep() const { return kColumns ? ptrdiff_t(stride) : 1; }
    ptrdiff_t LineStep() const { return kColumns ? 1 : ptrdiff_t(stride); }
    v4f ReadF(const TWidePixel* p) const { return FloatFromWideUnsigned(*p); }
    v4d ReadD(const TWidePixel* p) const { return Widen(FloatFromWideUnsigned(*p)); }
};
using CFloatWideSrc = CFloatWideSrcT<false>;
using CFloatWideColumnSrc = CFloatWideSrcT<true>;

// The wide intermediate of the recursive kernel: the float result is widened to double.
template <bool kColumns>
struct CWideSrcT {
    using Stored = TWidePixel;
    static constexpr bool kAcross = kColumns;
    const TWidePixel* first;
    uint32_t stride;
    ptrdiff_t PixelStep() const { return kColumns ? ptrdiff_t(stride) : 1; }
    ptrdiff_t LineStep() const { return kColumns ? 1 : ptrdiff_t(stride); }
    v4f ReadF(const TWidePixel* p) const { return FloatFromWideSigned(*p); }
    v4d ReadD(const TWidePixel* p) const { return Widen(FloatFromWideSigned(*p)); }
};
using CWideSrc = CWideSrcT<false>;
using CWideColumnSrc = CWideSrcT<true>;

// ---------------------------------------------------------------- destinations

template <bool kTransposing>
struct CFloatSRGBDeMulDstT {
    using Stored = TPixelChannel;
    static constexpr bool kAcross = kTransposing;
    const TSRGBFloatRecord* table;
    TPixelChannel* first;
    uint32_t stride;
    ptrdiff_t PixelStep() const { return kTransposing ? ptrdiff_t(stride) : 1; }
    ptrdiff_t LineStep() const { return kTransposing ? 1 : ptrdiff_t(stride); }
    void WriteSum(TPixelChannel* p, v4f aSum, float aInv) const { *p = DeMulSRGBFromSum(table, aSum, aInv); }
    void WriteRecursive(TPixelChannel* p, v4d aY) const { *p = DeMulSRGBFromRecursive(table, aY); }
    // Output aOffset of aCount lines, four at a time.
    void WriteSums(TPixelChannel* const* aLines, ptrdiff_t aOffset, const v4f* aSums, uint32_t aCount,
                   float aInv) const {
        uint32_t g = 0;
        for (; g + 4 <= aCount; g += 4) {
            uint32_t px[4];
            DeMulSRGBFromSums4(table, aSums + g, aInv, px);
            for (uint32_t k = 0; k < 4; ++k) aLines[g + k][aOffset].n = px[k];
        }
        for (; g < aCount; ++g) aLines[g][aOffset] = DeMulSRGBFromSum(table, aSums[g], aInv);
    }
};
using CFloatSRGBDeMulDst = CFloatSRGBDeMulDstT<false>;
using CFloatSRGBDeMulTransposingDst = CFloatSRGBDeMulDstT<true>;

// The intermediate of a two-axis blur. The transposing form stores each line as a column;
// the row form stores lines as rows, for a second pass that reads columns in groups.
template <bool kTransposing>
struct CWideDstT {
    using Stored = TWidePixel;
    static constexpr bool kAcross = kTransposing;
    TWidePixel* first;
    uint32_t stride;
    ptrdiff_t PixelStep() const { return kTransposing ? ptrdiff_t(stride) : 1; }
    ptrdiff_t LineStep() const { return kTransposing ? 1 : ptrdiff_t(stride); }
    void WriteSum(TWidePixel* p, v4f aSum, float aInv) const { *p = WideFromSum(aSum, aInv); }
    void WriteRecursive(TWidePixel* p, v4d aY) const { *p = WideFromRecursive(aY); }
    void WriteSums(TWidePixel* const* aLines, ptrdiff_t aOffset, const v4f* aSums, uint32_t aCount, float aInv) const {
        for (uint32_t g = 0; g < aCount; ++g) aLines[g][aOffset] = WideFromSum(aSums[g], aInv);
    }
};
using CWideTransposingDst = CWideDstT<true>;
using CWideRowDst = CWideDstT<false>;

// ---------------------------------------------------------------- float kernels

// Lines blurred side by side: their sums are independent chains the processor overlaps.
// Lines that run across memory (columns) go in wide groups: for each position along the
// lines the group reads and writes one run of neighbouring pixels, so a cache line and a
// page serve many pixels instead of one. Lines along memory go in small groups, which keep
// the number of streams low.
constexpr uint32_t kLineGroupAlong = 8;
constexpr uint32_t kLineGroupAcross = 256;

// Whether a source's or destination's lines run across memory.
template <class T>
constexpr bool AcrossMemory() {
    if constexpr (requires { T::kAcross; })
        return T::kAcross;
    else
        return false;
}
template <class Src, class Dst>
constexpr uint32_t kGroupOf = AcrossMemory<Src>() || AcrossMemory<Dst>() ? kLineGroupAcross : kLineGroupAlong;

// Working memory of one share of a float kernel: per line of a group, a ring of the last
// 2R + 1 inputs, so that each input is decoded once, when it enters the window.
struct SLineScratch {
    std::vector<v4f> ring;
};

inline uint32_t RingSize(uint32_t aRadius) {
    uint32_t size = 1;
    while (size < 2 * aRadius + 1) size <<= 1;
    return size;
}

// Runs aCount (at most kGroupOf<Src, Dst>) consecutive lines through a kernel that has State,
// Init(front) and Step(state, entering, middle, leaving). x[j] is input j of a line, the
// front colour before it and the back colour behind it; output i enters x[i], passes
// x[i - R] in the middle and lets x[i - 2R] leave.
template <class Kernel, class Src, class Dst>
void BlurLineGroup(const Kernel& aKernel, const Src& aSrc, const typename Src::Stored* aLine, const Dst& aDst,
                   typename Dst::Stored* aOut, uint32_t aCount, SLineScratch& aScratch) {
    const uint32_t n = aKernel.length, R = aKernel.radius, reach = 2 * R;
    if (n == 0 || aCount == 0) return;
    constexpr uint32_t kLineGroup = kGroupOf<Src, Dst>;
    const uint32_t size = RingSize(R), mask = size - 1;
    aScratch.ring.resize(size_t(kLineGroup) * size);
    const ptrdiff_t sstep = aSrc.PixelStep(), dstep = aDst.PixelStep();
    const float inv = aKernel.Inverse();

    typename Kernel::template State<v4f> state[kLineGroup];
    v4f back[kLineGroup];
    v4f* ring[kLineGroup];
    const typename Src::Stored* in[kLineGroup];
    typename Dst::Stored* out[kLineGroup];
    for (uint32_t g = 0; g < aCount; ++g) {
        in[g] = aLine + ptrdiff_t(g) * aSrc.LineStep();
        out[g] = aOut + ptrdiff_t(g) * aDst.LineStep();
        ring[g] = aScratch.ring.data() + size_t(g) * size;
        const v4f front = aKernel.front ? Load4(aKernel.front) : aSrc.ReadF(in[g]);
        back[g] = aKernel.back ? Load4(aKernel.back) : aSrc.ReadF(in[g] + ptrdiff_t(n - 1) * sstep);
        // x[j] lives in slot (j + 2R) & mask; the slots of x[-2R] .. x[-1] hold the front.
        for (uint32_t j = 0; j < reach; ++j) ring[g][j & mask] = front;
        state[g] = aKernel.Init(front);
    }
    v4f sums[kLineGroup];
    for (uint32_t i = 0; i < n; ++i) {
        for (uint32_t g = 0; g < aCount; ++g) {
            const v4f e = aSrc.ReadF(in[g] + ptrdiff_t(i) * sstep);
            ring[g][(i + reach) & mask] = e;
            sums[g] = aKernel.Step(state[g], e, ring[g][(i + R) & mask], ring[g][i & mask]);
        }
        aDst.WriteSums(out, ptrdiff_t(i) * dstep, sums, aCount, inv);
    }
    for (uint32_t i = n; i < n + reach; ++i) {
        for (uint32_t g = 0; g < aCount; ++g) {
            const v4f e = back[g];
            ring[g][(i + reach) & mask] = e;
            sums[g] = aKernel.Step(state[g], e, ring[g][(i + R) & mask], ring[g][i & mask]);
        }
        aDst.WriteSums(out, ptrdiff_t(i) * dstep, sums, aCount, inv);
    }
}

// The one-line form of every float kernel.
template <class Derived>
struct CFloatKernelBase {
    template <class Src, class Dst>
    void Line(const Src& aSrc, const typename Src::Stored* aLine, const Dst& aDst, typename Dst::Stored* aOut,
              SLineScratch& aScratch) const {
        BlurLineGroup(static_cast<const Derived&>(*this), aSrc, aLine, aDst, aOut, 1, aScratch);
    }
};

// Box of whole radius R: every sample of the window weighs 1.
struct CBoxBlurFloat : CFloatKernelBase<CBoxBlurFloat> {
    uint32_t length;
    uint32_t radius;
    const float* front;
    const float* back;

    CBoxBlurFloat(uint32_t aLength, uint32_t aRadius, const float* aFront, const float* aBack)
        : length(aLength), radius(aRadius), front(aFront), back(aBack) {}
    float Inverse() const { return 1.0f / float(2 * radius + 1); }

    template <class V = v4f>
    struct State {
        V s;
    };
    template <class V>
    State<V> Init(V aFront) const {
        return {float(2 * radius) * aFront};
    }
    template <class V>
    V Step(State<V>& a, V aEnter, V, V aLeave) const {
        a.s += aEnter;
        const V out = a.s;
        a.s -= aLeave;
        return out;
    }
};

// Box of a radius r that is not whole: R = ceil(r), the two end samples weigh f = r + 1 - R.
// Each sample enters in two steps and leaves in two steps.
struct CFractionBoxBlurFloat : CFloatKernelBase<CFractionBoxBlurFloat> {
    uint32_t length;
    float inverse;  // 1 / (2r + 1)
    float total;    // 2r + 1
    float edge;     // f
    uint32_t radius;
    const float* front;
    const float* back;

    CFractionBoxBlurFloat(uint32_t aLength, float aInverse, float aTotal, float aEdge, uint32_t aRadius,
                          const float* aFront, const float* aBack)
        : length(aLength), inverse(aInverse), total(aTotal), edge(aEdge), radius(aRadius), front(aFront), back(aBack) {}
    float Inverse() const { return inverse; }

    template <class V = v4f>
    struct State {
        V s, h, t;  // sum, what is still to enter, what is still to leave
    };
    template <class V>
    State<V> Init(V aFront) const {
        return {aFront * total, aFront * (1.0f - edge), aFront * edge};
    }
    template <class V>
    V Step(State<V>& a, V e, V, V o) const {
        const float f = edge, g = 1.0f - edge;
        a.s = a.s - a.t - o * g + a.h + e * f;
        a.h = e - e * f;
        a.t = o - o * g;
        return a.s;
    }
};

// Triangle of two cascaded boxes of whole radius R, weights R + 1 - |k - R| over (R + 1)^2.
struct CLinearBlurFloat : CFloatKernelBase<CLinearBlurFloat> {
    uint32_t length;
    uint32_t radius;
    const float* front;
    const float* back;

    CLinearBlurFloat(uint32_t aLength, uint32_t aRadius, const float* aFront, const float* aBack)
        : length(aLength), radius(aRadius), front(aFront), back(aBack) {}
    float Inverse() const {
        const uint32_t d = radius + 1;
        return 1.0f / float(d * d);
    }

    template <class V = v4f>
    struct State {
        V p, q, t;
    };
    template <class V>
    State<V> Init(V aFront) const {
        const uint32_t d = radius + 1;
        return {float(radius) * aFront, float(d * d - d) * aFront, float(radius) * aFront};
    }
    template <class V>
    V Step(State<V>& a, V e, V m, V o) const {
        a.p += e;
        a.q += a.p;
        a.p -= m;
        const V out = a.q;
        a.t += m;
        a.q -= a.t;
        a.t -= o;
        return out;
    }
};

// ---------------------------------------------------------------- recursive kernel

// The third-order recursive Gaussian of Young and van Vliet, standard deviation r / 2.
template <class T>
struct recursive_blur_calc_rgba {
    using value = T;
};

template <class Calc>
struct CRecursiveBlur {
    uint32_t length = 0;
    uint32_t padded = 0;
    double radiusGiven = 0.0;
    uint32_t border = 0;
    bool replicateFront = true;
    bool replicateBack = true;
    double front[4] = {};  // blue, green, red, alpha
    double back[4] = {};
    double b1 = 0.0, b2 = 0.0, b3 = 0.0, B = 0.0;
    v4d* forward = nullptr;  // the work array of the forward run

    CRecursiveBlur() = default;
    CRecursiveBlur(uint32_t aLength, double aRadius, const double* aFront, const double* aBack)
        : length(aLength), radiusGiven(aRadius), replicateFront(aFront == nullptr), replicateBack(aBack == nullptr) {
        const double r = std::max(aRadius, 0.62);
        border = uint32_t(std::ceil(r));
        padded = aLength + 2 * border;
        const double sigma = r * 0.5;
        const double q = sigma < 2.5 ? 3.97156 - 4.14554 * std::sqrt(1.0 - 0.26891 * sigma) : 0.98711 * sigma - 0.9633;
        // Powers are written out as products from the left, as the formulas read.
        const double b0 = 1.57825 + 2.44413 * q + 1.4281 * q * q + 0.422205 * q * q * q;
        const double n1 = 2.44413 * q + 2.85619 * q * q + 1.26661 * q * q * q;
        const double n2 = -1.4281 * q * q - 1.26661 * q * q * q;
        const double n3 = 0.422205 * q * q * q;
        b1 = n1 / b0;
        b2 = n2 / b0;
        b3 = n3 / b0;
        B = 1.0 - ((n2 + n1 + n3) / b0);
        if (aFront) std::copy(aFront, aFront + 4, front);
        if (aBack) std::copy(aBack, aBack + 4, back);
    }

    // Entries of the work array per line: the padded length and R more to warm up the
    // backward run.
    size_t WorkLength() const { return size_t(length) + 3 * size_t(border); }

    v4d Step(v4d c, v4d a1, v4d a2, v4d a3) const { return B * c + b1 * a1 + b2 * a2 + b3 * a3; }

    // aCount lines side by side (at most kRecursiveGroup); forward holds WorkLength() x aCount
    // entries, entry i of line g at i * aCount + g, so that a step of the group reads and
    // writes one run. The backward run needs only its last three values per line, which it
    // keeps in registers instead of a second array.
    template <uint32_t kMaxGroup, class Src, class Dst>
    void LineGroup(const Src& aSrc, const typename Src::Stored* aLine, const Dst& aDst, typename Dst::Stored* aOut,
                   uint32_t aCount) const;

    // One line; forward must hold WorkLength() entries.
    template <class Src, class Dst>
    void Line(const Src& aSrc, const typename Src::Stored* aLine, const Dst& aDst, typename Dst::Stored* aOut) const {
        LineGroup<1>(aSrc, aLine, aDst, aOut, 1);
    }
};

// Lines of the recursive kernel walked side by side (a group's work array is WorkLength() x
// this many entries of 32 bytes).
constexpr uint32_t kRecursiveGroup = 8;

template <class Calc>
template <uint32_t kMaxGroup, class Src, class Dst>
void CRecursiveBlur<Calc>::LineGroup(const Src& aSrc, const typename Src::Stored* aLine, const Dst& aDst,
                                     typename Dst::Stored* aOut, uint32_t aCount) const {
    const uint32_t n = length, R = border, G = kMaxGroup == 1 ? 1 : std::min(aCount, kMaxGroup);
    if (n == 0 || aCount == 0) return;
    // The coefficients in locals: stores into the work array could otherwise alias them.
    const double cB = B, c1 = b1, c2 = b2, c3 = b3;
    auto Step = [cB, c1, c2, c3](v4d c, v4d a1, v4d a2, v4d a3) { return cB * c + c1 * a1 + c2 * a2 + c3 * a3; };
    const ptrdiff_t sstep = aSrc.PixelStep(), snext = aSrc.LineStep();
    const ptrdiff_t dstep = aDst.PixelStep(), dnext = aDst.LineStep();
    v4d* const w = forward;
    auto W = [&](uint32_t i) { return w + size_t(i) * G; };
    const v4d frontColour{v2d{front[0], front[1]}, v2d{front[2], front[3]}};
    const v4d backFixed{v2d{back[0], back[1]}, v2d{back[2], back[3]}};

    v4d c[kMaxGroup], backColour[kMaxGroup];
    for (uint32_t g = 0; g < G; ++g) {
        const typename Src::Stored* line = aLine + ptrdiff_t(g) * snext;
        backColour[g] = replicateBack ? aSrc.ReadD(line + ptrdiff_t(n - 1) * sstep) : backFixed;
        c[g] = replicateFront ? aSrc.ReadD(line) : frontColour;
    }
    uint32_t consumed = 0;
    // The next pixel of every line. At R = 1 on a one-pixel line the walk asks for one
    // more than the line has: that pixel is the one behind the line, the back colour.
    auto next = [&]() {
        if (consumed >= n) {
            for (uint32_t g = 0; g < G; ++g) c[g] = backColour[g];
            return;
        }
        const typename Src::Stored* p = aLine + ptrdiff_t(consumed) * sstep;
        for (uint32_t g = 0; g < G; ++g) c[g] = aSrc.ReadD(p + ptrdiff_t(g) * snext);
        ++consumed;
    };
    auto step = [&](uint32_t i) {
        v4d* to = W(i);
        const v4d *a1 = W(i - 1), *a2 = W(i - 2), *a3 = W(i - 3);
        for (uint32_t g = 0; g < G; ++g) to[g] = Step(c[g], a1[g], a2[g], a3[g]);
    };

    for (uint32_t g = 0; g < G; ++g) W(0)[g] = c[g] * cB + c[g] * c1 + c[g] * c2 + c[g] * c3;
    if (R < 2) next();
    for (uint32_t g = 0; g < G; ++g) W(1)[g] = Step(c[g], W(0)[g], W(0)[g], W(0)[g]);
    if (R < 3) next();
    for (uint32_t g = 0; g < G; ++g) W(2)[g] = Step(c[g], W(1)[g], W(0)[g], W(0)[g]);
    uint32_t i = 3;
    for (; i < R; ++i) step(i);
    for (i = std::max(3u, R); i < n + R - 1; ++i) {
        next();
        step(i);
    }
    for (uint32_t g = 0; g < G; ++g) c[g] = aSrc.ReadD(aLine + ptrdiff_t(g) * snext + ptrdiff_t(n - 1) * sstep);
    if (!replicateBack) {
        step(i);
        ++i;
        for (uint32_t g = 0; g < G; ++g) c[g] = backColour[g];
    }
    const uint32_t L = n + 3 * R;
    for (; i < L; ++i) step(i);

    // Backward: y[j] = Step(w[j], y[j+1], y[j+2], y[j+3]); output index j holds y[j].
    v4d y1[kMaxGroup], y2[kMaxGroup], y3[kMaxGroup];
    const uint32_t outCount = n + 2 * R;
    auto write = [&](uint32_t j, const v4d* y) {
        for (uint32_t g = 0; g < G; ++g) aDst.WriteRecursive(aOut + ptrdiff_t(g) * dnext + ptrdiff_t(j) * dstep, y[g]);
    };
    for (uint32_t g = 0; g < G; ++g) {
        const v4d last = W(L - 1)[g];
        y3[g] = last * cB + c1 * last + c2 * last + c3 * last;  // y[L-1]
        y2[g] = Step(W(L - 2)[g], y3[g], y3[g], y3[g]);         // y[L-2]
        y1[g] = Step(W(L - 3)[g], y2[g], y3[g], y3[g]);         // y[L-3]
    }
    if (R < 2) write(L - 2, y2);  // L - 2 is the last output when R = 1
    if (R < 3) write(L - 3, y1);
    v4d y[kMaxGroup];
    for (int64_t j = int64_t(L) - 4; j >= 0; --j) {
        const v4d* wj = W(uint32_t(j));
        for (uint32_t g = 0; g < G; ++g) {
            y[g] = Step(wj[g], y1[g], y2[g], y3[g]);
            y3[g] = y2[g];
            y2[g] = y1[g];
            y1[g] = y[g];
        }
        if (j < int64_t(outCount)) write(uint32_t(j), y);
    }
}
using CRecursiveBlurRGBA = CRecursiveBlur<recursive_blur_calc_rgba<double>>;

// ---------------------------------------------------------------- task

// Reads like Src from a contiguous copy of a line, for staging a group of lines.
template <class Src>
struct CStagingSrc {
    using Stored = typename Src::Stored;
    const Src* src;
    ptrdiff_t PixelStep() const { return 1; }
    ptrdiff_t LineStep() const { return 0; }
    v4d ReadD(const Stored* p) const { return src->ReadD(p); }
};

// Writes like Dst into a contiguous line, for staging a group of lines.
template <class Dst>
struct CStagingDst {
    using Stored = typename Dst::Stored;
    const Dst* dst;
    ptrdiff_t PixelStep() const { return 1; }
    ptrdiff_t LineStep() const { return 0; }
    void WriteRecursive(Stored* p, v4d aY) const { dst->WriteRecursive(p, aY); }
};

template <class Kernel>
constexpr bool kIsRecursive = false;
template <class Calc>
constexpr bool kIsRecursive<CRecursiveBlur<Calc>> = true;

// The lines of a share through the recursive kernel, one at a time, so that a line's work
// array stays in cache. Lines that run across memory (columns) are staged a group at a time:
// the group's inputs are gathered row by row into contiguous lines and its outputs scattered
// row by row, so each row of the group is one run of neighbours.
template <class K, class Src, class Dst>
HRESULT RecursiveLines(const K& aKernel, const Src& aSrc, const Dst& aDst, uint32_t aFirst, uint32_t aEnd,
                       const typename Src::Stored* aLine, typename Dst::Stored* aOut) {
    using In = typename Src::Stored;
    using Out = typename Dst::Stored;
    constexpr bool kStageIn = AcrossMemory<Src>(), kStageOut = AcrossMemory<Dst>();
    if constexpr (!kStageIn && !kStageOut) {
        for (uint32_t l = aFirst; l < aEnd; ++l) {
            aKernel.Line(aSrc, aLine, aDst, aOut);
            aLine += aSrc.LineStep();
            aOut += aDst.LineStep();
        }
        return S_OK;
    } else {
        const size_t n = aKernel.length, padded = aKernel.padded;
        std::unique_ptr<In[]> inStage(kStageIn ? new (std::nothrow) In[n * kRecursiveGroup] : nullptr);
        std::unique_ptr<Out[]> outStage(kStageOut ? new (std::nothrow) Out[padded * kRecursiveGroup] : nullptr);
        if ((kStageIn && !inStage) || (kStageOut && !outStage)) return E_OUTOFMEMORY;
        const CStagingSrc<Src> stagedSrc{&aSrc};
        const CStagingDst<Dst> stagedDst{&aDst};
        const ptrdiff_t inStep = aSrc.PixelStep(), inNext = aSrc.LineStep();
        const ptrdiff_t outStep = aDst.PixelStep(), outNext = aDst.LineStep();
        for (uint32_t l = aFirst; l < aEnd; l += kRecursiveGroup) {
            const uint32_t count = std::min(kRecursiveGroup, aEnd - l);
            if constexpr (kStageIn) {
                for (size_t k = 0; k < n; ++k) {
                    const In* row = aLine + ptrdiff_t(k) * inStep;
                    for (uint32_t g = 0; g < count; ++g) inStage[g * n + k] = row[ptrdiff_t(g) * inNext];
                }
            }
            for (uint32_t g = 0; g < count; ++g) {
                if constexpr (kStageIn && kStageOut) {
                    aKernel.Line(stagedSrc, inStage.get() + g * n, stagedDst, outStage.get() + g * padded);
                } else if constexpr (kStageIn) {
                    aKernel.Line(stagedSrc, inStage.get() + g * n, aDst, aOut + ptrdiff_t(g) * outNext);
                } else {
                    aKernel.Line(aSrc, aLine + ptrdiff_t(g) * inNext, stagedDst, outStage.get() + g * padded);
                }
            }
            if constexpr (kStageOut) {
                for (size_t i = 0; i < padded; ++i) {
                    Out* row = aOut + ptrdiff_t(i) * outStep;
                    for (uint32_t g = 0; g < count; ++g) row[ptrdiff_t(g) * outNext] = outStage[g * padded + i];
                }
            }
            aLine += ptrdiff_t(count) * inNext;
            aOut += ptrdiff_t(count) * outNext;
        }
        return S_OK;
    }
}

// One pass of the engine: aLines lines from a source through a kernel into a destination,
// share aIndex of aTotal per Execute; 1 for a share beyond the lines.
template <class Src, class Dst, class Kernel>
class CBlurTask final : public CStackUnknown<IThreadedTask> {
public:
    CBlurTask(const Src& aSrc, const Dst& aDst, const Kernel& aKernel, uint32_t aLines)
        : src_(aSrc), dst_(aDst), kernel_(aKernel), lines_(aLines) {}

    HRESULT Execute(uint32_t aIndex, uint32_t aTotal) override {
        const SShare share = ClampedShareOf(aIndex, aTotal, lines_);
        if (!share.any) return S_FALSE;
        if (share.first >= share.end) return S_OK;
        const HRESULT hr = Lines(share.first, share.end);
        if (FAILED(hr)) outOfMemory_.store(true);
        return hr;
    }

    // True when a share could not get its working memory (the pool does not pass results on).
    bool OutOfMemory() const { return outOfMemory_.load(); }

private:
    HRESULT Lines(uint32_t aFirst, uint32_t aEnd) {
        const typename Src::Stored* line = src_.first + ptrdiff_t(aFirst) * src_.LineStep();
        typename Dst::Stored* out = dst_.first + ptrdiff_t(aFirst) * dst_.LineStep();
        if constexpr (kIsRecursive<Kernel>) {
            // A private copy with its own work array, so that shares share nothing they write.
            Kernel kernel = kernel_;
            const std::unique_ptr<v4d[]> work(new (std::nothrow) v4d[kernel.WorkLength()]);
            if (!work) return E_OUTOFMEMORY;
            kernel.forward = work.get();
            return RecursiveLines(kernel, src_, dst_, aFirst, aEnd, line, out);
        } else {
            try {
                SLineScratch scratch;
                constexpr uint32_t kGroup = kGroupOf<Src, Dst>;
                for (uint32_t l = aFirst; l < aEnd; l += kGroup) {
                    const uint32_t count = std::min(kGroup, aEnd - l);
                    BlurLineGroup(kernel_, src_, line, dst_, out, count, scratch);
                    line += ptrdiff_t(count) * src_.LineStep();
                    out += ptrdiff_t(count) * dst_.LineStep();
                }
            } catch (const std::bad_alloc&) {
                return E_OUTOFMEMORY;
            }
            return S_OK;
        }
    }

    Src src_;
    Dst dst_;
    Kernel kernel_;
    uint32_t lines_;
    std::atomic<bool> outOfMemory_{false};
};

// A pass run to its end, shared out on aPool (null: on this thread). Gives E_OUTOFMEMORY
// when a share could not get its working memory.
template <class Src, class Dst, class Kernel>
HRESULT BlurLines(const Src& aSrc, const Dst& aDst, const Kernel& aKernel, uint32_t aLines, IThreadPool* aPool) {
    CBlurTask<Src, Dst, Kernel> task(aSrc, aDst, aKernel, aLines);
    RunShares(task, aLines, aPool);
    return task.OutOfMemory() ? E_OUTOFMEMORY : S_OK;
}

}  // namespace zt

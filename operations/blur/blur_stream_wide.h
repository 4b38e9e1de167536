// The two-axis blur on wide vectors, included twice by blur_stream.h: once compiled for
// AVX2 and once for AVX-512 with byte permutes (VBMI), told apart by ZT_BLUR_PERMUTED_TABLES.
// The AVX-512 form reads its tables by permutes of registers instead of gathers and puts
// twice the pixels in a vector (four rows in the row walk, four pixels of a row and sixteen
// lines of the Gaussian in the column pass); all else is the same text. Not a header of its
// own: it includes nothing and opens no namespace.

#include "pixel/srgb_encoder_step.h"

inline v8f Splat8(float a) { return v8f{a, a, a, a, a, a, a, a}; }

// The ring of the streamed blur holds each wide pixel already read back as CFloatWideSrc
// reads it: the 16-bit value (value x scale cut towards zero, low 16 bits kept) to float,
// times 2^-15. Each is then converted once, where the columns would convert it two or three
// times, as it enters the window, passes its middle and leaves it.
#if ZT_BLUR_PERMUTED_TABLES
// One pixel of four rows side by side, in the row walk.
using vRows = float __attribute__((vector_size(64)));
constexpr uint32_t kRowsPerVector = 4;

// The four pixels of a vector, each to its own row of the ring.
inline void StoreRowsWideFloat(vRows aSum, double aScale, v4f* const* aOut, uint64_t aAt) {
    const __m512d s = _mm512_castps_pd(__m512(aSum));
    auto half = [&](__m256 aHalf) {
        return _mm512_cvttpd_epi32(_mm512_mul_pd(_mm512_cvtps_pd(aHalf), _mm512_set1_pd(aScale)));
    };
    const __m256i lo = half(_mm256_castpd_ps(_mm512_castpd512_pd256(s)));
    const __m256i hi = half(_mm256_castpd_ps(_mm512_extractf64x4_pd(s, 1)));
    const __m512i q =
        _mm512_and_si512(_mm512_inserti64x4(_mm512_zextsi256_si512(lo), hi, 1), _mm512_set1_epi32(0xFFFF));
    const __m512 f = _mm512_mul_ps(_mm512_cvtepi32_ps(q), _mm512_set1_ps(kFromWideUnsigned));
    _mm_storeu_ps(reinterpret_cast<float*>(aOut[0] + aAt), _mm512_castps512_ps128(f));
    _mm_storeu_ps(reinterpret_cast<float*>(aOut[1] + aAt), _mm512_extractf32x4_ps(f, 1));
    _mm_storeu_ps(reinterpret_cast<float*>(aOut[2] + aAt), _mm512_extractf32x4_ps(f, 2));
    _mm_storeu_ps(reinterpret_cast<float*>(aOut[3] + aAt), _mm512_extractf32x4_ps(f, 3));
}
#else
// One pixel of two rows side by side, in the row walk.
using vRows = v8f;
constexpr uint32_t kRowsPerVector = 2;

// The two pixels of a vector, each to its own row of the ring.
inline void StoreRowsWideFloat(vRows aSum, double aScale, v4f* const* aOut, uint64_t aAt) {
    const __m256 s = __m256(aSum);
    auto half = [&](__m128 aHalf) {
        return _mm256_cvttpd_epi32(_mm256_mul_pd(_mm256_cvtps_pd(aHalf), _mm256_set1_pd(aScale)));
    };
    const __m256i q =
        _mm256_and_si256(_mm256_set_m128i(half(_mm256_extractf128_ps(s, 1)), half(_mm256_castps256_ps128(s))),
                         _mm256_set1_epi32(0xFFFF));
    const __m256 f = _mm256_mul_ps(_mm256_cvtepi32_ps(q), _mm256_set1_ps(kFromWideUnsigned));
    _mm_storeu_ps(reinterpret_cast<float*>(aOut[0] + aAt), _mm256_castps256_ps128(f));
    _mm_storeu_ps(reinterpret_cast<float*>(aOut[1] + aAt), _mm256_extractf128_ps(f, 1));
}
#endif

#if ZT_BLUR_PERMUTED_TABLES
// Neighbouring pixels of a row, side by side, in the column pass.
using vCols = float __attribute__((vector_size(64)));
constexpr uint32_t kPixelsPerVector = 4;
#else
using vCols = v8f;
constexpr uint32_t kPixelsPerVector = 2;
#endif

inline vCols LoadColumns(const v4f* aPixels) {
    vCols v;
    std::memcpy(&v, aPixels, sizeof v);
    return v;
}
inline vCols ColumnsOf(v4f aPixel) {
    v4f pixels[kPixelsPerVector];
    std::fill_n(pixels, kPixelsPerVector, aPixel);
    return LoadColumns(pixels);
}

#if ZT_BLUR_PERMUTED_TABLES
// PreMulLinearF of a run of stored pixels, sixteen at a time. The 256 floats of the table
// are held as four planes of bytes (byte k of every entry) in sixteen registers; three byte
// permutes look up one plane for all 64 bytes of sixteen pixels, and unpacking the four
// planes puts the floats back together, one pixel per 128-bit lane, already in pixel form.
class CLinearRow {
public:
    explicit CLinearRow(const TSRGBFloatRecord* aTable) : table_(aTable) {
        alignas(64) uint8_t planes[4][256];
        for (int i = 0; i < 256; ++i) {
            uint32_t bits;
            std::memcpy(&bits, &aTable->toLinear[i], sizeof bits);
            for (int k = 0; k < 4; ++k) planes[k][i] = uint8_t(bits >> (8 * k));
        }
        for (int k = 0; k < 4; ++k)
            for (int h = 0; h < 4; ++h) plane_[k][h] = _mm512_load_si512(planes[k] + 64 * h);
    }

    // Pixel j to aOut[j x aStride].
    void operator()(const TPixelChannel* aIn, v4f* aOut, uint64_t aCount, uint64_t aStride) const {
        uint64_t j = 0;
        for (; j + 16 <= aCount; j += 16) Sixteen(aIn + j, aOut + j * aStride, aStride);
        for (; j < aCount; ++j) aOut[j * aStride] = PreMulLinearF(table_, aIn[j]);
    }

private:
    void Sixteen(const TPixelChannel* aIn, v4f* aOut, uint64_t aStride) const {
        const __m512i px = _mm512_loadu_si512(aIn);
        const __mmask64 upper = _mm512_movepi8_mask(px);  // bytes of the table's upper half
        __m512i plane[4];
        for (int k = 0; k < 4; ++k)
            plane[k] = _mm512_mask_blend_epi8(upper, _mm512_permutex2var_epi8(plane_[k][0], px, plane_[k][1]),
                                              _mm512_permutex2var_epi8(plane_[k][2], px, plane_[k][3]));
        const __m512i w01lo = _mm512_unpacklo_epi8(plane[0], plane[1]),
                      w01hi = _mm512_unpackhi_epi8(plane[0], plane[1]);
        const __m512i w23lo = _mm512_unpacklo_epi8(plane[2], plane[3]),
                      w23hi = _mm512_unpackhi_epi8(plane[2], plane[3]);
        // f[j], lane L: the entries of blue, green, red and alpha of pixel 4L + j.
        const __m512i f[4] = {_mm512_unpacklo_epi16(w01lo, w23lo), _mm512_unpackhi_epi16(w01lo, w23lo),
                              _mm512_unpacklo_epi16(w01hi, w23hi), _mm512_unpackhi_epi16(w01hi, w23hi)};
        const __m512 a = _mm512_mul_ps(_mm512_cvtepi32_ps(_mm512_srli_epi32(px, 24)), _mm512_set1_ps(kInv255));
        __m512 p[4];
        for (int j = 0; j < 4; ++j) {
            // The alpha lane multiplies 1.0, which gives a itself.
            const __m512 colours = _mm512_mask_blend_ps(0x8888, _mm512_castsi512_ps(f[j]), _mm512_set1_ps(1.0f));
            const __m512i spread = _mm512_setr_epi32(j, j, j, j, 4 + j, 4 + j, 4 + j, 4 + j, 8 + j, 8 + j, 8 + j, 8 + j,
                                                     12 + j, 12 + j, 12 + j, 12 + j);
            p[j] = _mm512_mul_ps(colours, _mm512_permutexvar_ps(spread, a));
        }
        // Lane L of p[j] is pixel 4L + j: a 4 x 4 transpose of the lanes puts them in order.
        const __m512 t0 = _mm512_shuffle_f32x4(p[0], p[1], _MM_SHUFFLE(1, 0, 1, 0));
        const __m512 t1 = _mm512_shuffle_f32x4(p[0], p[1], _MM_SHUFFLE(3, 2, 3, 2));
        const __m512 t2 = _mm512_shuffle_f32x4(p[2], p[3], _MM_SHUFFLE(1, 0, 1, 0));
        const __m512 t3 = _mm512_shuffle_f32x4(p[2], p[3], _MM_SHUFFLE(3, 2, 3, 2));
        const __m512 q[4] = {_mm512_shuffle_f32x4(t0, t2, _MM_SHUFFLE(2, 0, 2, 0)),
                             _mm512_shuffle_f32x4(t0, t2, _MM_SHUFFLE(3, 1, 3, 1)),
                             _mm512_shuffle_f32x4(t1, t3, _MM_SHUFFLE(2, 0, 2, 0)),
                             _mm512_shuffle_f32x4(t1, t3, _MM_SHUFFLE(3, 1, 3, 1))};
        for (int k = 0; k < 4; ++k) {
            float* out = reinterpret_cast<float*>(aOut + 4 * k * aStride);
            _mm_storeu_ps(out, _mm512_castps512_ps128(q[k]));
            _mm_storeu_ps(out + 4 * aStride, _mm512_extractf32x4_ps(q[k], 1));
            _mm_storeu_ps(out + 8 * aStride, _mm512_extractf32x4_ps(q[k], 2));
            _mm_storeu_ps(out + 12 * aStride, _mm512_extractf32x4_ps(q[k], 3));
        }
    }

    const TSRGBFloatRecord* table_;
    __m512i plane_[4][4];
};

// The encoder's entries for eight indices: its 104 entries in eight registers of sixteen,
// four permutes of thirty-two entries each and two selections.
class CEncoderEntries {
public:
    explicit CEncoderEntries(const TSRGBFloatRecord* aTable) {
        alignas(64) uint32_t entries[128] = {};
        std::copy(aTable->encoder, aTable->encoder + 104, entries);
        for (int i = 0; i < 8; ++i) t_[i] = _mm512_load_si512(entries + 16 * i);
    }
    v8u operator()(v8u aIndex) const {
        // The upper eight lanes select entry 0 and are not used.
        return v8u(_mm512_castsi512_si256(Sixteen(_mm512_zextsi256_si512(__m256i(aIndex)))));
    }
    __m512i Sixteen(__m512i i) const {
        const __m512i e0 = _mm512_permutex2var_epi32(t_[0], i, t_[1]), e1 = _mm512_permutex2var_epi32(t_[2], i, t_[3]);
        const __m512i e2 = _mm512_permutex2var_epi32(t_[4], i, t_[5]), e3 = _mm512_permutex2var_epi32(t_[6], i, t_[7]);
        const __mmask16 bit5 = _mm512_test_epi32_mask(i, _mm512_set1_epi32(32));
        const __mmask16 bit6 = _mm512_test_epi32_mask(i, _mm512_set1_epi32(64));
        return _mm512_mask_blend_epi32(bit6, _mm512_mask_blend_epi32(bit5, e0, e1),
                                       _mm512_mask_blend_epi32(bit5, e2, e3));
    }

private:
    __m512i t_[8];
};
#else
// PreMulLinearF of a run of stored pixels, eight at a time: three gathers from the table,
// then one pixel per four lanes again.
class CLinearRow {
public:
    explicit CLinearRow(const TSRGBFloatRecord* aTable) : table_(aTable) {}

    // Pixel j to aOut[j x aStride].
    void operator()(const TPixelChannel* aIn, v4f* aOut, uint64_t aCount, uint64_t aStride) const {
        uint64_t j = 0;
        for (; j + 8 <= aCount; j += 8) Eight(aIn + j, aOut + j * aStride, aStride);
        for (; j < aCount; ++j) aOut[j * aStride] = PreMulLinearF(table_, aIn[j]);
    }

private:
    void Eight(const TPixelChannel* aPixels, v4f* aOut, uint64_t aStride) const {
        const v8u px = v8u(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(aPixels)));
        const v8f a = v8f(_mm256_cvtepi32_ps(__m256i(px >> 24))) * kInv255;
        auto linear = [&](v8u aByte) { return v8f(_mm256_i32gather_ps(table_->toLinear, __m256i(aByte), 4)); };
        const __m256 b = __m256(linear(px & 255u) * a), g = __m256(linear((px >> 8) & 255u) * a),
                     r = __m256(linear((px >> 16) & 255u) * a);
        // Back to one pixel per four lanes: a 4 x 4 transpose within each half.
        const __m256 bg0 = _mm256_unpacklo_ps(b, g), bg1 = _mm256_unpackhi_ps(b, g);
        const __m256 ra0 = _mm256_unpacklo_ps(r, __m256(a)), ra1 = _mm256_unpackhi_ps(r, __m256(a));
        const __m256 p04 = _mm256_shuffle_ps(bg0, ra0, _MM_SHUFFLE(1, 0, 1, 0));
        const __m256 p15 = _mm256_shuffle_ps(bg0, ra0, _MM_SHUFFLE(3, 2, 3, 2));
        const __m256 p26 = _mm256_shuffle_ps(bg1, ra1, _MM_SHUFFLE(1, 0, 1, 0));
        const __m256 p37 = _mm256_shuffle_ps(bg1, ra1, _MM_SHUFFLE(3, 2, 3, 2));
        const __m256 p[4] = {p04, p15, p26, p37};  // pixels k and k + 4
        for (int k = 0; k < 4; ++k) {
            _mm_storeu_ps(reinterpret_cast<float*>(aOut + k * aStride), _mm256_castps256_ps128(p[k]));
            _mm_storeu_ps(reinterpret_cast<float*>(aOut + (k + 4) * aStride), _mm256_extractf128_ps(p[k], 1));
        }
    }

    const TSRGBFloatRecord* table_;
};

// The encoder's entries for eight indices, gathered from the table.
class CEncoderEntries {
public:
    explicit CEncoderEntries(const TSRGBFloatRecord* aTable) : table_(aTable) {}
    v8u operator()(v8u aIndex) const {
        return v8u(_mm256_i32gather_epi32(reinterpret_cast<const int*>(table_->encoder), __m256i(aIndex), 4));
    }

private:
    const TSRGBFloatRecord* table_;
};
#endif

// ClampForEncoder as a maximum and a minimum: the same for every value but NaN, and the
// lanes that are kept never hold one (their alpha sum is above 0 and the colours are finite).
inline v8f ClampForEncoder8(v8f aV) {
    return v8f(_mm256_min_ps(_mm256_max_ps(__m256(aV), _mm256_set1_ps(kEncodeLow)), _mm256_set1_ps(kEncodeHigh)));
}

// EncodeSRGB8 on eight values; only the table look-up is per lane.
inline v8u EncodeSRGB8x8(const CEncoderEntries& aEntries, v8f aV) {
    const v8u bits = v8u(aV);
    return EncoderByte(bits, aEntries(EncoderSegment(bits)));
}

// DeMulSRGBFromSum on the sums of eight pixels, given as four pairs of neighbours; lane by
// lane the same operations in the same order. Writes aCount (at most eight) pixels.
__attribute__((always_inline)) inline void DeMulSRGB8(const CEncoderEntries& aEntries, const v8f* aPairs, float aInv,
                                                      TPixelChannel* aOut, uint32_t aCount) {
    // One channel per vector, pixels in the order 0 2 4 6 | 1 3 5 7.
    const __m256 t0 = _mm256_unpacklo_ps(__m256(aPairs[0]), __m256(aPairs[1]));
    const __m256 t1 = _mm256_unpackhi_ps(__m256(aPairs[0]), __m256(aPairs[1]));
    const __m256 t2 = _mm256_unpacklo_ps(__m256(aPairs[2]), __m256(aPairs[3]));
    const __m256 t3 = _mm256_unpackhi_ps(__m256(aPairs[2]), __m256(aPairs[3]));
    const v8f b = v8f(_mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0)));
    const v8f g = v8f(_mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2)));
    const v8f r = v8f(_mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0)));
    const v8f a = v8f(_mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2)));

    const v8i keep = a * aInv > Splat8(kHalfStep);
    const v8f u = 1.0f / a;
    auto colour = [&](v8f s) {
        // Dropped pixels still pass the encoder: give it a value it accepts.
        return EncodeSRGB8x8(aEntries, keep ? ClampForEncoder8(s * u) : Splat8(kEncodeLow));
    };
    const v8f alphaF = keep ? a * (aInv * 255.0f) + 0.5f : Splat8(0.0f);
    const v8u alpha = __builtin_convertvector(__builtin_convertvector(alphaF, v8i), v8u) & 255u;
    const v8u pixels = (colour(b) | colour(g) << 8 | colour(r) << 16 | alpha << 24) & v8u(keep);
    const __m256i ordered = _mm256_permutevar8x32_epi32(__m256i(pixels), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    if (aCount == 8)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(aOut), ordered);
    else
        std::memcpy(aOut, &ordered, aCount * sizeof(TPixelChannel));
}

// Column vectors of a chunk of the column pass, whose sums stay in registers.
constexpr uint32_t kChunkVectors = 4;

#if ZT_BLUR_PERMUTED_TABLES
using v16f = float __attribute__((vector_size(64)));
using v16i = int32_t __attribute__((vector_size(64)));
using v16u = uint32_t __attribute__((vector_size(64)));

// DeMulSRGB8 on the sums of sixteen pixels, four to a vector; lane by lane the same
// operations in the same order. Writes aCount (at most sixteen) pixels.
__attribute__((always_inline)) inline void DeMulSRGBChunk(const CEncoderEntries& aEntries, const vCols* aSums,
                                                          float aInv, TPixelChannel* aOut, uint32_t aCount) {
    // z[k], 128-bit lane L: pixel 4k + L.
    const __m512 z0 = __m512(aSums[0]), z1 = __m512(aSums[1]), z2 = __m512(aSums[2]), z3 = __m512(aSums[3]);
    const __m512 t0 = _mm512_unpacklo_ps(z0, z1), t1 = _mm512_unpackhi_ps(z0, z1);
    const __m512 t2 = _mm512_unpacklo_ps(z2, z3), t3 = _mm512_unpackhi_ps(z2, z3);
    // One channel per vector; lane 4L + m holds pixel L + 4m.
    const v16f b = v16f(_mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0)));
    const v16f g = v16f(_mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2)));
    const v16f r = v16f(_mm512_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0)));
    const v16f a = v16f(_mm512_shuffle_ps(t1, t3, _MM_SHUFFLE(3, 2, 3, 2)));

    const v16f low = v16f(_mm512_set1_ps(kEncodeLow)), high = v16f(_mm512_set1_ps(kEncodeHigh));
    const v16i keep = a * aInv > v16f(_mm512_set1_ps(kHalfStep));
    const v16f u = 1.0f / a;
    auto colour = [&](v16f s) {
        // Dropped pixels still pass the encoder: give it a value it accepts. The clamp as a
        // maximum and a minimum, as in ClampForEncoder8.
        const v16f v = keep ? v16f(_mm512_min_ps(_mm512_max_ps(__m512(s * u), __m512(low)), __m512(high))) : low;
        const v16u bits = v16u(v);
        return EncoderByte(bits, v16u(aEntries.Sixteen(__m512i(EncoderSegment(bits)))));
    };
    const v16f alphaF = keep ? a * (aInv * 255.0f) + 0.5f : v16f{};
    const v16u alpha = __builtin_convertvector(__builtin_convertvector(alphaF, v16i), v16u) & 255u;
    const v16u pixels = (colour(b) | colour(g) << 8 | colour(r) << 16 | alpha << 24) & v16u(keep);
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    _mm512_mask_storeu_epi32(aOut, __mmask16((1u << aCount) - 1), _mm512_permutexvar_epi32(order, __m512i(pixels)));
}
#else
__attribute__((always_inline)) inline void DeMulSRGBChunk(const CEncoderEntries& aEntries, const vCols* aSums,
                                                          float aInv, TPixelChannel* aOut, uint32_t aCount) {
    DeMulSRGB8(aEntries, aSums, aInv, aOut, aCount);
}
#endif

template <class Kernel>
class CStreamedBlur {
public:
    // aRows blurs the rows (length W), aColumns the columns (length H); the target holds
    // E = W + 2 x row radius columns and H + 2 x column radius rows, stride E.
    CStreamedBlur(const TSRGBFloatRecord* aTable, const TPixelChannel* aSource, uint32_t aSourceStride,
                  TPixelChannel* aTarget, const Kernel& aRows, const Kernel& aColumns)
        : table_(aTable),
          linear_(aTable),
          entries_(aTable),
          source_(aSource),
          sourceStride_(aSourceStride),
          target_(aTarget),
          rows_(aRows),
          columns_(aColumns),
          height_(aColumns.length),
          width_(uint64_t(aRows.length) + 2 * uint64_t(aRows.radius)),
          vectors_((width_ + kChunkPixels - 1) / kChunkPixels * kChunkVectors),
          reach_(2 * uint64_t(aColumns.radius)) {
        // Rows of the ring: a power of two of at least a band and the column reach, whose mask
        // finds a row's place; or all rows, which then keep their own index.
        uint64_t rows = kBand;
        while (rows < kBand + reach_) rows <<= 1;
        ringRows_ = std::min<uint64_t>(height_, rows);
        ringMask_ = ringRows_ == height_ ? ~uint64_t(0) : rows - 1;
    }

    // Runs on the pool when it has one, on this thread otherwise.
    HRESULT Run(IThreadPool* aPool) {
        if (height_ == 0 || rows_.length == 0) return S_OK;
        const uint32_t threads = PoolThreads(aPool);
        // Per share of the row pass: a group of rows in linear light, with room for the front
        // and the back colour on both sides.
        lineLength_ = uint64_t(rows_.length) + 4 * uint64_t(rows_.radius);
        ring_ = AllocateAligned<v4f>(ringRows_ * RingStride(), true);
        front_ = AllocateAligned<vCols>(vectors_);
        back_ = AllocateAligned<vCols>(vectors_);
        state_ = AllocateAligned<State>(vectors_);
        lines_ = AllocateAligned<v4f>(uint64_t(threads) * kRowGroup * lineLength_);
        spare_ = AllocateAligned<v4f>(uint64_t(threads) * RingStride());
        if (!ring_ || !front_ || !back_ || !state_ || !lines_ || !spare_) return E_OUTOFMEMORY;
        if (columns_.front) std::fill_n(front_.get(), vectors_, ColumnsOf(Load4(columns_.front)));
        if (columns_.back) std::fill_n(back_.get(), vectors_, ColumnsOf(Load4(columns_.back)));

        const uint64_t outputs = height_ + reach_;
        for (uint64_t i0 = 0; i0 < outputs; i0 += kBand) {
            const uint64_t i1 = std::min(i0 + kBand, outputs);
            if (i0 < height_) {
                // Rows [i0, end) of the image into the ring.
                const uint64_t end = std::min<uint64_t>(i1, height_);
                ParallelLines(
                    uint32_t(end - i0), aPool,
                    [&](uint32_t aFirst, uint32_t aEnd, uint32_t aShare) {
                        for (uint64_t y = i0 + aFirst; y < i0 + aEnd; y += kRowGroup)
                            Rows(y, uint32_t(std::min<uint64_t>(kRowGroup, i0 + aEnd - y)), aShare);
                        return S_OK;
                    },
                    threads);
            }
            // Outputs [i0, i1) of every column, a share of the column chunks each.
            ParallelLines(
                uint32_t(vectors_ / kChunkVectors), aPool,
                [&](uint32_t aFirst, uint32_t aEnd, uint32_t) {
                    for (uint32_t chunk = aFirst; chunk < aEnd; ++chunk)
                        Columns(uint64_t(chunk) * kChunkVectors, i0, i1);
                    return S_OK;
                },
                threads);
        }
        return S_OK;
    }

private:
    static constexpr uint64_t kBand = 32;     // rows blurred per band
    static constexpr uint32_t kRowGroup = 4;  // rows whose sums are walked side by side
    static constexpr uint64_t kChunkPixels = kChunkVectors * kPixelsPerVector;
    using State = typename Kernel::template State<vCols>;

    uint64_t RingStride() const { return vectors_ * kPixelsPerVector; }
    v4f* RingRow(uint64_t aRow) const { return ring_.get() + (aRow & ringMask_) * RingStride(); }

    // aCount rows from aFirst through the row kernel into the ring, their sums side by side,
    // kRowsPerVector to a vector. The rows are first read into linear light, interleaved
    // (pixel j of row g at j x kRowGroup + g), with 2R front colours before them and 2R back
    // colours behind them, so that output i takes x[i], x[i - R] and x[i - 2R] of all rows
    // in one load each. Rows missing from a whole group repeat the last and write to a spare.
    void Rows(uint64_t aFirst, uint32_t aCount, uint32_t aShare) const {
        const uint64_t n = rows_.length, R = rows_.radius, outputs = n + 2 * R;
        v4f* const x = lines_.get() + uint64_t(aShare) * kRowGroup * lineLength_;
        v4f* out[kRowGroup];
        alignas(64) v4f fronts[kRowGroup];
        for (uint32_t g = 0; g < kRowGroup; ++g) {
            const uint64_t row = aFirst + std::min(g, aCount - 1);
            v4f* const line = x + 2 * R * kRowGroup + g;
            linear_(source_ + row * sourceStride_, line, n, kRowGroup);
            const v4f front = rows_.front ? Load4(rows_.front) : line[0];
            const v4f back = rows_.back ? Load4(rows_.back) : line[(n - 1) * kRowGroup];
            for (uint64_t j = 0; j < 2 * R; ++j) {
                x[j * kRowGroup + g] = front;
                line[(n + j) * kRowGroup] = back;
            }
            out[g] = g < aCount ? RingRow(row) : spare_.get() + uint64_t(aShare) * RingStride();
            fronts[g] = front;
        }
        Walk(reinterpret_cast<const vRows*>(x), reinterpret_cast<const vRows*>(fronts), out, outputs);
        // The first and last row are also the columns' replicated ends.
        for (uint32_t g = 0; g < aCount; ++g) {
            if (aFirst + g == 0 && !columns_.front) ReadRow(0, front_.get());
            if (aFirst + g == height_ - 1 && !columns_.back) ReadRow(height_ - 1, back_.get());
        }
    }

    // The row walk of a group: its kVectors sums are independent chains that stay in registers.
    void Walk(const vRows* aX, const vRows* aFronts, v4f* const* aOut, uint64_t aOutputs) const {
        constexpr uint32_t kVectors = kRowGroup / kRowsPerVector;
        const uint64_t R = rows_.radius;
        const double scale = double(rows_.Inverse()) * 32768.0;
        typename Kernel::template State<vRows> st[kVectors];
        for (uint32_t v = 0; v < kVectors; ++v) st[v] = rows_.Init(aFronts[v]);
        for (uint64_t i = 0; i < aOutputs; ++i) {
            const vRows *enter = aX + (i + 2 * R) * kVectors, *middle = aX + (i + R) * kVectors,
                        *leave = aX + i * kVectors;
            for (uint32_t v = 0; v < kVectors; ++v)
                StoreRowsWideFloat(rows_.Step(st[v], enter[v], middle[v], leave[v]), scale, aOut + v * kRowsPerVector,
                                   i);
        }
    }

    void ReadRow(uint64_t aRow, vCols* aTo) const {
        const v4f* row = RingRow(aRow);
        for (uint64_t v = 0; v < vectors_; ++v) aTo[v] = LoadColumns(row + v * kPixelsPerVector);
    }

    // Column outputs [aFirst, aEnd) of the kChunkVectors column vectors from aVector on.
    void Columns(uint64_t aVector, uint64_t aFirst, uint64_t aEnd) const {
        const float inv = columns_.Inverse();
        const CEncoderEntries entries = entries_;  // held in registers through the loop
        const int64_t R = columns_.radius, H = int64_t(height_);
        // Every loop over the chunk is unrolled, so that the sums live in registers.
        State st[kChunkVectors];
#pragma GCC unroll 4
        for (uint32_t k = 0; k < kChunkVectors; ++k)
            st[k] = aFirst == 0 ? columns_.Init(front_[aVector + k]) : state_[aVector + k];
        // Pixels of the chunk that lie in the target: the last chunk may hang over.
        const uint64_t x0 = aVector * kPixelsPerVector;
        const uint32_t inside = uint32_t(std::min<uint64_t>(kChunkPixels, width_ - x0));

        for (uint64_t i = aFirst; i < aEnd; ++i) {
            // x[i] enters, x[i - R] passes the middle, x[i - 2R] leaves.
            const int64_t e = int64_t(i), m = e - R, o = e - 2 * R;
            vCols sums[kChunkVectors];
            if (o >= 0 && e < H) {
                const v4f *er = RingRow(uint64_t(e)) + x0, *mr = RingRow(uint64_t(m)) + x0,
                          *lr = RingRow(uint64_t(o)) + x0;
#pragma GCC unroll 4
                for (uint32_t k = 0; k < kChunkVectors; ++k) {
                    const uint64_t at = k * kPixelsPerVector;
                    sums[k] = columns_.Step(st[k], LoadColumns(er + at), LoadColumns(mr + at), LoadColumns(lr + at));
                }
            } else {
#pragma GCC unroll 4
                for (uint32_t k = 0; k < kChunkVectors; ++k)
                    sums[k] = columns_.Step(st[k], At(e, aVector + k), At(m, aVector + k), At(o, aVector + k));
            }
            DeMulSRGBChunk(entries, sums, inv, target_ + i * width_ + x0, inside);
        }
#pragma GCC unroll 4
        for (uint32_t k = 0; k < kChunkVectors; ++k) state_[aVector + k] = st[k];
    }

    // x[j] of the columns of a vector: the front before the first row, the back behind the last.
    vCols At(int64_t aRow, uint64_t aVector) const {
        if (aRow < 0) return front_[aVector];
        if (aRow >= int64_t(height_)) return back_[aVector];
        return LoadColumns(RingRow(uint64_t(aRow)) + aVector * kPixelsPerVector);
    }

    const TSRGBFloatRecord* table_;
    CLinearRow linear_;
    CEncoderEntries entries_;
    const TPixelChannel* source_;
    uint32_t sourceStride_;
    TPixelChannel* target_;
    Kernel rows_, columns_;
    uint64_t height_;   // H, the columns' length
    uint64_t width_;    // E, the target's width
    uint64_t vectors_;  // column vectors in a row of the ring, whole chunks
    uint64_t reach_;    // 2R of the columns
    uint64_t ringRows_ = 0, ringMask_ = 0, lineLength_ = 0;
    CAlignedArray<v4f> ring_;
    CAlignedArray<vCols> front_, back_;
    CAlignedArray<State> state_;
    CAlignedArray<v4f> lines_, spare_;
};

// ---------------------------------------------------------------- the recursive kernel

// PreMulLinearD with its two factors looked up already widened: the table entries and the
// alpha factor of every byte as doubles.
struct SLinearDoubles {
    double linear[256];
    double alpha[256];
    explicit SLinearDoubles(const TSRGBFloatRecord* aTable) {
        for (int i = 0; i < 256; ++i) {
            linear[i] = double(aTable->toLinear[i]);
            alpha[i] = double(float(i) * kInv255);
        }
    }
    v4df Read(TPixelChannel aPixel) const {
        const v4df c = {linear[aPixel.bB], linear[aPixel.bG], linear[aPixel.bR], 1.0};
        return c * alpha[aPixel.bA];
    }
};

// CWideSrc: the signed form to float, widened to double.
inline v4df FromWideSigned4(const TWidePixel* aPixel) {
    const __m128i w = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(aPixel));
    const __m128 f = _mm_mul_ps(_mm_cvtepi32_ps(_mm_cvtepi16_epi32(w)), _mm_set1_ps(kFromWideSigned));
    return v4df(_mm256_cvtps_pd(f));
}

// WideFromRecursive: cut towards zero, the low 16 bits kept.
inline void StoreWideFromRecursive(TWidePixel* aTo, v4df aY) {
    const __m128i q = _mm256_cvttpd_epi32(__m256d(aY * 16384.0));
    const __m128i low = _mm_shuffle_epi8(q, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1));
    _mm_storel_epi64(reinterpret_cast<__m128i*>(aTo), low);
}

// DeMulSRGBFromRecursive on eight values, lane by lane the same operations in the same
// order. Writes aCount (at most eight) pixels.
__attribute__((always_inline)) inline void DeMulSRGBRecursive8(const CEncoderEntries& aEntries, const v4df* aY,
                                                               TPixelChannel* aOut, uint32_t aCount) {
    // Colours in single precision, as pairs of neighbours, then one channel per vector with
    // the pixels in the order 0 2 4 6 | 1 3 5 7.
    v8f pairs[4];
    for (int k = 0; k < 4; ++k)
        pairs[k] = v8f(_mm256_set_m128(_mm256_cvtpd_ps(__m256d(aY[2 * k + 1])), _mm256_cvtpd_ps(__m256d(aY[2 * k]))));
    const __m256 t0 = _mm256_unpacklo_ps(__m256(pairs[0]), __m256(pairs[1]));
    const __m256 t1 = _mm256_unpackhi_ps(__m256(pairs[0]), __m256(pairs[1]));
    const __m256 t2 = _mm256_unpacklo_ps(__m256(pairs[2]), __m256(pairs[3]));
    const __m256 t3 = _mm256_unpackhi_ps(__m256(pairs[2]), __m256(pairs[3]));
    const v8f b = v8f(_mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0)));
    const v8f g = v8f(_mm256_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2)));
    const v8f r = v8f(_mm256_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0)));
    // Alpha stays in double precision: pixels 0 2 4 6 and 1 3 5 7.
    auto alphas = [&](int aFirst) {
        const __m256d lo = _mm256_unpackhi_pd(__m256d(aY[aFirst]), __m256d(aY[aFirst + 2]));
        const __m256d hi = _mm256_unpackhi_pd(__m256d(aY[aFirst + 4]), __m256d(aY[aFirst + 6]));
        return v4df(_mm256_permute2f128_pd(lo, hi, 0x31));
    };
    const v4df a0 = alphas(0), a1 = alphas(1);
    const v4df threshold = {kRecursiveCutOff, kRecursiveCutOff, kRecursiveCutOff, kRecursiveCutOff};
    const v4df one = {1.0, 1.0, 1.0, 1.0};
    auto keepOf = [&](v4df a) { return _mm256_cvtpd_ps(__m256d(a > threshold ? one : v4df{})); };
    const v8i keep = v8f(_mm256_set_m128(keepOf(a1), keepOf(a0))) > Splat8(0.0f);
    const v8f u = v8f(_mm256_set_m128(_mm256_cvtpd_ps(__m256d(1.0 / a1)), _mm256_cvtpd_ps(__m256d(1.0 / a0))));
    auto colour = [&](v8f y) { return EncodeSRGB8x8(aEntries, keep ? ClampForEncoder8(y * u) : Splat8(kEncodeLow)); };
    // Kept lanes have alpha above 0, so the cut is of a positive number.
    auto alphaByte = [&](v4df a) {
        const __m128i q = _mm256_cvttpd_epi32(__m256d((a > threshold ? a : v4df{}) * 255.0 + 0.5));
        return _mm_min_epi32(q, _mm_set1_epi32(255));
    };
    const v8u alpha = v8u(_mm256_set_m128i(alphaByte(a1), alphaByte(a0)));
    const v8u pixels = (colour(b) | colour(g) << 8 | colour(r) << 16 | alpha << 24) & v8u(keep);
    const __m256i ordered = _mm256_permutevar8x32_epi32(__m256i(pixels), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    if (aCount == 8)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(aOut), ordered);
    else
        std::memcpy(aOut, &ordered, aCount * sizeof(TPixelChannel));
}

#if ZT_BLUR_PERMUTED_TABLES
// A pixel of two lines of the recursive kernel, side by side; sixteen lines to a group.
using vLines = double __attribute__((vector_size(64)));
constexpr uint32_t kLinesPerVector = 2;
constexpr uint32_t kRecursiveLines = 16;
inline vLines LinesOf(const v4df* aPixels) {
    return vLines(_mm512_insertf64x4(_mm512_zextpd256_pd512(__m256d(aPixels[0])), __m256d(aPixels[1]), 1));
}

// StoreWideFromRecursive of eight neighbouring wide pixels, four to a vector.
inline void StoreWideBlockFromRecursive(TWidePixel* aTo, const v4df* aY) {
    const vLines* pairs = reinterpret_cast<const vLines*>(aY);
    const vLines scale = vLines(_mm512_set1_pd(16384.0));
    auto four = [&](int k) {  // the low 16 bits of each cut value
        const __m256i lo = _mm512_cvttpd_epi32(__m512d(pairs[2 * k] * scale));
        const __m256i hi = _mm512_cvttpd_epi32(__m512d(pairs[2 * k + 1] * scale));
        return _mm512_cvtepi32_epi16(_mm512_inserti64x4(_mm512_zextsi256_si512(lo), hi, 1));
    };
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(aTo), four(0));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(aTo + 4), four(1));
}

// DeMulSRGBFromRecursive on sixteen values, lane by lane the same operations in the same
// order. Writes aCount (at most sixteen) pixels.
__attribute__((always_inline)) inline void DeMulSRGBRecursiveGroup(const CEncoderEntries& aEntries, const v4df* aY,
                                                                   TPixelChannel* aOut, uint32_t aCount) {
    const vLines* pairs = reinterpret_cast<const vLines*>(aY);  // pixels 2k and 2k + 1
    // Colours in single precision, four pixels to a vector (z[k], 128-bit lane L: pixel
    // 4k + L), then one channel per vector, put back in pixel order.
    auto quad = [&](int k) {
        return _mm512_castpd_ps(
            _mm512_insertf64x4(_mm512_zextpd256_pd512(_mm256_castps_pd(_mm512_cvtpd_ps(__m512d(pairs[2 * k])))),
                               _mm256_castps_pd(_mm512_cvtpd_ps(__m512d(pairs[2 * k + 1]))), 1));
    };
    const __m512 z0 = quad(0), z1 = quad(1), z2 = quad(2), z3 = quad(3);
    const __m512 t0 = _mm512_unpacklo_ps(z0, z1), t1 = _mm512_unpackhi_ps(z0, z1);
    const __m512 t2 = _mm512_unpacklo_ps(z2, z3), t3 = _mm512_unpackhi_ps(z2, z3);
    const __m512i order = _mm512_setr_epi32(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15);
    auto plane = [&](__m512 aPositions) { return v16f(_mm512_permutexvar_ps(order, aPositions)); };
    const v16f b = plane(_mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(1, 0, 1, 0)));
    const v16f g = plane(_mm512_shuffle_ps(t0, t2, _MM_SHUFFLE(3, 2, 3, 2)));
    const v16f r = plane(_mm512_shuffle_ps(t1, t3, _MM_SHUFFLE(1, 0, 1, 0)));
    // Alpha stays in double precision: pixels 0 .. 7 and 8 .. 15 in order.
    auto alphas = [&](int aFirst) {
        const __m512i pick = _mm512_setr_epi64(3, 7, 11, 15, 3, 7, 11, 15);
        const __m512d lo = _mm512_permutex2var_pd(__m512d(pairs[aFirst]), pick, __m512d(pairs[aFirst + 1]));
        const __m512d hi = _mm512_permutex2var_pd(__m512d(pairs[aFirst + 2]), pick, __m512d(pairs[aFirst + 3]));
        return _mm512_mask_blend_pd(0xF0, lo, hi);
    };
    const __m512d a0 = alphas(0), a1 = alphas(4);
    const __m512d threshold = _mm512_set1_pd(kRecursiveCutOff);
    const __mmask8 keep0 = _mm512_cmp_pd_mask(a0, threshold, _CMP_GT_OQ);
    const __mmask8 keep1 = _mm512_cmp_pd_mask(a1, threshold, _CMP_GT_OQ);
    const __mmask16 keep = __mmask16(keep0 | unsigned(keep1) << 8);
    auto join = [](__m256 aLo, __m256 aHi) {
        return v16f(_mm512_castpd_ps(
            _mm512_insertf64x4(_mm512_zextpd256_pd512(_mm256_castps_pd(aLo)), _mm256_castps_pd(aHi), 1)));
    };
    const __m512d one = _mm512_set1_pd(1.0);
    const v16f u = join(_mm512_cvtpd_ps(_mm512_div_pd(one, a0)), _mm512_cvtpd_ps(_mm512_div_pd(one, a1)));
    const v16f low = v16f(_mm512_set1_ps(kEncodeLow)), high = v16f(_mm512_set1_ps(kEncodeHigh));
    auto colour = [&](v16f y) {
        const __m512 v = _mm512_mask_blend_ps(keep, __m512(low),
                                              _mm512_min_ps(_mm512_max_ps(__m512(y * u), __m512(low)), __m512(high)));
        const v16u bits = v16u(v);
        return EncoderByte(bits, v16u(aEntries.Sixteen(__m512i(EncoderSegment(bits)))));
    };
    // Kept lanes have alpha above 0, so the cut is of a positive number.
    auto alphaBytes = [&](__m512d a, __mmask8 k) {
        const __m512d scaled =
            _mm512_add_pd(_mm512_mul_pd(_mm512_maskz_mov_pd(k, a), _mm512_set1_pd(255.0)), _mm512_set1_pd(0.5));
        return _mm256_min_epi32(_mm512_cvttpd_epi32(scaled), _mm256_set1_epi32(255));
    };
    const v16u alpha =
        v16u(_mm512_inserti64x4(_mm512_zextsi256_si512(alphaBytes(a0, keep0)), alphaBytes(a1, keep1), 1));
    const v16u pixels = colour(b) | colour(g) << 8 | colour(r) << 16 | alpha << 24;
    _mm512_mask_storeu_epi32(aOut, __mmask16((1u << aCount) - 1), _mm512_maskz_mov_epi32(keep, __m512i(pixels)));
}
#else
// A pixel of one line of the recursive kernel; eight lines to a group.
using vLines = v4df;
constexpr uint32_t kLinesPerVector = 1;
constexpr uint32_t kRecursiveLines = 8;
inline vLines LinesOf(const v4df* aPixels) { return aPixels[0]; }

__attribute__((always_inline)) inline void DeMulSRGBRecursiveGroup(const CEncoderEntries& aEntries, const v4df* aY,
                                                                   TPixelChannel* aOut, uint32_t aCount) {
    DeMulSRGBRecursive8(aEntries, aY, aOut, aCount);
}
#endif

// G lines of the recursive kernel side by side: the forward and backward walk of
// CRecursiveBlur::LineGroup, kLinesPerVector lines to a vector. aRead(g, j) gives input j
// of line g, aWrite(j, y) takes output j of all G lines as G pixels; aW holds G x
// WorkLength() pixels, entry i of line g at i x G + g, which is also how the vectors lie.
template <uint32_t G, class Read, class Write>
void RecursiveWalk(const CRecursiveBlurRGBA& aKernel, const Read& aRead, const Write& aWrite, v4df* aW) {
    constexpr uint32_t V = G / kLinesPerVector;
    static_assert(V * kLinesPerVector == G);
    const uint32_t n = aKernel.length, R = aKernel.border, L = n + 3 * R, outCount = n + 2 * R;
    const double cB = aKernel.B, c1 = aKernel.b1, c2 = aKernel.b2, c3 = aKernel.b3;
    auto Step = [=](vLines c, vLines a1, vLines a2, vLines a3) { return cB * c + c1 * a1 + c2 * a2 + c3 * a3; };
    vLines* const w = reinterpret_cast<vLines*>(aW);
    auto W = [&](uint32_t i) { return w + size_t(i) * V; };
    const v4df front = {aKernel.front[0], aKernel.front[1], aKernel.front[2], aKernel.front[3]};
    const v4df back = {aKernel.back[0], aKernel.back[1], aKernel.back[2], aKernel.back[3]};
    // Input j of all lines, in vectors.
    auto read = [&](uint32_t j, vLines* aTo) {
        for (uint32_t v = 0; v < V; ++v) {
            v4df pixels[kLinesPerVector];
            for (uint32_t k = 0; k < kLinesPerVector; ++k) pixels[k] = aRead(v * kLinesPerVector + k, j);
            aTo[v] = LinesOf(pixels);
        }
    };
    auto fill = [&](v4df aColour, vLines* aTo) {
        v4df pixels[kLinesPerVector];
        std::fill_n(pixels, kLinesPerVector, aColour);
        std::fill_n(aTo, V, LinesOf(pixels));
    };

    vLines c[V], backColour[V];
    if (aKernel.replicateBack)
        read(n - 1, backColour);
    else
        fill(back, backColour);
    if (aKernel.replicateFront)
        read(0, c);
    else
        fill(front, c);
    uint32_t consumed = 0;
    // At R = 1 on a one-pixel line the walk asks for one pixel more than the line has: the
    // one behind it, the back colour.
    auto next = [&]() {
        if (consumed < n)
            read(consumed, c);
        else
            std::copy_n(backColour, V, c);
        ++consumed;
    };
    auto step = [&](uint32_t i) {
        vLines* to = W(i);
        const vLines *a1 = W(i - 1), *a2 = W(i - 2), *a3 = W(i - 3);
        for (uint32_t v = 0; v < V; ++v) to[v] = Step(c[v], a1[v], a2[v], a3[v]);
    };

    for (uint32_t v = 0; v < V; ++v) W(0)[v] = c[v] * cB + c[v] * c1 + c[v] * c2 + c[v] * c3;
    if (R < 2) next();
    for (uint32_t v = 0; v < V; ++v) W(1)[v] = Step(c[v], W(0)[v], W(0)[v], W(0)[v]);
    if (R < 3) next();
    for (uint32_t v = 0; v < V; ++v) W(2)[v] = Step(c[v], W(1)[v], W(0)[v], W(0)[v]);
    uint32_t i = 3;
    for (; i < R; ++i) step(i);
    for (i = std::max(3u, R); i < n + R - 1; ++i) {
        next();
        step(i);
    }
    read(n - 1, c);
    if (!aKernel.replicateBack) {
        step(i);
        ++i;
        std::copy_n(backColour, V, c);
    }
    for (; i < L; ++i) step(i);

    // Backward: y[j] = Step(w[j], y[j+1], y[j+2], y[j+3]) takes the place of w[j], which
    // nothing reads again; output j is y[j].
    for (uint32_t v = 0; v < V; ++v) {
        const vLines last = W(L - 1)[v];
        W(L - 1)[v] = last * cB + c1 * last + c2 * last + c3 * last;
        W(L - 2)[v] = Step(W(L - 2)[v], W(L - 1)[v], W(L - 1)[v], W(L - 1)[v]);
        W(L - 3)[v] = Step(W(L - 3)[v], W(L - 2)[v], W(L - 1)[v], W(L - 1)[v]);
    }
    auto write = [&](uint32_t j) { aWrite(j, reinterpret_cast<const v4df*>(W(j))); };
    if (R < 2) write(L - 2);
    if (R < 3) write(L - 3);
    for (int64_t j = int64_t(L) - 4; j >= 0; --j) {
        vLines* y = W(uint32_t(j));
        const vLines *y1 = W(uint32_t(j) + 1), *y2 = W(uint32_t(j) + 2), *y3 = W(uint32_t(j) + 3);
        for (uint32_t v = 0; v < V; ++v) y[v] = Step(y[v], y1[v], y2[v], y3[v]);
        if (j < int64_t(outCount)) write(uint32_t(j));
    }
}

// The two-axis Gaussian: rows into a wide intermediate, then its columns into the target,
// kRecursiveLines lines side by side in both passes. The recursive filter runs each line
// forward to its end before it can go back, so the intermediate is whole. It is stored in
// blocks of eight rows, the eight values of a column in one cache line: eight rows write one
// line per step, and eight columns read eight neighbouring lines every eight rows. Stored by
// rows, the column pass would wait on memory and on a page walk for every row.
class CRecursiveTwoAxisBlur {
public:
    CRecursiveTwoAxisBlur(const TSRGBFloatRecord* aTable, const TPixelChannel* aSource, uint32_t aSourceStride,
                          TPixelChannel* aTarget, const CRecursiveBlurRGBA& aRows, const CRecursiveBlurRGBA& aColumns)
        : table_(aTable),
          entries_(aTable),
          source_(aSource),
          sourceStride_(aSourceStride),
          target_(aTarget),
          rows_(aRows),
          columns_(aColumns),
          width_(uint64_t(aRows.length) + 2 * uint64_t(aRows.border)),
          doubles_(aTable) {}

    // aIntermediate holds RecursiveIntermediateLength() wide pixels.
    HRESULT Run(IThreadPool* aPool, TWidePixel* aIntermediate) {
        const uint32_t H = columns_.length;
        if (H == 0 || rows_.length == 0) return S_OK;
        wide_ = aIntermediate;
        const HRESULT hr = Pass(true, H, aPool);
        return FAILED(hr) ? hr : Pass(false, uint32_t(width_), aPool);
    }

private:
    static constexpr uint32_t kGroup = kRecursiveLines;

    // One pass, a share of its lines each; every share has its own work array.
    // The row pass shares out whole blocks of eight rows, so that its groups start on a block.
    HRESULT Pass(bool aRows, uint32_t aLines, IThreadPool* aPool) const {
        const uint32_t units = aRows ? (aLines + 7) / 8 : aLines;
        return ParallelLines(
            units, aPool,
            [&](uint32_t aFirst, uint32_t aEnd, uint32_t) -> HRESULT {
                if (aRows) aFirst = std::min(aFirst * 8, aLines), aEnd = std::min(aEnd * 8, aLines);
                if (aFirst >= aEnd) return S_OK;
                const CRecursiveBlurRGBA& kernel = aRows ? rows_ : columns_;
                const CAlignedArray<v4df> w = AllocateAligned<v4df>(kGroup * kernel.WorkLength());
                if (!w) return E_OUTOFMEMORY;
                for (uint32_t l = aFirst; l < aEnd; l += kGroup) {
                    if (aRows)
                        RowGroup(l, std::min(kGroup, aEnd - l), w.get());
                    else
                        ColumnGroup(l, std::min(kGroup, aEnd - l), w.get());
                }
                return S_OK;
            },
            PoolThreads(aPool));
    }

    // Where the intermediate holds column x of row y.
    TWidePixel* Wide(uint64_t aY, uint64_t aX) const { return wide_ + ((aY >> 3) * width_ + aX) * 8 + (aY & 7); }

    // Lines beyond aCount repeat the last one: they are computed and not written.
    void RowGroup(uint32_t aFirst, uint32_t aCount, v4df* aW) const {
        const TPixelChannel* in[kGroup];
        TWidePixel* out[kGroup];
        for (uint32_t g = 0; g < kGroup; ++g) {
            const uint64_t row = aFirst + std::min(g, aCount - 1);
            in[g] = source_ + row * sourceStride_;
            out[g] = Wide(row, 0);  // column x lies 8x entries on
        }
        RecursiveWalk<kGroup>(
            rows_, [&](uint32_t g, uint32_t j) { return doubles_.Read(in[g][j]); },
            [&](uint32_t j, const v4df* y) {
#if ZT_BLUR_PERMUTED_TABLES
                // A whole group from the start of a block fills a column of two blocks.
                if (aCount == kGroup && aFirst % 8 == 0) {
                    StoreWideBlockFromRecursive(out[0] + uint64_t(j) * 8, y);
                    StoreWideBlockFromRecursive(out[8] + uint64_t(j) * 8, y + 8);
                    return;
                }
#endif
                for (uint32_t g = 0; g < aCount; ++g) StoreWideFromRecursive(out[g] + uint64_t(j) * 8, y[g]);
            },
            aW);
    }

    void ColumnGroup(uint32_t aFirst, uint32_t aCount, v4df* aW) const {
        const uint32_t H = columns_.length;
        const CEncoderEntries entries = entries_;
        uint32_t column[kGroup];
        for (uint32_t g = 0; g < kGroup; ++g) column[g] = aFirst + std::min(g, aCount - 1);
        TPixelChannel* out = target_ + aFirst;
        RecursiveWalk<kGroup>(
            columns_,
            [&](uint32_t g, uint32_t j) {
                // Each block of eight rows is in pages of its own, which the hardware
                // prefetcher does not enter: ask for the lane's line two blocks ahead.
                if ((j & 7) == 0)
                    _mm_prefetch(reinterpret_cast<const char*>(Wide(std::min(j + 16, H - 1), column[g])), _MM_HINT_T0);
                return FromWideSigned4(Wide(j, column[g]));
            },
            [&](uint32_t j, const v4df* y)
                __attribute__((always_inline)) { DeMulSRGBRecursiveGroup(entries, y, out + j * width_, aCount); },
            aW);
    }

    const TSRGBFloatRecord* table_;
    CEncoderEntries entries_;
    const TPixelChannel* source_;
    uint32_t sourceStride_;
    TPixelChannel* target_;
    CRecursiveBlurRGBA rows_, columns_;
    uint64_t width_;  // E, of the intermediate and the target
    SLinearDoubles doubles_;
    TWidePixel* wide_ = nullptr;
};

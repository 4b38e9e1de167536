// The two-axis blur of the float kernels, streamed. The image is taken in bands of rows:
// the rows of a band are blurred into a ring of rows of the intermediate, then every column
// advances its running sums through the band. The ring holds only the rows the column window
// still reaches, so the intermediate stays in the cache, and the column pass runs along
// memory with two or four pixels to a vector and the sums of a chunk of columns held in
// registers.
//
// Every row and every column is still one line of the engine: its sums see the same values
// in the same order as in the two passes of BlurLines, so every result bit is theirs.
// Conversions work on eight or sixteen pixels at a time with the channels in separate
// vectors, which makes one table look-up serve many values and one division eight pixels.
//
// The code of both blurs is in blur_stream_wide.h, built twice: for AVX2, and for AVX-512 with
// byte permutes, where the tables are held in registers.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include "operations/blur/blur_kernels.h"
#include "pixel/parallel.h"

namespace zt {

using v8f = float __attribute__((vector_size(32)));
using v8i = int32_t __attribute__((vector_size(32)));
using v8u = uint32_t __attribute__((vector_size(32)));
using v4df = double __attribute__((vector_size(32)));

// Cleared, the two-axis blur takes the two passes of BlurLines on any processor: tests
// compare the two paths with it.
inline std::atomic<bool> gStreamedBlurAllowed{true};
// Cleared, the streamed blur takes its AVX2 form where AVX-512 is there too.
inline std::atomic<bool> gWideLookupsAllowed{true};

// Whether the two-axis blur runs streamed here. It is built for AVX2 only; elsewhere the two
// passes of BlurLines give the same pixels.
inline bool StreamedBlurAvailable() { return gStreamedBlurAllowed.load() && __builtin_cpu_supports("avx2"); }

// Whether the streamed blur can take its AVX-512 form, whose tables sit in registers.
inline bool WideLookupsAvailable() {
    return gWideLookupsAllowed.load() && __builtin_cpu_supports("avx2") && __builtin_cpu_supports("avx512f") &&
           __builtin_cpu_supports("avx512bw") && __builtin_cpu_supports("avx512vl") &&
           __builtin_cpu_supports("avx512vbmi");
}

// Heap arrays for the vector types. Outside AVX2 code the compiler gives a 32-byte vector an
// alignment of 16 only, so neither new nor the containers can be trusted to align them for
// the code that uses them; these are aligned to a cache line. The types are trivial.
struct SFreeAligned {
    void operator()(void* aBlock) const { std::free(aBlock); }
};
template <class T>
using CAlignedArray = std::unique_ptr<T[], SFreeAligned>;

template <class T>
CAlignedArray<T> AllocateAligned(uint64_t aCount, bool aZeroed = false) {
    static_assert(std::is_trivially_copyable_v<T>);
    if (aCount > (uint64_t(SIZE_MAX) - 64) / sizeof(T)) return nullptr;
    const size_t bytes = std::max<size_t>((aCount * sizeof(T) + 63) / 64 * 64, 64);
    void* block = std::aligned_alloc(64, bytes);
    if (block && aZeroed) std::memset(block, 0, bytes);
    return CAlignedArray<T>(static_cast<T*>(block));
}

// Wide pixels of the intermediate of the two-axis Gaussian: E columns of the rows, in whole
// blocks of eight rows.
inline uint64_t RecursiveIntermediateLength(const CRecursiveBlurRGBA& aRows, const CRecursiveBlurRGBA& aColumns) {
    return (uint64_t(aColumns.length) + 7) / 8 * 8 * (uint64_t(aRows.length) + 2 * uint64_t(aRows.border));
}

// The two-axis blurs of one vector form. Each form is built in a translation unit of its own
// for its target (blur_stream_avx2.cpp, blur_stream_avx512.cpp), so that none of its code
// can be inlined into code that runs on other processors; the operation calls through this
// table.
struct SStreamedBlurJob {
    const TSRGBFloatRecord* table;
    const TPixelChannel* source;
    uint32_t sourceStride;
    TPixelChannel* target;  // E = W + 2 x row reach columns, stride E
};
struct SStreamedBlurForm {
    HRESULT (*box)(const SStreamedBlurJob&, const CBoxBlurFloat&, const CBoxBlurFloat&, IThreadPool*);
    HRESULT(*fraction)
    (const SStreamedBlurJob&, const CFractionBoxBlurFloat&, const CFractionBoxBlurFloat&, IThreadPool*);
    HRESULT (*linear)(const SStreamedBlurJob&, const CLinearBlurFloat&, const CLinearBlurFloat&, IThreadPool*);
    // aIntermediate holds RecursiveIntermediateLength wide pixels.
    HRESULT(*recursive)
    (const SStreamedBlurJob&, const CRecursiveBlurRGBA&, const CRecursiveBlurRGBA&, IThreadPool*,
     TWidePixel* aIntermediate);
};
extern const SStreamedBlurForm kStreamedBlurAvx2, kStreamedBlurAvx512;

// The form for this processor: AVX-512 with byte permutes, else AVX2; null without AVX2 (or
// when the tests have cleared the flags above).
inline const SStreamedBlurForm* StreamedBlurForm() {
    if (!StreamedBlurAvailable()) return nullptr;
    return WideLookupsAvailable() ? &kStreamedBlurAvx512 : &kStreamedBlurAvx2;
}

// The finite kernels through a form, by their type.
inline HRESULT RunStreamed(const SStreamedBlurForm& aForm, const SStreamedBlurJob& aJob, const CBoxBlurFloat& aRows,
                           const CBoxBlurFloat& aColumns, IThreadPool* aPool) {
    return aForm.box(aJob, aRows, aColumns, aPool);
}
inline HRESULT RunStreamed(const SStreamedBlurForm& aForm, const SStreamedBlurJob& aJob,
                           const CFractionBoxBlurFloat& aRows, const CFractionBoxBlurFloat& aColumns,
                           IThreadPool* aPool) {
    return aForm.fraction(aJob, aRows, aColumns, aPool);
}
inline HRESULT RunStreamed(const SStreamedBlurForm& aForm, const SStreamedBlurJob& aJob, const CLinearBlurFloat& aRows,
                           const CLinearBlurFloat& aColumns, IThreadPool* aPool) {
    return aForm.linear(aJob, aRows, aColumns, aPool);
}

}  // namespace zt

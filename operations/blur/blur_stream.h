// The two-axis blur of the float kernels, streamed. The image is taken in bands of rows:
// the rows of a band are blurred into a ring of rows of the intermediate, then every column
// advances its running sums through the band. The ring holds only the rows the column window
// still reaches, so the intermediate stays in the cache, and the column pass runs along
// memory with two or four pixels to a vector and the sums of a chunk of columns held in
// registers.
//
// Every row and every column is still one line of the engine: its sums see the same values
// in the same order as in the two passes through CBlurTask, so every result bit is theirs.
// Conversions work on eight or sixteen pixels at a time with the channels in separate
// vectors, which makes one table look-up serve many values and one division eight pixels.
//
// The code of both blurs is in blur_stream_wide.h, compiled twice below: for AVX2, and for
// AVX-512 with byte permutes, where the tables are held in registers.
#pragma once

#include <algorithm>
#include <atomic>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>

#include <immintrin.h>

#include "operations/blur/blur_kernels.h"
#include "pixel/parallel.h"

namespace zt {

using v8f = float __attribute__((vector_size(32)));
using v8i = int32_t __attribute__((vector_size(32)));
using v8u = uint32_t __attribute__((vector_size(32)));

// Cleared, the two-axis blur takes the two passes through CBlurTask on any processor: tests
// compare the two paths with it.
inline std::atomic<bool> gStreamedBlurAllowed{true};
// Cleared, the streamed blur takes its AVX2 form where AVX-512 is there too.
inline std::atomic<bool> gWideLookupsAllowed{true};

// Whether the two-axis blur runs streamed here. It is built for AVX2 only; elsewhere the two
// passes through CBlurTask give the same pixels.
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

using v4df = double __attribute__((vector_size(32)));

// The target pragma does not define the macros of the instruction sets it turns on, so the
// body is told which form it is.
#pragma GCC push_options
#pragma GCC target("avx2")
#define ZT_BLUR_PERMUTED_TABLES 0
namespace avx2 {
#include "operations/blur/blur_stream_wide.h"
}  // namespace avx2
#undef ZT_BLUR_PERMUTED_TABLES
#pragma GCC pop_options

#pragma GCC push_options
#pragma GCC target("avx2,avx512f,avx512bw,avx512vl,avx512vbmi")
// g++ 12 takes the self-initialised placeholder of _mm256_undefined_pd, which the
// 256-bit halves of 512-bit registers go through, for an uninitialised value.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wmaybe-uninitialized"
#pragma GCC diagnostic ignored "-Wuninitialized"
#define ZT_BLUR_PERMUTED_TABLES 1
namespace avx512 {
#include "operations/blur/blur_stream_wide.h"
}  // namespace avx512
#undef ZT_BLUR_PERMUTED_TABLES
#pragma GCC diagnostic pop
#pragma GCC pop_options

}  // namespace zt

// The streamed two-axis blur built for AVX-512 with byte permutes: the code of blur_stream_wide.h in namespace
// avx512 under that target. Included by blur_stream_avx512.cpp, which publishes the form, and by
// the tests of its parts.
#pragma once

#include <immintrin.h>

#include "operations/blur/blur_stream.h"

namespace zt {

// The target pragma does not define the macros of the instruction sets it turns on, so the
// body is told which form it is.
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

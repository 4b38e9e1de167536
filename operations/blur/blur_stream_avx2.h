// The streamed two-axis blur built for AVX2: the code of blur_stream_wide.h in namespace
// avx2 under that target. Included by blur_stream_avx2.cpp, which publishes the form, and by
// the tests of its parts.
#pragma once

#include <immintrin.h>

#include "operations/blur/blur_stream.h"

namespace zt {

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

}  // namespace zt

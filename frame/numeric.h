// Conversions of configuration numbers that may hold anything a user typed.
#pragma once

#include <cstdint>

namespace zt {

// The truncation of a float to 32 bits, as a cast does within the range; beyond it the
// result is held at the ends of the range and NaN gives 0, where a cast would be undefined.
inline int32_t TruncateToInt32(float aValue) {
    if (!(aValue == aValue)) return 0;
    if (aValue >= 2147483648.0f) return INT32_MAX;
    if (aValue <= -2147483648.0f) return INT32_MIN;
    return static_cast<int32_t>(aValue);
}

}  // namespace zt

// The 16-bit table pair of the shape effects: sRGB bytes to 16-bit linear light (lin), and
// 16-bit linear light back to bytes by interpolating 256 encoded values (gam).
#pragma once

#include <cstdint>

namespace zt {

struct SLinearTables {
    uint16_t lin[256];
    // 256 encoded values and four guard words of 0xFF00: the lookup reads gam[j + 1] for
    // j up to 255.
    uint16_t gam[260];
};

// Fills both tables (pow in double, a few hundred calls: done once per run).
void MakeLinearTables(SLinearTables& aTables);

// A 16-bit linear value (0 .. 65535) back to an sRGB byte.
inline uint8_t LinearToByte(const SLinearTables& aTables, uint32_t aL) {
    const uint32_t j = aL >> 8;
    const int32_t f = int32_t(aL & 255);
    const int32_t g = aTables.gam[j];
    // Signed: between gam[255] = 65535 and the guard 0xFF00 the difference is negative.
    return static_cast<uint8_t>(((((int32_t(aTables.gam[j + 1]) - g) * f + 128) >> 8) + g) >> 8);
}

}  // namespace zt

#include "operations/shape/linear_tables.h"

#include <cmath>

namespace zt {

void MakeLinearTables(SLinearTables& aTables) {
    for (int v = 0; v < 256; ++v) {
        const double u = v / 255.0;
        const double linear = u <= 0.04045 ? u / 12.92 : std::pow((u + 0.055) / 1.055, 2.4);
        aTables.lin[v] = static_cast<uint16_t>(linear * 65535.0 + 0.5);
        const double encoded = u <= 0.0031308 ? u * 12.92 : std::pow(u, 0.41666666) * 1.055 - 0.055;
        aTables.gam[v] = static_cast<uint16_t>(encoded * 65535.0 + 0.5);
    }
    for (int v = 256; v < 260; ++v) aTables.gam[v] = 0xFF00;
}

}  // namespace zt

// Helpers of the shape effect and mask tests: pixels from 0xAARRGGBB words, and tables.
#pragma once

#include <vector>

#include "frame/host.h"
#include "operations/shape/linear_tables.h"

namespace shapetest {

inline TPixelChannel Px(uint32_t aValue) {
    TPixelChannel p;
    p.n = aValue;
    return p;
}

inline std::vector<TPixelChannel> Pixels(const std::vector<uint32_t>& aValues) {
    std::vector<TPixelChannel> p(aValues.size());
    for (size_t i = 0; i < aValues.size(); ++i) p[i].n = aValues[i];
    return p;
}

inline std::vector<uint32_t> Words(const std::vector<TPixelChannel>& aPixels) {
    std::vector<uint32_t> w(aPixels.size());
    for (size_t i = 0; i < aPixels.size(); ++i) w[i] = aPixels[i].n;
    return w;
}

inline const zt::SLinearTables& Tables() {
    static const zt::SLinearTables tables = [] {
        zt::SLinearTables t;
        zt::MakeLinearTables(t);
        return t;
    }();
    return tables;
}

}  // namespace shapetest

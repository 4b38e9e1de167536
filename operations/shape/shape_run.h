// What the shape effects share around their kernels: reaches, the work rectangle and the
// parts of their preview names.
#pragma once

#include <cmath>
#include <cstdint>
#include <string>

#include "frame/classes.h"
#include "frame/config.h"
#include "frame/text.h"

namespace zt {

// ceil(aValue) as a reach of at least 0; values past any canvas are held at 2^30 so that the
// work rectangle is refused as too large rather than overflowing.
inline int64_t ReachOf(float aValue) {
    if (!(aValue > 0.0f)) return 0;
    if (!(aValue < 1073741824.0f)) return int64_t(1) << 30;
    return static_cast<int64_t>(std::ceil(aValue));
}

// A rectangle in 64 bits: the content grown by reaches.
struct SWorkRect {
    int64_t x = 0, y = 0, w = 0, h = 0;
    bool Empty() const { return w <= 0 || h <= 0; }
    // TileGet counts pixels in 32 bits, and the rectangle must lie in the plane.
    bool Fits() const {
        return x >= INT32_MIN && y >= INT32_MIN && x + w <= INT32_MAX && y + h <= INT32_MAX &&
               uint64_t(w) * uint64_t(h) <= UINT32_MAX;
    }
    TImagePoint Origin() const { return {int32_t(x), int32_t(y)}; }
    TImageSize Size() const { return {uint32_t(w), uint32_t(h)}; }
};

// Moves one side of a rectangle by a reach, held inside the 32-bit plane.
inline int32_t MoveSide(int32_t aSide, int64_t aBy) {
    const int64_t v = int64_t(aSide) + aBy;
    return static_cast<int32_t>(v < INT32_MIN ? INT32_MIN : v > INT32_MAX ? INT32_MAX : v);
}

// The name of a colour 0xAABBGGRR from the host; null when there is none.
inline ComPtr<ILocalizedString> ShapeColorName(uint32_t aColor) {
    ComPtr<ILocalizedString> name;
    if (ComPtr<IColorNameProvider> names = HostCreate<IColorNameProvider>(CLSID_ColorNameProvider))
        names->ColorName(aColor, name.out());
    return name;
}

// A size rounded to one decimal ("3.5"): the integer part of size x 10 + 0.5, in tenths.
inline std::u16string OneDecimal(float aValue) {
    const double tenths = std::trunc(double(aValue) * 10.0 + 0.5);
    if (!(std::fabs(tenths) < 1.0e15)) return u"?";
    const int64_t t = static_cast<int64_t>(tenths);
    const int64_t whole = (t < 0 ? -t : t) / 10, tenth = (t < 0 ? -t : t) % 10;
    std::string text = (t < 0 ? "-" : "") + std::to_string(whole) + "." + std::to_string(tenth);
    return std::u16string(text.begin(), text.end());
}

// "%s, %ipx" with the host's name of the colour, or the size to one decimal without one.
inline ComPtr<ILocalizedString> ColourAndSize(uint32_t aOpaqueColor, float aSize) {
    if (ComPtr<ILocalizedString> colour = ShapeColorName(aOpaqueColor)) {
        const float rounded = aSize + 0.5f;
        const int32_t shown = rounded >= -2147483648.0f && rounded < 2147483648.0f ? int32_t(rounded) : 0;
        return Printf(MultiLanguage(u"%s, %ipx"), colour, shown);
    }
    return SimpleText(OneDecimal(aSize));
}

}  // namespace zt

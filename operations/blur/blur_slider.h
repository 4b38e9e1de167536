// The blur window's one slider, 0 .. 100, and what its positions mean for the radius, the
// angle of the radial blur and the amount of the zoom blur.
#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace zt {

// Radius 0.5 .. 250 on a logarithmic scale.
inline int32_t BlurRadiusToPosition(float aRadius) {
    const double r = std::clamp(double(aRadius), 0.5, 250.0);
    return int32_t(100.0 * std::log(2.0 * r) / std::log(500.0) + 0.5);
}
// Rounded to 0.01 up to 3 pixels, 0.1 up to 20, whole pixels above.
inline float BlurPositionToRadius(int32_t aPosition) {
    const double r = std::exp(std::log(500.0) * aPosition * 0.01) * 0.5;
    const double scale = r <= 3.0 ? 100.0 : r <= 20.0 ? 10.0 : 1.0;
    return float(std::trunc(r * scale + 0.5) / scale);
}

inline int32_t BlurAngleToPosition(float aAngle) {
    const float a = std::clamp(aAngle, 0.0f, 20.0f);
    return int32_t(a * 5.0f + 0.5f);
}
inline float BlurPositionToAngle(int32_t aPosition) { return float(aPosition) * 0.2f; }

inline int32_t BlurZoomToPosition(int32_t aZoom) { return std::min(aZoom, 100); }
inline int32_t BlurPositionToZoom(int32_t aPosition) { return aPosition; }

}  // namespace zt

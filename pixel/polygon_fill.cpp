#include "pixel/polygon_fill.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace zt {

namespace {

constexpr int64_t kSteps = 256;

// A position in 1/256 pixel, held far outside any canvas when it is not a number or huge.
int64_t Sub(double aValue) {
    const double v = aValue * kSteps;
    if (!(v > -4.0e12)) return -int64_t(4000000000000);
    if (v > 4.0e12) return int64_t(4000000000000);
    return std::llround(v);
}

struct SCrossing {
    int64_t x;
    int winding;
};

}  // namespace

void FillPolygon(const SPolygonPoint* aPoints, size_t aCount, uint32_t aWidth, uint32_t aHeight,
                 const TSpanCallback& aSpan) {
    if (aCount < 3 || aWidth == 0 || aHeight == 0) return;
    for (size_t i = 0; i < aCount; ++i)
        if (!std::isfinite(aPoints[i].x) || !std::isfinite(aPoints[i].y)) return;
    double top = aPoints[0].y, bottom = aPoints[0].y;
    for (size_t i = 1; i < aCount; ++i) {
        top = std::min(top, aPoints[i].y);
        bottom = std::max(bottom, aPoints[i].y);
    }
    if (!(bottom > 0.0) || !(top < double(aHeight))) return;
    const uint32_t firstRow = top > 0.0 ? uint32_t(top) : 0;
    const uint32_t endRow = bottom < double(aHeight) ? uint32_t(std::ceil(bottom)) : aHeight;
    const int64_t right = int64_t(aWidth) * kSteps;

    // Coverage of a row in 1/65536 pixel: partial ends directly, whole pixels by differences.
    std::vector<int64_t> cover(size_t(aWidth) + 1), whole(size_t(aWidth) + 1);
    std::vector<uint8_t> covers(aWidth);
    std::vector<SCrossing> crossings;
    for (uint32_t y = firstRow; y < endRow; ++y) {
        std::fill(cover.begin(), cover.end(), 0);
        std::fill(whole.begin(), whole.end(), 0);
        for (int64_t s = 0; s < kSteps; ++s) {
            const double sy = y + (double(s) + 0.5) / kSteps;
            crossings.clear();
            for (size_t i = 0; i < aCount; ++i) {
                const SPolygonPoint& a = aPoints[i];
                const SPolygonPoint& b = aPoints[(i + 1) % aCount];
                if (a.y == b.y) continue;
                const bool down = b.y > a.y;
                const double y0 = down ? a.y : b.y, y1 = down ? b.y : a.y;
                if (sy < y0 || sy >= y1) continue;
                const double x = a.x + (sy - a.y) * (b.x - a.x) / (b.y - a.y);
                crossings.push_back({Sub(x), down ? 1 : -1});
            }
            std::sort(crossings.begin(), crossings.end(),
                      [](const SCrossing& p, const SCrossing& q) { return p.x < q.x; });
            int winding = 0;
            for (size_t i = 0; i + 1 < crossings.size(); ++i) {
                winding += crossings[i].winding;
                if (winding == 0) continue;
                const int64_t from = std::clamp<int64_t>(crossings[i].x, 0, right);
                const int64_t to = std::clamp<int64_t>(crossings[i + 1].x, 0, right);
                if (from >= to) continue;
                const int64_t pf = from / kSteps, pt = to / kSteps;
                if (pf == pt) {
                    cover[size_t(pf)] += to - from;
                    continue;
                }
                cover[size_t(pf)] += kSteps - from % kSteps;
                whole[size_t(pf) + 1] += kSteps;
                whole[size_t(pt)] -= kSteps;
                cover[size_t(pt)] += to % kSteps;
            }
        }
        int64_t run = 0;
        for (uint32_t x = 0; x < aWidth; ++x) {
            run += whole[x];
            const int64_t c = (cover[x] + run) >> 8;
            covers[x] = uint8_t(std::min<int64_t>(c, 255));
        }
        for (uint32_t x = 0; x < aWidth;) {
            if (!covers[x]) {
                ++x;
                continue;
            }
            uint32_t end = x;
            while (end < aWidth && covers[end]) ++end;
            aSpan(y, x, end - x, covers.data() + x);
            x = end;
        }
    }
}

}  // namespace zt

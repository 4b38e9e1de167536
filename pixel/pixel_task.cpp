#include "pixel/pixel_task.h"

namespace zt {

HRESULT RectImageInspect(TImagePoint aContentOrigin, TImageSize aContentSize, const TPixelChannel* aPixels,
                         uint32_t aStride, const TPixelChannel* aDefault, TImagePoint aOrigin, TImageSize aSize,
                         IImageVisitor* aVisitor) {
    // 64-bit edges: a rectangle may reach the ends of the 32-bit plane.
    const int64_t rx0 = aOrigin.nX, ry0 = aOrigin.nY, rx1 = rx0 + aSize.nX, ry1 = ry0 + aSize.nY;
    const int64_t cx0 = aContentOrigin.nX, cy0 = aContentOrigin.nY;
    const int64_t cx1 = cx0 + aContentSize.nX, cy1 = cy0 + aContentSize.nY;
    const int64_t ix0 = std::max(rx0, cx0), iy0 = std::max(ry0, cy0);
    const int64_t ix1 = std::min(rx1, cx1), iy1 = std::min(ry1, cy1);

    TImageTile tiles[5];
    uint32_t count = 0;
    auto fill = [&](int64_t x0, int64_t y0, int64_t x1, int64_t y1) {
        tiles[count++] = {CHANNEL_COLOR, int32_t(x0), int32_t(y0), uint32_t(x1 - x0), uint32_t(y1 - y0), 0, 0, 1,
                          aDefault};
    };
    if (ix0 >= ix1 || iy0 >= iy1 || !aPixels) {
        fill(rx0, ry0, rx1, ry1);
    } else {
        if (ry0 < cy0) fill(rx0, ry0, rx1, iy0);
        if (rx0 < cx0) fill(rx0, iy0, ix0, iy1);
        const uint32_t w = uint32_t(ix1 - ix0), h = uint32_t(iy1 - iy0);
        tiles[count++] = {CHANNEL_COLOR,
                          int32_t(ix0),
                          int32_t(iy0),
                          w,
                          h,
                          1,
                          aStride,
                          w * h,
                          aPixels + (iy0 - cy0) * ptrdiff_t(aStride) + (ix0 - cx0)};
        if (rx1 > cx1) fill(ix1, iy0, rx1, iy1);
        if (ry1 > cy1) fill(rx0, iy1, rx1, ry1);
    }
    return aVisitor->Visit(count, tiles, nullptr);
}

}  // namespace zt

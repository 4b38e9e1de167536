// What the colour operations share beyond the pixel task: a runner over a locked image, and
// the host's name for a colour.
#pragma once

#include "frame/classes.h"
#include "frame/text.h"
#include "pixel/pixel_task.h"

namespace zt {

// Runs an Op over the content of a locked image into aDestination (content size, rows tight).
template <class Op>
void RunPixelOp(IDocumentRasterImage* aImage, const SContent& aContent, TPixelChannel* aDestination, const Op& aOp,
                bool aUsePool) {
    if (!aContent.size.nX || !aContent.size.nY) return;
    CLockedImageBuffer source(aImage);
    const TImagePoint end{aContent.origin.nX + int32_t(aContent.size.nX),
                          aContent.origin.nY + int32_t(aContent.size.nY)};
    CPixelLevelTask<Op> task(&source, ReadDefaultPixel(aImage), aContent.origin, end, aDestination, &aOp);
    RunShares(task, aContent.size.nY, PoolIf(aUsePool));
}

// The name of a colour 0xAABBGGRR (red lowest) from the host's naming service; null when
// the service is absent or knows no name near it.
inline ComPtr<ILocalizedString> HostColorName(uint32_t aColor) {
    ComPtr<ILocalizedString> name;
    if (ComPtr<IColorNameProvider> names = HostCreate<IColorNameProvider>(CLSID_ColorNameProvider))
        names->ColorName(aColor, name.out());
    return name;
}

}  // namespace zt

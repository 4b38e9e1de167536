// The blender's Compose: a rectangle of a destination document composed with a source
// document (tiled from the unclipped corner) or a fill colour by one of the 42 operators, read
// into two arrays and written back in one write.
#pragma once

#include "frame/automation.h"
#include "frame/host.h"

namespace zt {

// aSource and aFill as the script passed them (variants); aParameter is VT_ERROR when left out.
HRESULT ComposeRectangle(IDocument* aTarget, int32_t aX1, int32_t aY1, int32_t aX2, int32_t aY2,
                         const TVariant& aSource, int32_t aSourceX, int32_t aSourceY, const TVariant& aFill,
                         uint32_t aMode, const TVariant& aParameter);

}  // namespace zt

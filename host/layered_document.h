// The reference host's layered image: an ordered list of raster sub-documents.
#pragma once

#include <vector>

#include "frame/host_layers.h"

namespace zthost {

// A document with the layered image feature over the given layers (bottom first).
ComPtr<IDocument> CreateLayeredDocument(const std::vector<ComPtr<IDocument>>& aLayers);

}  // namespace zthost

// What the geometry operations ask of a layered image: its layers and their largest canvas.
#pragma once

#include <vector>

#include "frame/host_layers.h"
#include "frame/operation_base.h"

namespace zt {

// The sub-documents of all layers, in order; empty when there is no list.
std::vector<ComPtr<IDocument>> LayerDocuments(IDocumentLayeredImage* aLayers);

// The largest width and the largest height over the layers' raster images.
TImageSize MaxLayerCanvas(const std::vector<ComPtr<IDocument>>& aLayers);

// The layered image of a document, or null.
ComPtr<IDocumentLayeredImage> LayeredImageOf(IDocument* aDocument);

}  // namespace zt

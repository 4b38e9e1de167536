#include "operations/geometry/layers.h"

#include <algorithm>

namespace zt {

std::vector<ComPtr<IDocument>> LayerDocuments(IDocumentLayeredImage* aLayers) {
    std::vector<ComPtr<IDocument>> result;
    uint32_t count = 0;
    if (!aLayers || FAILED(aLayers->LayerCount(&count))) return result;
    for (uint32_t i = 0; i < count; ++i) {
        ComPtr<IDocument> layer;
        if (SUCCEEDED(aLayers->LayerDocumentGet(i, layer.out())) && layer) result.push_back(layer);
    }
    return result;
}

TImageSize MaxLayerCanvas(const std::vector<ComPtr<IDocument>>& aLayers) {
    TImageSize size{0, 0};
    for (const auto& layer : aLayers) {
        ComPtr<IDocumentRasterImage> image = RasterImageOf(layer);
        TImageSize canvas{0, 0};
        if (image && SUCCEEDED(image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr))) {
            size.nX = std::max(size.nX, canvas.nX);
            size.nY = std::max(size.nY, canvas.nY);
        }
    }
    return size;
}

ComPtr<IDocumentLayeredImage> LayeredImageOf(IDocument* aDocument) {
    ComPtr<IDocumentLayeredImage> layers;
    if (aDocument) aDocument->QueryFeatureInterface(IDocumentLayeredImage::iid, layers.out());
    return layers;
}

}  // namespace zt

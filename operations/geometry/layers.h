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

// S_OK for a raster image or a layered image.
inline HRESULT CanActivateOnImageOrLayers(IDocument* aDocument) {
    return Guard([&] { return RasterImageOf(aDocument) || LayeredImageOf(aDocument) ? S_OK : S_FALSE; });
}

// Runs aOne(layer, largest canvas) on every layer under one write lock of the document,
// stopping at the first failure. No layer with an area, or no lock, is E_FAIL.
template <class F>
HRESULT ForEveryLayer(IDocument* aDocument, IDocumentLayeredImage* aLayers, F&& aOne) {
    const std::vector<ComPtr<IDocument>> layers = LayerDocuments(aLayers);
    const TImageSize largest = MaxLayerCanvas(layers);
    if (uint64_t(largest.nX) * largest.nY == 0) return E_FAIL;
    CWriteBlock block(aDocument);
    if (FAILED(block.Begin())) return E_FAIL;
    for (const ComPtr<IDocument>& layer : layers) {
        const HRESULT hr = aOne(layer.get(), largest);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

}  // namespace zt

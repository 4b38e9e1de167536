// The layered image feature of a document: an ordered list of layers, each a raster
// sub-document. WriteLock and WriteUnlock of the layered document cover all its layers.
#pragma once

#include "frame/host.h"

struct IDocumentLayeredImage : IUnknown {
    ZT_IID("5b0e9c3a-7d41-4f28-a6e3-19c8b2d470f5");
    // Number of layers, bottom first.
    virtual HRESULT LayerCount(uint32_t* aCount) = 0;
    // The sub-document of layer aIndex; 0x81110003 past the last.
    virtual HRESULT LayerDocumentGet(uint32_t aIndex, IDocument** aLayer) = 0;
};

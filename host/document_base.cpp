// Document bases (containers that receive documents by DocumentCopy) and the factory of
// in-memory raster documents with a given content.
#include <map>
#include <mutex>
#include <new>
#include <string>
#include <vector>

#include "host/masks.h"
#include "host/object.h"
#include "host/registry.h"

namespace zthost {
namespace {

class DocumentBase : public IDocumentBase {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IDocumentBase>(this, aIID); }

    HRESULT DocumentGet(const char16_t* aID, IDocument** aDocument) override {
        if (!aDocument) return E_POINTER;
        *aDocument = nullptr;
        std::lock_guard lock(mutex_);
        auto found = documents_.find(aID ? std::u16string(aID) : std::u16string());
        if (found == documents_.end()) return E_HOST_ITEM_NOT_FOUND;
        *aDocument = ComPtr<IDocument>(found->second).detach();
        return S_OK;
    }

    HRESULT Insert(const char16_t* aID, IDocument* aDocument) {
        if (!aDocument) return E_POINTER;
        std::lock_guard lock(mutex_);
        try {
            documents_[aID ? std::u16string(aID) : std::u16string()] = aDocument;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

private:
    std::mutex mutex_;
    std::map<std::u16string, ComPtr<IDocument>> documents_;  // "" is the root
};

class RasterDocumentFactory : public IDocumentFactoryRasterImage {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IDocumentFactoryRasterImage>(this, aIID); }

    HRESULT Create(IDocumentBase* aBase, const char16_t* aID, const TImageSize* aCanvas,
                   const TImageResolution* aResolution, const TPixelChannel* aDefault,
                   const TImageTile* aContent) override {
        if (!aBase || !aCanvas) return E_POINTER;
        if (aCanvas->nX == 0 || aCanvas->nY == 0) return E_INVALIDARG;
        try {
            RasterImageInit init;
            init.canvas = *aCanvas;
            if (aResolution) init.resolution = *aResolution;
            if (aDefault) init.defaultPixel = *aDefault;
            std::vector<TPixelChannel> pixels;
            if (aContent && aContent->nSizeX && aContent->nSizeY) {
                if (!aContent->pData) return E_POINTER;
                const uint64_t w = aContent->nSizeX, h = aContent->nSizeY;
                // The tile must hold its rectangle at its strides.
                const uint64_t last = (w - 1) * aContent->nStrideX + (h - 1) * aContent->nStrideY;
                if (last >= aContent->nPixels) return E_INVALIDARG;
                pixels.resize(w * h);
                for (uint64_t y = 0; y < h; ++y)
                    for (uint64_t x = 0; x < w; ++x)
                        pixels[y * w + x] = aContent->pData[x * aContent->nStrideX + y * aContent->nStrideY];
                init.contentOrigin = {aContent->nX, aContent->nY};
                init.contentSize = {aContent->nSizeX, aContent->nSizeY};
                init.pixels = pixels.data();
            }
            ComPtr<IDocument> document = CreateRasterDocument(init);
            if (!document) return E_OUTOFMEMORY;
            return DocumentBaseInsert(aBase, aID, document);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }
};

StaticObject<RasterDocumentFactory> theFactory;

}  // namespace

HRESULT CreateDocumentBaseObject(const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    auto* base = new (std::nothrow) HeapObject<DocumentBase>();
    if (!base) return E_OUTOFMEMORY;
    HRESULT hr = base->QueryInterface(aIID, aOut);
    base->Release();
    return hr;
}

HRESULT CreateRasterDocumentFactory(const IID& aIID, void** aOut) { return theFactory.QueryInterface(aIID, aOut); }

ComPtr<IDocumentBase> CreateDocumentBase() {
    ComPtr<IDocumentBase> base;
    CreateDocumentBaseObject(IDocumentBase::iid, base.out());
    return base;
}

HRESULT DocumentBaseInsert(IDocumentBase* aBase, const char16_t* aID, IDocument* aDocument) {
    auto* base = dynamic_cast<DocumentBase*>(aBase);
    if (!base) return E_INVALIDARG;  // a base of another host
    return base->Insert(aID, aDocument);
}

}  // namespace zthost

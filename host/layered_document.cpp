// A layered image held in memory: layers are raster documents of their own; a write block on
// the layered document is a write block on every layer.
#include "host/layered_document.h"

#include <mutex>

#include "host/object.h"

namespace zthost {
namespace {

class LayeredDocument : public IDocument, public IDocumentLayeredImage {
public:
    explicit LayeredDocument(const std::vector<ComPtr<IDocument>>& aLayers) : layers_(aLayers) {}

    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocument, IBlockOperations, IDocumentLayeredImage>(this, aIID);
    }

    HRESULT WriteLock() override {
        std::lock_guard lock(mutex_);
        for (auto& layer : layers_) layer->WriteLock();
        ++writeLocks_;
        return S_OK;
    }
    HRESULT WriteUnlock() override {
        std::lock_guard lock(mutex_);
        if (writeLocks_ == 0) return E_UNEXPECTED;
        for (auto& layer : layers_) layer->WriteUnlock();
        --writeLocks_;
        return S_OK;
    }
    HRESULT QueryFeatureInterface(const IID& aIID, void** aFeature) override {
        if (!aFeature) return E_POINTER;
        *aFeature = nullptr;
        if (aIID != IDocumentLayeredImage::iid) return E_NOINTERFACE;
        return static_cast<IDocument*>(this)->QueryInterface(aIID, aFeature);
    }
    HRESULT DocumentCopy(const char16_t*, IDocumentBase*, const char16_t*, void*) override { return E_NOTIMPL; }

    HRESULT LayerCount(uint32_t* aCount) override {
        if (!aCount) return E_POINTER;
        *aCount = static_cast<uint32_t>(layers_.size());
        return S_OK;
    }
    HRESULT LayerDocumentGet(uint32_t aIndex, IDocument** aLayer) override {
        if (!aLayer) return E_POINTER;
        *aLayer = nullptr;
        if (aIndex >= layers_.size()) return E_HOST_INDEX_OUT_OF_RANGE;
        *aLayer = layers_[aIndex].get();
        (*aLayer)->AddRef();
        return S_OK;
    }

private:
    std::vector<ComPtr<IDocument>> layers_;
    std::mutex mutex_;
    uint32_t writeLocks_ = 0;
};

}  // namespace

ComPtr<IDocument> CreateLayeredDocument(const std::vector<ComPtr<IDocument>>& aLayers) {
    for (const auto& layer : aLayers)
        if (!layer) return {};
    ComPtr<IDocument> document;
    document.attach(static_cast<IDocument*>(new HeapObject<LayeredDocument>(aLayers)));
    return document;
}

}  // namespace zthost

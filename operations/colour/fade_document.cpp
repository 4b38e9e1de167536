#include "operations/colour/fade_document.h"

#include <memory>
#include <new>

#include "operations/colour/fade_kernels.h"

namespace zt {

ComPtr<IDocument> CFadeDocument::Create(IDocument* aDocument, IDocumentRasterImage* aImage, IGammaTableCache* aGamma,
                                        int32_t aStrength) {
    IDocument* wrapper = CComObject<CFadeDocument>::Create<IDocument>(aDocument, aImage, aGamma, aStrength);
    ComPtr<IDocument> result(wrapper);
    wrapper->Release();  // the ComPtr holds the one reference
    return result;
}

HRESULT CFadeDocument::QueryFeatureInterface(const IID& aIID, void** aFeature) {
    if (!aFeature) return E_POINTER;
    if (aIID == IDocumentRasterImage::iid || aIID == IDocumentEditableImage::iid || aIID == IDocumentImage::iid)
        return static_cast<IDocument*>(this)->QueryInterface(aIID, aFeature);
    return document_->QueryFeatureInterface(aIID, aFeature);
}

HRESULT CFadeDocument::DocumentCopy(const char16_t* aPrefix, IDocumentBase* aBase, const char16_t* aID,
                                    void* aReserved) {
    if (FAILED(document_->DocumentCopy(aPrefix, aBase, aID, aReserved))) return E_FAIL;
    // A wrapper of the same strength around the copy, let go at once: the copy itself is
    // an ordinary document and writes to it are not faded.
    try {
        ComPtr<IDocument> copy;
        if (aBase) aBase->DocumentGet(aID, copy.out());
        ComPtr<IDocumentRasterImage> copyImage;
        if (copy) copy->QueryFeatureInterface(IDocumentRasterImage::iid, copyImage.out());
        if (copyImage) Create(copy, copyImage, gamma_, strength_);
    } catch (const std::bad_alloc&) {
    }
    return S_OK;
}

HRESULT CFadeDocument::TileSet(uint32_t aChannelID, const TImagePoint* aOrigin, const TImageSize* aSize,
                               const TImageStride* aStride, uint32_t, const TPixelChannel* aPixels,
                               int32_t aKeepContent) {
    if (aChannelID != CHANNEL_COLOR) return E_HOST_INVALID_PARAM;
    TImageSize canvas{1, 1};
    image_->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);
    const TImageSize size = aSize ? *aSize : canvas;
    const uint64_t n = uint64_t(size.nX) * size.nY;
    if (n == 0) return S_FALSE;
    if (!aPixels || n > UINT32_MAX) return E_HOST_INVALID_PARAM;
    std::unique_ptr<TPixelChannel[]> buffer(new (std::nothrow) TPixelChannel[n]);
    if (!buffer) return E_OUTOFMEMORY;
    if (FAILED(
            image_->TileGet(CHANNEL_COLOR, aOrigin, &size, nullptr, uint32_t(n), buffer.get(), nullptr, ACCESS_MODE)))
        return E_FAIL;
    const ptrdiff_t xStep = aStride ? ptrdiff_t(aStride->nX) : 1;
    const ptrdiff_t rowRest = aStride ? ptrdiff_t(aStride->nY) - ptrdiff_t(aStride->nX) * ptrdiff_t(size.nX) : 0;
    const uint16_t* T = gamma_ ? gamma_->GetSRGBTable() : nullptr;
    if (!T) return E_FAIL;
    const TPixelChannel* p = aPixels;
    TPixelChannel* o = buffer.get();
    for (uint32_t y = 0; y < size.nY; ++y, p += rowRest)
        for (uint32_t x = 0; x < size.nX; ++x, p += xStep, ++o) *o = FadePixel(T, *o, *p, strength_);
    return image_->TileSet(CHANNEL_COLOR, aOrigin, &size, nullptr, uint32_t(n), buffer.get(), aKeepContent);
}

HRESULT CFadeDocument::BufferReplace(TImagePoint aAllocOrigin, TImageSize aAllocSize, const TImagePoint* aContentOrigin,
                                     const TImageSize* aContentSize, const uint64_t*, TPixelChannel* aPixels,
                                     ZTPixelDeleter aDeleter) {
    const TImageStride stride{1, aAllocSize.nX};
    TImagePoint origin = aAllocOrigin;
    TImageSize size = aAllocSize;
    const TPixelChannel* start = aPixels;
    HRESULT hr = S_OK;
    if (aContentOrigin && aContentSize) {
        origin = *aContentOrigin;
        size = *aContentSize;
        // A content rectangle that leaves the buffer would be read from outside it.
        const int64_t dx = int64_t(origin.nX) - aAllocOrigin.nX, dy = int64_t(origin.nY) - aAllocOrigin.nY;
        if (dx < 0 || dy < 0 || dx + size.nX > aAllocSize.nX || dy + size.nY > aAllocSize.nY)
            hr = E_HOST_INVALID_PARAM;
        else
            start = aPixels + (dy * int64_t(aAllocSize.nX) + dx);
    }
    if (SUCCEEDED(hr))
        hr = TileSet(CHANNEL_COLOR, &origin, &size, &stride, uint32_t(uint64_t(size.nX) * size.nY), start, 1);
    if (aDeleter && aPixels) aDeleter(aPixels);
    return hr;
}

}  // namespace zt

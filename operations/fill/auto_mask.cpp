#include "operations/fill/auto_mask.h"

#include <memory>
#include <new>
#include <vector>

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/text.h"
#include "operations/fill/mask_config.h"
#include "operations/fill/mask_mixer.h"
#include "operations/shape/shape_strings.h"

namespace zt {

namespace {

HRESULT Run(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
            ZTHWND aParentWindow, uint32_t aLanguage) {
    if (!aManager || !aDocument || !aConfig) return E_POINTER;
    const SNestedOperation inner = ReadInnerOperation(aConfig);
    auto direct = [&] {
        return aManager->Activate(aManager, aDocument, &inner.id.Raw(), inner.config, aContext, aParentWindow,
                                  aLanguage);
    };

    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    if (!image) return direct();
    TImageSize canvas{0, 0};
    if (FAILED(image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr))) return E_FAIL;

    ComPtr<ISharedStateImageMask> mask = ReadMaskState(aConfig, aContext);
    if (!mask) return direct();
    int32_t x = 0, y = 0;
    uint32_t w = 0, h = 0;
    if (FAILED(mask->GetBounds(&x, &y, &w, &h))) return direct();
    const bool rectangular = mask->IsRectangular() == S_OK;
    // A selection of the whole canvas limits nothing: no copy at all.
    if (rectangular && x <= 0 && y <= 0 && w >= canvas.nX && h >= canvas.nY) return direct();

    const size_t count = size_t(w) * h;
    std::unique_ptr<uint8_t[]> bytes;
    if (!rectangular && count) {
        bytes.reset(new uint8_t[count]);
        HRESULT hr = mask->GetMask(x, y, w, h, w, bytes.get());
        if (FAILED(hr)) return hr;
    }

    ComPtr<IDocumentBase> base = HostCreate<IDocumentBase>(CLSID_DocumentBase);
    if (!base) return E_FAIL;
    HRESULT hr = aDocument->DocumentCopy(nullptr, base, nullptr, nullptr);
    if (FAILED(hr)) return hr;
    ComPtr<IDocument> copy;
    hr = base->DocumentGet(nullptr, copy.out());
    if (FAILED(hr)) return hr;
    if (!copy) return E_FAIL;
    hr = aManager->Activate(aManager, copy, &inner.id.Raw(), inner.config, aContext, aParentWindow, aLanguage);
    if (FAILED(hr)) return hr;

    // One pixel at least: an empty rectangle still hands TileSet a buffer.
    std::vector<TPixelChannel> pixels(count ? count : 1);
    ComPtr<IDocumentRasterImage> copyImage;
    copy->QueryFeatureInterface(IDocumentRasterImage::iid, copyImage.out());
    if (!copyImage) return E_FAIL;
    const TImagePoint at{x, y};
    const TImageSize size{w, h};
    const TImageStride stride{1, w};
    if (bytes) {
        hr = image->TileGet(CHANNEL_COLOR, &at, &size, &stride, uint32_t(count), pixels.data(), nullptr, ACCESS_MODE);
        if (FAILED(hr)) return hr;
        CMaskMixer mixer(x, y, w, h, bytes.get(), pixels.data());
        hr = copyImage->Inspect(CHANNEL_COLOR, &at, &size, &mixer, nullptr, ACCESS_MODE);
    } else {
        hr = copyImage->TileGet(CHANNEL_COLOR, &at, &size, &stride, uint32_t(count), pixels.data(), nullptr,
                                ACCESS_MODE);
    }
    if (FAILED(hr)) return hr;
    return image->TileSet(CHANNEL_COLOR, &at, &size, &stride, uint32_t(count), pixels.data(), 1);
}

}  // namespace

HRESULT CDocumentOperationRasterImageAutoMask::CanActivate(IOperationManager* aManager, IDocument* aDocument,
                                                           IConfig* aConfig, IOperationContext* aContext) {
    if (!aDocument) return S_FALSE;
    if (!aConfig) return S_OK;
    return Guard([&] {
        if (!aManager) return E_POINTER;
        const SNestedOperation inner = ReadInnerOperation(aConfig);
        return aManager->CanActivate(aManager, aDocument, &inner.id.Raw(), inner.config, aContext);
    });
}

HRESULT CDocumentOperationRasterImageAutoMask::Activate(IOperationManager* aManager, IDocument* aDocument,
                                                        IConfig* aConfig, IOperationContext* aContext,
                                                        ZTHWND aParentWindow, uint32_t aLanguage) {
    return GuardRun([&] { return Run(aManager, aDocument, aConfig, aContext, aParentWindow, aLanguage); });
}

}  // namespace zt

#include "operations/fill/modify_mask.h"

#include <cstring>
#include <new>
#include <string>
#include <vector>

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/text.h"
#include "operations/fill/mask_config.h"
#include "operations/shape/shape_strings.h"

namespace zt {

// Mask bytes fetched into the last quarter of a pixel array become black pixels whose alpha
// is the byte, in place: pixel i is written after byte i is read, and its four bytes end
// before byte i + 1 starts, since 4i + 3 < 3n + i + 1 for every i < n.
void ExpandMaskInPlace(TPixelChannel* aPixels, size_t aCount) {
    const uint8_t* bytes = reinterpret_cast<const uint8_t*>(aPixels) + 3 * aCount;
    for (size_t i = 0; i < aCount; ++i) {
        const uint8_t alpha = bytes[i];
        TPixelChannel p;
        p.n = uint32_t(alpha) << 24;
        std::memcpy(aPixels + i, &p, sizeof p);
    }
}

// The reverse: byte i = alpha of pixel i, at the front of the same array.
uint8_t* CompressMaskInPlace(TPixelChannel* aPixels, size_t aCount) {
    uint8_t* bytes = reinterpret_cast<uint8_t*>(aPixels);
    for (size_t i = 0; i < aCount; ++i) {
        TPixelChannel p;
        std::memcpy(&p, aPixels + i, sizeof p);
        bytes[i] = p.bA;
    }
    return bytes;
}

namespace {

HRESULT Run(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
            ZTHWND aParentWindow, uint32_t aLanguage) {
    if (!aManager || !aDocument || !aConfig) return E_POINTER;
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    if (!image) return E_FAIL;
    TImageSize canvas{0, 0};
    if (FAILED(image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr))) return E_FAIL;

    std::u16string name;
    ComPtr<ISharedStateImageMask> mask = ReadMaskState(aConfig, aContext, &name);
    int32_t x = 0, y = 0;
    uint32_t w = 0, h = 0;
    if (mask && FAILED(mask->GetBounds(&x, &y, &w, &h))) w = h = 0;

    const SNestedOperation inner = ReadInnerOperation(aConfig);

    const size_t count = size_t(w) * h;
    std::vector<TPixelChannel> pixels;
    TImageTile tile{CHANNEL_COLOR, x, y, w, h, 1, w, uint32_t(count), nullptr};
    if (count) {
        if (count > UINT32_MAX) return E_OUTOFMEMORY;
        pixels.resize(count);
        uint8_t* quarter = reinterpret_cast<uint8_t*>(pixels.data()) + 3 * count;
        HRESULT hr = mask->GetMask(x, y, w, h, w, quarter);
        if (FAILED(hr)) return hr;
        ExpandMaskInPlace(pixels.data(), count);
        tile.pData = pixels.data();
    }

    ComPtr<IDocumentFactoryRasterImage> factory =
        HostCreate<IDocumentFactoryRasterImage>(CLSID_DocumentFactoryRasterImage);
    ComPtr<IDocumentBase> base = HostCreate<IDocumentBase>(CLSID_DocumentBase);
    if (!factory || !base) return E_FAIL;
    const TPixelChannel transparent{};
    ComPtr<IDocument> temporary;
    if (FAILED(factory->Create(base, nullptr, &canvas, nullptr, &transparent, count ? &tile : nullptr)) ||
        FAILED(base->DocumentGet(nullptr, temporary.out())) || !temporary)
        return E_FAIL;
    pixels.clear();
    pixels.shrink_to_fit();

    HRESULT hr =
        aManager->Activate(aManager, temporary, &inner.id.Raw(), inner.config, aContext, aParentWindow, aLanguage);
    if (FAILED(hr)) return hr;

    ComPtr<IDocumentRasterImage> result;
    temporary->QueryFeatureInterface(IDocumentRasterImage::iid, result.out());
    if (!result) return E_FAIL;
    TImagePoint origin{0, 0};
    TImageSize size{0, 0};
    if (FAILED(result->CanvasGet(nullptr, nullptr, &origin, &size, nullptr))) return E_FAIL;

    ComPtr<ISharedStateImageMask> state = HostCreate<ISharedStateImageMask>(CLSID_SharedStateImageMask);
    if (!state) return E_FAIL;
    const size_t area = size_t(size.nX) * size.nY;
    if (area) {
        if (area > UINT32_MAX) return E_OUTOFMEMORY;
        pixels.resize(area);
        const TImageStride stride{1, size.nX};
        hr = result->TileGet(CHANNEL_COLOR, &origin, &size, &stride, uint32_t(area), pixels.data(), nullptr,
                             ACCESS_MODE);
        if (FAILED(hr)) return hr;
        const uint8_t* bytes = CompressMaskInPlace(pixels.data(), area);
        hr = state->SetMask(origin.nX, origin.nY, size.nX, size.nY, size.nX, bytes);
    } else {
        hr = state->SetMask(0, 0, 0, 0, 0, nullptr);
    }
    if (FAILED(hr)) return hr;
    if (!aContext) return E_POINTER;
    CZTStr key(name);
    return aContext->StateSet(key, state);
}

}  // namespace

HRESULT CDocumentOperationRasterImageModifyMask::CanActivate(IOperationManager*, IDocument*, IConfig* aConfig,
                                                             IOperationContext* aContext) {
    if (!aConfig) return S_OK;
    return Guard([&] { return ReadMaskState(aConfig, aContext) ? S_OK : S_FALSE; });
}

HRESULT CDocumentOperationRasterImageModifyMask::Activate(IOperationManager* aManager, IDocument* aDocument,
                                                          IConfig* aConfig, IOperationContext* aContext,
                                                          ZTHWND aParentWindow, uint32_t aLanguage) {
    return GuardRun([&] { return Run(aManager, aDocument, aConfig, aContext, aParentWindow, aLanguage); });
}

}  // namespace zt

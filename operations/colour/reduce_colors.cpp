#include "operations/colour/reduce_colors.h"

#include <memory>
#include <new>

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/config.h"
#include "frame/host_quantizer.h"
#include "frame/image.h"
#include "frame/text.h"
#include "operations/colour/colour_strings.h"

namespace zt {

namespace {
const SConfigSchema& Schema() {
    static const SConfigSchema schema = {
        Simple(u"Colors", u"[0409]Colors[0405]Barvy",
               u"[0409]Maximum number of colors in the image.[0405]Největší počet barev v obrázku.", Long(100)),
        Simple(u"Dither", u"[0409]Dithering[0405]Rozptyl",
               u"[0409]Dithering method used when convering image to paletized format.[0405]Metoda rozptylu "
               u"použitá při převodu obrázku na paletový formát.",
               Bool(true)),
    };
    return schema;
}

// Counts a palette: the end of the furthest range it is told of.
class CEnumItemCounter final : public CStackUnknown<IEnum2UInts> {
public:
    HRESULT Consume(uint32_t aFirst, uint32_t aCount, const uint32_t*) override {
        if (uint64_t(aFirst) + aCount > count) count = uint32_t(std::min<uint64_t>(uint64_t(aFirst) + aCount, UINT32_MAX));
        return S_OK;
    }
    uint32_t count = 0;
};

// Fewer than 8 colours is no useful palette.
constexpr int32_t kLeastColors = 8;
}  // namespace

HRESULT CDocumentOperationRasterImageReduceColors::NameGet(IOperationManager*, ILocalizedString** aName) {
    return NameFromTable(IDS_NAME_REDUCECOLORS, aName);
}

HRESULT CDocumentOperationRasterImageReduceColors::ConfigCreate(IOperationManager* aManager, IConfig** aConfig) {
    return ConfigFromSchema(aManager, Schema(), aConfig);
}

HRESULT CDocumentOperationRasterImageReduceColors::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                               IOperationContext*) {
    return CanActivateOnRasterImage(aDocument);
}

HRESULT CDocumentOperationRasterImageReduceColors::Activate(IOperationManager*, IDocument* aDocument,
                                                            IConfig* aConfig, IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        const int32_t colors = ReadLong(aConfig, u"Colors");
        const uint32_t limit = uint32_t(colors < kLeastColors ? kLeastColors : colors);
        const bool dither = ReadBool(aConfig, u"Dither");
        ComPtr<IDocumentRasterImage> image;
        if (aDocument) aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        if (!image) return E_FAIL;
        const SContent content = ReadContent(image);

        ComPtr<IColorQuantizer> quantizer = HostCreate<IColorQuantizer>(CLSID_ColorQuantizer);
        if (!quantizer) return E_POINTER;  // the host has no quantiser: the next call has no object
        const TPixelChannel* palette = nullptr;
        HRESULT hr = quantizer->Init(limit, dither ? QUANTIZER_DITHER_DIFFUSION : QUANTIZER_DITHER_NONE, 0, 0,
                                     &palette);
        if (FAILED(hr)) return hr;
        image->Inspect(CHANNEL_COLOR, &content.origin, &content.size, quantizer, nullptr, ACCESS_MODE);
        CEnumItemCounter counter;
        quantizer->EnumeratePalette(&counter);
        if (counter.count < limit) return S_FALSE;  // fewer colours than allowed already
        const uint64_t count = uint64_t(content.size.nX) * content.size.nY;
        if (count == 0) return S_FALSE;

        std::unique_ptr<TPixelChannel[]> pixels(new TPixelChannel[count]);
        hr = image->TileGet(CHANNEL_COLOR, &content.origin, &content.size, nullptr, uint32_t(count), pixels.get(),
                            nullptr, ACCESS_MODE);
        if (FAILED(hr)) return hr;
        hr = quantizer->Process(&content.origin, &content.size, nullptr, uint32_t(count), pixels.get(), nullptr);
        if (FAILED(hr)) return hr;
        return image->TileSet(CHANNEL_COLOR, &content.origin, &content.size, nullptr, uint32_t(count), pixels.get(),
                              1);
    });
}

HRESULT CDocumentOperationRasterImageReduceColors::Name(IOperationManager*, IConfig* aConfig,
                                                        ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Reduce colors[0405]Snížit počet barev"), aName);
        const int32_t colors = ReadLong(aConfig, u"Colors");
        return HandOut(Printf(MultiLanguage(u"[0409]Reduce to %i colors[0405]Snížit na %i barev"), nullptr, colors),
                       aName);
    });
}

}  // namespace zt

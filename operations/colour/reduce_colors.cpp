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

struct SReduceColorsSettings {
    int32_t colors;
    bool dither;
};

namespace {
// Counts a palette: the end of the furthest range it is told of.
class CEnumItemCounter final : public CStackUnknown<IEnum2UInts> {
public:
    HRESULT Consume(uint32_t aFirst, uint32_t aCount, const uint32_t*) override {
        if (uint64_t(aFirst) + aCount > count)
            count = uint32_t(std::min<uint64_t>(uint64_t(aFirst) + aCount, UINT32_MAX));
        return S_OK;
    }
    uint32_t count = 0;
};

// Fewer than 8 colours is no useful palette.
constexpr int32_t kLeastColors = 8;
}  // namespace

const CSchema<SReduceColorsSettings>& CDocumentOperationRasterImageReduceColors::Schema() {
    using S = SReduceColorsSettings;
    static const CSchema<S> schema = {
        Simple(u"Colors", &S::colors, u"[0409]Colors[0405]Barvy",
               u"[0409]Maximum number of colors in the image.[0405]Největší počet barev v obrázku.", 100),
        Simple(u"Dither", &S::dither, u"[0409]Dithering[0405]Rozptyl",
               u"[0409]Dithering method used when convering image to paletized format.[0405]Metoda rozptylu "
               u"použitá při převodu obrázku na paletový formát.",
               true),
    };
    return schema;
}

HRESULT CDocumentOperationRasterImageReduceColors::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                            IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        const SReduceColorsSettings s = Schema().ReadSettings(aConfig);
        const uint32_t limit = uint32_t(s.colors < kLeastColors ? kLeastColors : s.colors);
        ComPtr<IDocumentRasterImage> image;
        if (aDocument) aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        if (!image) return E_FAIL;
        const SContent content = ReadContent(image);

        ComPtr<IColorQuantizer> quantizer = HostCreate<IColorQuantizer>(CLSID_ColorQuantizer);
        if (!quantizer) return E_POINTER;  // the host has no quantiser: the next call has no object
        const TPixelChannel* palette = nullptr;
        HRESULT hr =
            quantizer->Init(limit, s.dither ? QUANTIZER_DITHER_DIFFUSION : QUANTIZER_DITHER_NONE, 0, 0, &palette);
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
        return image->TileSet(CHANNEL_COLOR, &content.origin, &content.size, nullptr, uint32_t(count), pixels.get(), 1);
    });
}

HRESULT CDocumentOperationRasterImageReduceColors::Name(IOperationManager*, IConfig* aConfig,
                                                        ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Reduce colors[0405]Snížit počet barev"), aName);
        const int32_t colors = Schema().Read(aConfig, &SReduceColorsSettings::colors);
        return HandOut(Printf(MultiLanguage(u"[0409]Reduce to %i colors[0405]Snížit na %i barev"), nullptr, colors),
                       aName);
    });
}

}  // namespace zt

#include "operations/colour/background_blend.h"

#include <memory>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/colour/background_blend_kernels.h"
#include "operations/colour/colour_run.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SBackgroundBlendSettings {
    int32_t background, threshold;
};

namespace {
constexpr const char16_t* kSetBackground = u"[0409]Set background[0405]Nastavit pozadí";
}  // namespace

const CSchema<SBackgroundBlendSettings>& CDocumentOperationRasterImageBackgroundBlend::Schema() {
    using S = SBackgroundBlendSettings;
    static const CSchema<S> schema = {
        Simple(u"Background", &S::background, u"[0409]Background[0405]Pozadí",
               u"[0409]Typical background color for the image. Images will look best if used on similar "
               u"backgrounds.[0405]Typická barva pozadí obrázku. Obrázek bude vypadat nejlépe na podobném pozadí.",
               0xFFFFFF),
        Ranged(u"Threshold", &S::threshold, u"[0409]Alpha Threshold[0405]Práh průhlednosti",
               u"[0409]Pixels more transparent than the given value (0-255) will be deleted.[0405]Pixely průhlednější "
               u"než zadaná hodnota (0-255) budou smazány.",
               0, 0, 255, 1),
    };
    return schema;
}

HRESULT CDocumentOperationRasterImageBackgroundBlend::Activate(IOperationManager*, IDocument* aDocument,
                                                               IConfig* aConfig, IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentRasterImage> image;
        if (aDocument) aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        if (!image) return E_FAIL;
        const SBackgroundBlendSettings settings = Schema().ReadSettings(aConfig);
        const int32_t threshold = settings.threshold, background = settings.background;
        const SContent content = ReadContent(image);
        ComPtr<IGammaTableCache> cache = HostCreate<IGammaTableCache>(CLSID_GammaTableCache);
        const uint16_t* T = cache ? cache->GetSRGBTable() : nullptr;
        const CBackgroundBlendOp op = MakeBackgroundBlendOp(T, background, threshold);

        if (threshold == 0) {
            // Nothing stays transparent, so the area outside the content becomes the
            // background too; this change stands even if the run fails below.
            const uint32_t channel = CHANNEL_COLOR;
            const TPixelChannel opaque = BackgroundPixel(background);
            image->ChannelsSet(1, &channel, &opaque);
        }
        const uint64_t count = uint64_t(content.size.nX) * content.size.nY;
        if (count == 0) return S_FALSE;
        // The module's own buffer: the result goes back by TileSet, not handed over.
        std::unique_ptr<TPixelChannel[]> pixels(new TPixelChannel[count]);
        RunPixelOp(image.get(), content, pixels.get(), op, PoolForPixels(content.size.nX, content.size.nY));
        return image->TileSet(CHANNEL_COLOR, &content.origin, &content.size, nullptr, uint32_t(count), pixels.get(), 0);
    });
}

HRESULT CDocumentOperationRasterImageBackgroundBlend::AdjustDirtyRect(IConfig* aConfig, const TImageSize*,
                                                                      TRasterImageRect* aRect) {
    return Guard([&] {
        if (!aConfig || !aRect) return S_OK;
        if (Schema().Read(aConfig, &SBackgroundBlendSettings::threshold) == 0) *aRect = RECT_WHOLE_PLANE;
        return S_OK;
    });
}

HRESULT CDocumentOperationRasterImageBackgroundBlend::Name(IOperationManager*, IConfig* aConfig,
                                                           ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kSetBackground), aName);
        const uint32_t background =
            static_cast<uint32_t>(Schema().Read(aConfig, &SBackgroundBlendSettings::background));
        if (ComPtr<ILocalizedString> colorName = HostColorName(0xFF000000u | background))
            return HandOut(Printf(MultiLanguage(u"[0409]Set %s background[0405]Nastavit pozadí %s"), colorName), aName);
        return HandOut(MultiLanguage(kSetBackground), aName);
    });
}

}  // namespace zt

#include "operations/colour/colorize.h"

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/colour/colorize_kernels.h"
#include "operations/colour/colour_run.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SColorizeSettings {
    int32_t mode;
    float hue, saturation;
};

namespace {
constexpr const char16_t* kColorize = u"[0409]Colorize[0405]Obarvit";
}  // namespace

const CSchema<SColorizeSettings>& CDocumentOperationRasterImageColorize::Schema() {
    using S = SColorizeSettings;
    static const CSchema<S> schema = {
        PickOne(
            u"Mode", &S::mode, u"[0409]Mode[0405]Režim", nullptr, 0,
            {{0, "replace", u"[0409]Replace hue and saturation[0405]Nahradit odstín a sytost"},
             {1, "keep-saturation", u"[0409]Replace hue, preserve saturation[0405]Nahradit odstín, zachovat sytost"}}),
        Simple(u"Hue", &S::hue, u"[0409]Hue[0405]Odstín",
               u"[0409]Hue of the colorized image.[0405]Odstín obarveného obrázku.", 0.0f),
        Simple(u"Saturation", &S::saturation, u"[0409]Saturation[0405]Sytost",
               u"[0409]Saturation of the colorized image.[0405]Sytost obarveného obrázku.", 1.0f),
    };
    return schema;
}

HRESULT CDocumentOperationRasterImageColorize::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                        IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        if (!aDocument) return E_POINTER;
        ComPtr<IDocumentRasterImage> image;
        aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        if (!image) return E_NOINTERFACE;
        const SContent content = ReadContent(image);
        const TPixelChannel sourceDefault = ReadDefaultPixel(image);

        const SColorizeSettings settings = Schema().ReadSettings(aConfig);
        uint32_t table[256];
        BuildColorizeTable(settings.hue, ColorizeSaturation(settings.saturation), table);
        // The default pixel takes the plain table colour in both modes, so the area outside
        // the content matches a transparent pixel inside it.
        const TPixelChannel newDefault = ColorizePixel(table, sourceDefault);

        CAutoPixelBuffer buffer(image, content.size);
        const bool pool = PoolForPixels(content.size.nX, content.size.nY);
        std::atomic<uint64_t> alphaTotal{0};
        if (settings.mode == 1)
            RunPixelOp(image, content, buffer.Data(), CColorizeKeepSatOp{table, &alphaTotal}, pool);
        else
            RunPixelOp(image, content, buffer.Data(), CColorizeOp{table, &alphaTotal}, pool);
        const uint64_t total = alphaTotal.load();
        return buffer.Replace(content.origin, newDefault, &total);
    });
}

HRESULT CDocumentOperationRasterImageColorize::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kColorize), aName);
        const float saturation = Schema().Read(aConfig, &SColorizeSettings::saturation);
        if (saturation == 0.0f) return HandOut(MultiLanguage(u"[0409]Desaturate[0405]Odbarvit"), aName);
        const float hue = Schema().Read(aConfig, &SColorizeSettings::hue);
        const SRGBf rgb = HLSToRGB(hue, 0.5f, saturation);
        const uint32_t color = 0xFF000000u | uint32_t(FloatToSRGB8(rgb.b)) << 16 | uint32_t(FloatToSRGB8(rgb.g)) << 8 |
                               FloatToSRGB8(rgb.r);
        if (ComPtr<ILocalizedString> colorName = HostColorName(color))
            return HandOut(Printf(MultiLanguage(u"[0409]Colorize - %s[0405]Obarvit - %s"), colorName), aName);
        return HandOut(MultiLanguage(kColorize), aName);
    });
}

}  // namespace zt

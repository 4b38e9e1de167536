#include "operations/colour/color_transformations.h"

#include <algorithm>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/colour/color_transformations_kernels.h"
#include "operations/colour/colour_run.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SColorTransformationsSettings {
    int32_t brightness, contrast;
    float gamma;
    int32_t saturation;
};

namespace {

// A percentage of the name, computed wide so that settings far outside their ranges cannot
// overflow, and held within 32 bits.
int32_t Shown(int64_t aValue) { return int32_t(std::clamp<int64_t>(aValue, INT32_MIN, INT32_MAX)); }

bool Near(int32_t aValue) { return aValue >= 96 && aValue <= 104; }
}  // namespace

const CSchema<SColorTransformationsSettings>& CDocumentOperationRasterImageColorTransformations::Schema() {
    using S = SColorTransformationsSettings;
    static const CSchema<S> schema = {
        Ranged(u"Brightness", &S::brightness, u"[0409]Brightness[0405]Jas",
               u"[0409]Brightness influences the luminance of the entire image by adding the given value to every "
               u"pixel.[0405]Jas ovlivňuje světlost celého obrázku přičtením zadané hodnoty ke každému pixelu.",
               0, -255, 255, 1),
        Ranged(u"Contrast", &S::contrast, u"[0409]Contrast[0405]Kontrast",
               u"[0409]Contrast controls the difference between darker and lighter areas of the image.[0405]Kontrast "
               u"určuje rozdíl mezi tmavšími a světlejšími oblastmi obrázku.",
               100, 0, 200, 1),
        Simple(u"Gamma", &S::gamma, u"[0409]Gamma[0405]Gama",
               u"[0409]Apply gamma-correction to compensate for non-linear display properties.[0405]Použije korekci "
               u"gama k vyrovnání nelineárních vlastností zobrazovacího zařízení.",
               1.0f),
        Ranged(u"Saturation", &S::saturation, u"[0409]Saturation[0405]Sytost",
               u"[0409]Saturation controls how intense are the colors. Lower the value to make the image more "
               u"black-and-white and vice versa.[0405]Sytost určuje, jak výrazné jsou barvy. Nižší hodnota přibližuje "
               u"obrázek černobílému a vyšší naopak.",
               100, 0, 200, 1),
    };
    return schema;
}

HRESULT CDocumentOperationRasterImageColorTransformations::Activate(IOperationManager*, IDocument* aDocument,
                                                                    IConfig* aConfig, IOperationContext*, ZTHWND,
                                                                    uint32_t) {
    return Guard([&]() -> HRESULT {
        if (!aDocument) return E_POINTER;
        ComPtr<IDocumentRasterImage> image;
        aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        if (!image) return E_NOINTERFACE;
        const SContent content = ReadContent(image);
        const TPixelChannel sourceDefault = ReadDefaultPixel(image);
        const auto [brightness, contrast, gamma, saturation] = Schema().ReadSettings(aConfig);

        CAutoPixelBuffer buffer(image, content.size);
        const bool pool = PoolForAdjustments(content.size.nX, content.size.nY);
        if (saturation != 100) {
            int32_t table[256];
            BuildColorTransformationsLinearTable(brightness, contrast, gamma, table);
            const SSaturationWeights w = SaturationWeights(saturation);
            ComPtr<IGammaTableCache> cache = HostCreate<IGammaTableCache>(CLSID_GammaTableCache);
            const uint16_t* T = cache ? cache->GetSRGBTable() : nullptr;
            if (!T) return E_UNEXPECTED;
            const CColorTransformWithSaturationOp op{table, w.w[0], w.w[1], w.w[2], w.w[3], w.w[4], w.w[5], T};
            RunPixelOp(image, content, buffer.Data(), op, pool);
        } else {
            uint8_t table[256];
            BuildColorTransformationsByteTable(brightness, contrast, gamma, table);
            RunPixelOp(image, content, buffer.Data(), CColorTransformOp{table}, pool);
        }
        // Colours outside the content stay as they are.
        return buffer.Replace(content.origin, sourceDefault, nullptr);
    });
}

HRESULT CDocumentOperationRasterImageColorTransformations::Name(IOperationManager*, IConfig* aConfig,
                                                                ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        const auto exposure = [&] {
            return HandOut(MultiLanguage(u"[0409]Adjust exposure[0405]Upravit expozici"), aName);
        };
        if (!aConfig) return exposure();
        const auto [B, C, G, S] = Schema().ReadSettings(aConfig);
        const auto numbered = [&](bool aLess, const char16_t* aLessText, const char16_t* aMoreText, int32_t aNumber) {
            return HandOut(Printf(SimpleText(aLess ? u"%s (%i%%)" : u"%s (+%i%%)"),
                                  MultiLanguage(aLess ? aLessText : aMoreText), aNumber),
                           aName);
        };

        if ((B < -40 || B > 40) && Near(C) && G > 0.95f && G < 1.05f && Near(S))
            return numbered(B < 1, u"[0409]Decrease brightness[0405]Snížit jas",
                            u"[0409]Increase brightness[0405]Zvýšit jas", Shown((int64_t(B) * 100 + 127) / 255));
        if (B <= -10 || B >= 10) return exposure();
        const bool plainGamma = double(G) >= 0.99 && double(G) <= 1.01;
        if (B == 0 && C == 100 && plainGamma && S == 100)
            return HandOut(MultiLanguage(u"[0409]No adjustment[0405]Bez úprav"), aName);
        if (!(B == 0 && C == 100)) {
            if ((C < 90 || C > 110) && G > 0.85f && G < 1.15f && Near(S))
                return numbered(C < 101, u"[0409]Decrease contrast[0405]Snížit kontrast",
                                u"[0409]Increase contrast[0405]Zvýšit kontrast", Shown(int64_t(C) - 100));
            if (!Near(C)) return exposure();
        }
        if ((G < 0.7f || G > 1.3f) && Near(S))
            return HandOut(MultiLanguage(u"[0409]Adjust gamma[0405]Upravit gamu"), aName);
        if (Near(C) && G > 0.95f && G < 1.05f && (S < 90 || S > 110))
            return numbered(S < 101, u"[0409]Desaturate[0405]Odbarvit", u"[0409]Increase saturation[0405]Zvýšit sytost",
                            Shown(int64_t(S) - 100));
        return exposure();
    });
}

}  // namespace zt

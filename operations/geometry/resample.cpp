#include "operations/geometry/resample.h"

#include <array>
#include <cstdio>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/geometry/geometry_strings.h"
#include "operations/geometry/layers.h"
#include "operations/geometry/transformers.h"

namespace zt {

namespace {
constexpr const char16_t* kRescale = u"[0409]Rescale image[0405]Změnit velikost obrázku";

struct SModeText {
    int32_t mode;
    const char* nickname;
    const char16_t* label;
};
constexpr SModeText kModes[] = {
    {0, "relative", u"[0409]Relative size[0405]Relativní velikost"},
    {2, "width", u"[0409]Width[0405]Šířka"},
    {3, "height", u"[0409]Height[0405]Výška"},
    {4, "longer", u"[0409]Longer side[0405]Delší strana"},
    {5, "shorter", u"[0409]Shorter side[0405]Kratší strana"},
    {10, "both", u"[0409]Both sides[0405]Obě strany"},
    {11, "frame", u"[0409]Maximum frame[0405]Maximální rámeček"},
    {13, "crop", u"[0409]Crop canvas[0405]Oříznout plátno"},
    {14, "extend", u"[0409]Extend canvas[0405]Rozšířit plátno"},
};

}  // namespace

struct SResampleSettings {
    int32_t mode;
    float sizeRel;
    int32_t size, sizeX, sizeY, method, resolutionMode;
    float resolution;
};

const CSchema<SResampleSettings>& CDocumentOperationRasterImageResample::Schema() {
    using S = SResampleSettings;
    static const CSchema<S> schema = [] {
        std::vector<SOption<int32_t>> modes;
        for (const auto& m : kModes) modes.push_back({m.mode, m.nickname, m.label});
        return CSchema<S>{
            PickOne(u"Mode", &S::mode, u"[0409]Resize by setting[0405]Změnit velikost nastavením",
                    u"[0409]Method specifying the target size.[0405]Způsob určení cílové velikosti.", 0,
                    std::move(modes)),
            Simple(u"SizeRel", &S::sizeRel, u"[0409]Realtive size[0405]Relativní velikost",
                   u"[0409]Target size is percentage of the original image size.[0405]Cílová velikost v procentech "
                   u"původní velikosti obrázku.",
                   50.0f, {{u"Mode", ECOCEqual, Long(0)}}),
            Simple(u"Size", &S::size, u"[0409]Size[0405]Velikost",
                   u"[0409]Size of the selected image dimension in pixels.[0405]Velikost zvoleného rozměru obrázku "
                   u"v pixelech.",
                   256, {{u"Mode", ECOCGreaterEqual, Long(2)}, {u"Mode", ECOCLessEqual, Long(5)}}),
            Simple(u"SizeX", &S::sizeX, u"[0409]Width[0405]Šířka",
                   u"[0409]Width of the resized image in pixels[0405]Šířka obrázku po změně velikosti v pixelech", 256,
                   {{u"Mode", ECOCGreaterEqual, Long(10)}, {u"Mode", ECOCLessEqual, Long(14)}}),
            Simple(u"SizeY", &S::sizeY, u"[0409]Height[0405]Výška",
                   u"[0409]Height of the resized image in pixels[0405]Výška obrázku po změně velikosti v pixelech", 256,
                   {{u"Mode", ECOCGreaterEqual, Long(10)}, {u"Mode", ECOCLessEqual, Long(14)}}),
            PickOne(u"Method", &S::method, u"[0409]Method[0405]Metoda",
                    u"[0409]Method used to zoom pixels in or out.[0405]Metoda použitá ke zvětšení nebo zmenšení "
                    u"pixelů.",
                    1,
                    {{0, "nearest", u"[0409]Nearest pixel[0405]Nejbližší pixel"},
                     {1, "linear", u"[0409]Linear interpolation[0405]Lineární interpolace"},
                     {2, "cubic", u"[0409]Cubic interpolation[0405]Kubická interpolace"}}),
            PickOne(u"ResolutionMode", &S::resolutionMode, u"[0409]Resolution[0405]Rozlišení",
                    u"[0409]Resolution relates number of pixels to physical dimensions of an image. Select how "
                    u"resolution is adjusted during pixel resampling.[0405]Rozlišení vztahuje počet pixelů "
                    u"k fyzickým rozměrům obrázku. Zvolte, jak se rozlišení upraví při převzorkování.",
                    1,
                    {{0, "recompute", u"[0409]Recompute[0405]Přepočítat"},
                     {1, "keep", u"[0409]Keep original[0405]Zachovat původní"},
                     {2, "set", u"[0409]Set to[0405]Nastavit na"}}),
            Simple(u"Resolution", &S::resolution, u"[0409]Resolution[0405]Rozlišení",
                   u"[0409]Resolution in pixels per inch (DPI) units.[0405]Rozlišení v pixelech na palec (DPI).",
                   100.0f, {{u"ResolutionMode", ECOCEqual, Long(2)}}),
        };
    }();
    return schema;
}

namespace {

using CResample = CDocumentOperationRasterImageResample;

// Truncation of v + 0.5 into an unsigned size; what is not a number or negative becomes 0.
uint32_t Round(float aValue) {
    const float v = aValue + 0.5f;
    if (!(v >= 0.0f)) return 0;
    if (v >= 4294967040.0f) return 4294967040u;
    return static_cast<uint32_t>(v);
}

HRESULT ResampleOne(IDocument* aDocument, IConfig* aConfig) {
    ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
    if (!image) return E_FAIL;
    TImageSize canvas{0, 0};
    TImageResolution resolution{100, 254, 100, 254};
    HRESULT hr = image->CanvasGet(&canvas, &resolution, nullptr, nullptr, nullptr);
    if (FAILED(hr)) return hr;
    // Each mode reads the items it uses and no others.
    using S = SResampleSettings;
    const CSchema<S>& schema = CResample::Schema();
    const int32_t mode = schema.Read(aConfig, &S::mode);
    S r{};
    if (mode == 0) r = schema.ReadSettings(aConfig, &S::sizeRel);
    if (mode >= 2 && mode <= 5) r = schema.ReadSettings(aConfig, &S::size);
    if (mode == 10 || mode == 11 || mode == 13 || mode == 14) r = schema.ReadSettings(aConfig, &S::sizeX, &S::sizeY);
    const SResampleSizes s = ResampleSizes(canvas.nX, canvas.nY, mode, r.sizeRel, r.size, r.sizeX, r.sizeY);
    const int32_t resolutionMode = schema.Read(aConfig, &S::resolutionMode);
    const float dpi = resolutionMode == 2 ? schema.Read(aConfig, &S::resolution) : 0.0f;
    const TImageResolution newResolution = ResampleResolution(resolution, resolutionMode, canvas.nX, s.newW, dpi);
    const bool resolutionChanged = newResolution.nNumeratorX != resolution.nNumeratorX ||
                                   newResolution.nDenominatorX != resolution.nDenominatorX ||
                                   newResolution.nNumeratorY != resolution.nNumeratorY ||
                                   newResolution.nDenominatorY != resolution.nDenominatorY;
    const TImageResolution* resolutionArg = resolutionChanged ? &newResolution : nullptr;

    if (s.newW == canvas.nX && s.newH == canvas.nY && s.canvasW == canvas.nX && s.canvasH == canvas.nY) {
        if (!resolutionChanged) return S_OK;
        return image->CanvasSet(nullptr, &newResolution, nullptr, nullptr);
    }
    const int32_t method = schema.Read(aConfig, &S::method);
    TMatrix3x3f matrix = {{static_cast<float>(double(s.newW) / canvas.nX), 0, 0, 0,
                           static_cast<float>(double(s.newH) / canvas.nY), 0,
                           static_cast<float>((double(s.canvasW) - double(s.newW)) * 0.5),
                           static_cast<float>((double(s.canvasH) - double(s.newH)) * 0.5), 1.0f}};
    const TImageSize newCanvas{s.canvasW, s.canvasH};
    if (method == 0) {
        CResamplingHelperNearest helper;
        return image->CanvasSet(&newCanvas, resolutionArg, &matrix, &helper);
    }
    CResamplingHelperCoverage helper(canvas, {s.newW, s.newH}, method == 2);
    return image->CanvasSet(&newCanvas, resolutionArg, &matrix, &helper);
}
}  // namespace

SResampleSizes ResampleSizes(uint32_t aW, uint32_t aH, int32_t aMode, float aSizeRel, int32_t aSize, int32_t aSizeX,
                             int32_t aSizeY) {
    SResampleSizes r;
    const uint32_t size = static_cast<uint32_t>(aSize), sx = static_cast<uint32_t>(aSizeX),
                   sy = static_cast<uint32_t>(aSizeY);
    auto widthPath = [&] {
        r.newW = r.canvasW = size;
        r.newH = r.canvasH = Round(float(size * aH) / float(aW));
    };
    auto heightPath = [&] {
        r.newH = r.canvasH = size;
        r.newW = r.canvasW = Round(float(size * aW) / float(aH));
    };
    switch (aMode) {
        case 0:
            r.newW = r.canvasW = Round(float(aW) * aSizeRel * 0.01f);
            r.newH = r.canvasH = Round(float(aH) * aSizeRel * 0.01f);
            break;
        case 2: widthPath(); break;
        case 3: heightPath(); break;
        case 4: aW < aH ? heightPath() : widthPath(); break;
        case 5: aW > aH ? heightPath() : widthPath(); break;
        case 10:
            r.newW = r.canvasW = sx;
            r.newH = r.canvasH = sy;
            break;
        case 11:
            if (aH * sx < sy * aW) {
                r.newW = r.canvasW = sx;
                r.newH = r.canvasH = Round(float(aH * sx) / float(aW));
            } else {
                r.newH = r.canvasH = sy;
                r.newW = r.canvasW = Round(float(sy * aW) / float(aH));
            }
            break;
        case 13:
        case 14: {
            r.canvasW = sx;
            r.canvasH = sy;
            const bool byHeight = aMode == 13 ? aH * sx <= sy * aW : aH * sx >= sy * aW;
            if (byHeight) {
                r.newH = sy;
                r.newW = Round(float(sy * aW) / float(aH));
            } else {
                r.newW = sx;
                r.newH = Round(float(aH * sx) / float(aW));
            }
            break;
        }
        default: break;
    }
    for (uint32_t* v : {&r.newW, &r.newH, &r.canvasW, &r.canvasH})
        if (*v < 1) *v = 1;
    return r;
}

TImageResolution ResampleResolution(TImageResolution aOld, int32_t aMode, uint32_t aW, uint32_t aNewW, float aDPI) {
    TImageResolution r = aOld;
    if (aMode == 0) {
        // The width's ratio serves both axes.
        const double v = double(aOld.nNumeratorX) * aNewW / aW;
        r.nNumeratorX = r.nNumeratorY = v >= 0 && v < 4294967296.0 ? static_cast<uint32_t>(v) : 0;
    } else if (aMode == 2) {
        const float v = aDPI + 0.5f;
        r.nNumeratorX = r.nNumeratorY = v >= 0 && v < 4294967040.0f ? static_cast<uint32_t>(v) : 0;
        r.nDenominatorX = r.nDenominatorY = 254;
    }
    return r;
}

HRESULT CDocumentOperationRasterImageResample::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                           IOperationContext*) {
    return CanActivateOnImageOrLayers(aDocument);
}

HRESULT CDocumentOperationRasterImageResample::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                        IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentLayeredImage> layered = LayeredImageOf(aDocument);
        if (!layered) return ResampleOne(aDocument, aConfig);
        return ForEveryLayer(aDocument, layered,
                             [&](IDocument* aLayer, const TImageSize&) { return ResampleOne(aLayer, aConfig); });
    });
}

HRESULT CDocumentOperationRasterImageResample::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kRescale), aName);
        using S = SResampleSettings;
        const int32_t mode = Schema().Read(aConfig, &S::mode);
        const char16_t* label = nullptr;
        for (const auto& m : kModes)
            if (m.mode == mode) label = m.label;
        ComPtr<ILocalizedString> value;
        if (mode == 0) {
            char buffer[64];
            std::snprintf(buffer, sizeof(buffer), "%g%%", double(Schema().Read(aConfig, &S::sizeRel)));
            value = SimpleText(std::u16string(buffer, buffer + std::char_traits<char>::length(buffer)));
        } else {
            ComPtr<ILocalizedString> number;
            if (mode >= 2 && mode <= 5) {
                number = Printf(SimpleText(u"%i"), nullptr, Schema().Read(aConfig, &S::size));
            } else {
                const S both = Schema().ReadSettings(aConfig, &S::sizeX, &S::sizeY);
                const std::u16string text = FormatText(
                    u"%ix%i", std::array{SFormatArg{false, {}, both.sizeX}, SFormatArg{false, {}, both.sizeY}}.data(),
                    2);
                number = SimpleText(text);
            }
            value = Printf(SimpleText(u"%s%s"), number, SimpleText(u"px"));
        }
        if (!label) return HandOut(value, aName);
        return HandOut(Printf(SimpleText(u"%s - %s"), MultiLanguage(label), value), aName);
    });
}

}  // namespace zt

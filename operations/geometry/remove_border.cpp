#include "operations/geometry/remove_border.h"

#include <algorithm>
#include <cmath>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/geometry/geometry_strings.h"
#include "operations/geometry/layers.h"

namespace zt {

namespace {
constexpr const char16_t* kAlignHelp =
    u"[0409]How to place the image on the canvas.[0405]Jak umístit obrázek na plátno.";
constexpr const char16_t* kSquare = u"[0409]Square[0405]Čtverec";

}  // namespace

struct SRemoveBorderSettings {
    float relSize, alignX, alignY;
    bool square;
};

const CSchema<SRemoveBorderSettings>& CDocumentOperationRasterImageRemoveBorder::Schema() {
    using S = SRemoveBorderSettings;
    static const CSchema<S> schema = {
        Ranged(u"RelSize", &S::relSize, u"[0409]Relative size[0405]Relativní velikost",
               u"[0409]Target size of the object. If less than 100%, borders will be preserved or added.[0405]Cílová "
               u"velikost objektu. Je-li menší než 100 %, okraje se zachovají nebo přidají.",
               100.0f, 10.0f, 100.0f, 1.0f),
        Ranged(u"AlignX", &S::alignX, u"[0409]Horizontal alignment[0405]Vodorovné zarovnání", kAlignHelp, 0.0f, -1.0f,
               1.0f, 0.0f),
        Ranged(u"AlignY", &S::alignY, u"[0409]Vertical alignment[0405]Svislé zarovnání", kAlignHelp, 0.0f, -1.0f, 1.0f,
               0.0f),
        Simple(u"Square", &S::square, kSquare,
               u"[0409]If enabled, the output image will always have square proportions.[0405]Je-li zapnuto, "
               u"výsledný obrázek bude mít vždy čtvercové proporce.",
               false),
    };
    return schema;
}

namespace {

using SSettings = SRemoveBorderSettings;

uint32_t ToSize(float aValue) {
    if (!(aValue >= 0.0f)) return 0;
    if (aValue >= 4294967040.0f) return 4294967040u;
    return static_cast<uint32_t>(aValue);
}
int32_t ToInt(float aValue) {
    if (!(aValue > -2147483648.0f)) return INT32_MIN;
    if (aValue >= 2147483647.0f) return INT32_MAX;
    return static_cast<int32_t>(aValue);
}

HRESULT Layered(IDocument* aDocument, IDocumentLayeredImage* aLayers, const SSettings& s) {
    const std::vector<ComPtr<IDocument>> layers = LayerDocuments(aLayers);
    if (layers.empty()) return S_FALSE;
    const TImageSize most = MaxLayerCanvas(layers);
    if (uint64_t(most.nX) * most.nY == 0) return E_FAIL;
    CWriteBlock block(aDocument);
    if (FAILED(block.Begin())) return E_FAIL;
    int32_t left = INT32_MAX, top = INT32_MAX, right = INT32_MIN, bottom = INT32_MIN;
    for (const auto& layer : layers) {
        ComPtr<IDocumentRasterImage> image = RasterImageOf(layer);
        if (!image) continue;
        TImageSize canvas{0, 0}, size{0, 0};
        TImagePoint origin{0, 0};
        if (FAILED(image->CanvasGet(&canvas, nullptr, &origin, &size, nullptr))) return E_FAIL;
        // Layers line up at their canvas centres.
        const int32_t x = origin.nX - int32_t(canvas.nX >> 1), y = origin.nY - int32_t(canvas.nY >> 1);
        left = std::min(left, x);
        top = std::min(top, y);
        right = std::max(right, int32_t(x + size.nX));
        bottom = std::max(bottom, int32_t(y + size.nY));
    }
    if (right <= left) right = left + 1;
    if (bottom <= top) bottom = top + 1;
    const int32_t x0 = left + int32_t(most.nX >> 1), y0 = top + int32_t(most.nY >> 1);
    const SBorderFit fit =
        FitBorder(x0, y0, uint32_t(right - left), uint32_t(bottom - top), s.relSize, s.alignX, s.alignY, s.square);
    if (fit.width == most.nX && fit.height == most.nY && fit.tx == 0 && fit.ty == 0) return S_OK;
    const TImageSize size{fit.width, fit.height};
    const TMatrix3x3f matrix = {{1, 0, 0, 0, 1, 0, float(fit.tx), float(fit.ty), 1}};
    for (const auto& layer : layers) {
        ComPtr<IDocumentRasterImage> image = RasterImageOf(layer);
        if (!image) continue;
        HRESULT hr = image->CanvasSet(&size, nullptr, &matrix, nullptr);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}
}  // namespace

SBorderFit FitBorder(int32_t aX0, int32_t aY0, uint32_t aCW, uint32_t aCH, float aRelSize, float aAlignX, float aAlignY,
                     bool aSquare) {
    SBorderFit f;
    f.width = ToSize(float(aCW) * 100.0f / aRelSize + 0.5f);
    f.height = ToSize(float(aCH) * 100.0f / aRelSize + 0.5f);
    if (aSquare) f.width = f.height = std::max(f.width, f.height);
    f.offsetX = ToInt((float(int64_t(f.width) - aCW)) * (aAlignX * 0.5f + 0.5f) + 0.5f);
    f.offsetY = ToInt((float(int64_t(f.height) - aCH)) * (aAlignY * 0.5f + 0.5f) + 0.5f);
    // Wide, and held at the ends of the plane: extreme alignments must not overflow.
    f.tx = int32_t(std::clamp<int64_t>(int64_t(f.offsetX) - aX0, INT32_MIN, INT32_MAX));
    f.ty = int32_t(std::clamp<int64_t>(int64_t(f.offsetY) - aY0, INT32_MIN, INT32_MAX));
    return f;
}

HRESULT CDocumentOperationRasterImageRemoveBorder::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                               IOperationContext*) {
    return CanActivateOnImageOrLayers(aDocument);
}

HRESULT CDocumentOperationRasterImageRemoveBorder::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                            IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        const SSettings s = Schema().ReadSettings(aConfig);
        if (ComPtr<IDocumentLayeredImage> layered = LayeredImageOf(aDocument)) return Layered(aDocument, layered, s);
        ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
        if (!image) return E_FAIL;
        TImageSize canvas{0, 0}, size{0, 0};
        TImagePoint origin{0, 0};
        HRESULT hr = image->CanvasGet(&canvas, nullptr, &origin, &size, nullptr);
        if (FAILED(hr)) return hr;
        if (size.nX == 0 || size.nY == 0) return S_FALSE;
        const SBorderFit fit =
            FitBorder(origin.nX, origin.nY, size.nX, size.nY, s.relSize, s.alignX, s.alignY, s.square);
        // The test compares offsetX with x0 but ty with 0: kept as it has always been.
        if (fit.width == canvas.nX && fit.height == canvas.nY && fit.offsetX == origin.nX && fit.ty == 0)
            return S_FALSE;
        const TImageSize newCanvas{fit.width, fit.height};
        const TMatrix3x3f matrix = {{1, 0, 0, 0, 1, 0, float(fit.tx), float(fit.ty), 1}};
        return image->CanvasSet(&newCanvas, nullptr, &matrix, nullptr);
    });
}

HRESULT CDocumentOperationRasterImageRemoveBorder::Name(IOperationManager*, IConfig* aConfig,
                                                        ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Remove border[0405]Odstranit okraj"), aName);
        // Read as an integer on purpose: a float value fails here, as it always has.
        int32_t percent = 0;
        ReadValue(aConfig, Schema().KeyOf(&SSettings::relSize), percent);
        ComPtr<ILocalizedString> text =
            Printf(MultiLanguage(u"[0409]Object size %i%%[0405]Velikost objektu %i%%"), nullptr, percent);
        if (Schema().Read(aConfig, &SSettings::square))
            text = Printf(SimpleText(u"%s - %s"), text, MultiLanguage(kSquare));
        return HandOut(text, aName);
    });
}

}  // namespace zt

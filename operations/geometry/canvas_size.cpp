#include "operations/geometry/canvas_size.h"

#include <cmath>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/geometry/geometry_strings.h"
#include "operations/geometry/layers.h"
#include "operations/geometry/numbers_text.h"

namespace zt {

namespace {
constexpr const char16_t* kDeltaHelp =
    u"[0409]Value in pixels added to current cavas size. Negative values are allowed.[0405]Hodnota v pixelech "
    u"přičtená k současné velikosti plátna. Záporné hodnoty jsou povoleny.";
constexpr const char16_t* kSizeHelp =
    u"[0409]Value in pixels determining new size of the canvas.[0405]Hodnota v pixelech určující novou velikost "
    u"plátna.";

}  // namespace

struct SCanvasSizeSettings {
    int32_t type, deltaX, deltaY, sizeX, sizeY;
    SVectorF align;
    int32_t lastSizeX, lastSizeY;
};

const CSchema<SCanvasSizeSettings>& CDocumentOperationRasterImageCanvasSize::Schema() {
    using S = SCanvasSizeSettings;
    static const CSchema<S> schema = [] {
        const std::vector<SSchemaCondition> relative = {{u"Type", ECOCEqual, Long(0)}};
        const std::vector<SSchemaCondition> absolute = {{u"Type", ECOCEqual, Long(1)}};
        // Items the window keeps for itself: never shown.
        const std::vector<SSchemaCondition> never = {{u"Type", ECOCLess, Long(-1000000)}};
        return CSchema<S>{
            PickOne(
                u"Type", &S::type, u"[0409]Size given as[0405]Určení velikosti",
                u"[0409]Controls how to specify the final canvas size.[0405]Určuje, jak se zadá výsledná "
                u"velikost plátna.",
                0,
                {{0, "relative", u"[0409]Relative[0405]Relativní"}, {1, "absolute", u"[0409]Absolute[0405]Absolutní"}}),
            Simple(u"DeltaX", &S::deltaX, u"[0409]Width delta[0405]Změna šířky", kDeltaHelp, 0, relative),
            Simple(u"DeltaY", &S::deltaY, u"[0409]Height delta[0405]Změna výšky", kDeltaHelp, 0, relative),
            Simple(u"SizeX", &S::sizeX, u"[0409]Width[0405]Šířka", kSizeHelp, 800, absolute),
            Simple(u"SizeY", &S::sizeY, u"[0409]Height[0405]Výška", kSizeHelp, 600, absolute),
            Simple(u"Align", &S::align, u"[0409]Image Position[0405]Umístění obrázku",
                   u"[0409]Controls the placement of the original image on the new canvas.[0405]Určuje umístění "
                   u"původního obrázku na novém plátně.",
                   SVectorF{0.0f, 0.0f, 0.0f}),
            Simple(u"LastSizeX", &S::lastSizeX, u"", u"", 0, never),
            Simple(u"LastSizeY", &S::lastSizeY, u"", u"", 0, never),
        };
    }();
    return schema;
}

namespace {

using CCanvasSize = CDocumentOperationRasterImageCanvasSize;

struct SSettings {
    bool absolute;
    int32_t x, y;
    float align[2];
};
// The size items of the chosen type only.
SSettings ReadSettings(IConfig* aConfig) {
    using S = SCanvasSizeSettings;
    SSettings s;
    s.absolute = CCanvasSize::Schema().Read(aConfig, &S::type) != 0;
    const S read = s.absolute ? CCanvasSize::Schema().ReadSettings(aConfig, &S::sizeX, &S::sizeY, &S::align)
                              : CCanvasSize::Schema().ReadSettings(aConfig, &S::deltaX, &S::deltaY, &S::align);
    s.x = s.absolute ? read.sizeX : read.deltaX;
    s.y = s.absolute ? read.sizeY : read.deltaY;
    s.align[0] = read.align.x;
    s.align[1] = read.align.y;
    return s;
}

// One raster image; aCommon is the size the layers share, or null for the image's own canvas.
HRESULT ResizeOne(IDocument* aDocument, const SSettings& aSettings, const TImageSize* aCommon) {
    ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
    if (!image) return E_FAIL;
    TImageSize current{0, 0};
    if (aCommon) {
        current = *aCommon;
    } else {
        HRESULT hr = image->CanvasGet(&current, nullptr, nullptr, nullptr, nullptr);
        if (FAILED(hr)) return hr;
    }
    const SCanvasResize r =
        CanvasResize(current.nX, current.nY, aSettings.absolute, aSettings.x, aSettings.y, aSettings.align);
    if (r.nothing) return S_FALSE;
    const TImageSize size{r.width, r.height};
    const TMatrix3x3f matrix = {{1, 0, 0, 0, 1, 0, r.tx, r.ty, 1}};
    return image->CanvasSet(&size, nullptr, &matrix, nullptr);
}
}  // namespace

SCanvasResize CanvasResize(uint32_t aW, uint32_t aH, bool aAbsolute, int32_t aX, int32_t aY, const float aAlign[2]) {
    int64_t nw, nh;
    if (aAbsolute) {
        nw = aX;
        nh = aY;
    } else {
        nw = int64_t(aW) + aX;
        nh = int64_t(aH) + aY;
    }
    nw = std::max<int64_t>(1, std::min<int64_t>(nw, UINT32_MAX));
    nh = std::max<int64_t>(1, std::min<int64_t>(nh, UINT32_MAX));
    SCanvasResize r;
    r.width = static_cast<uint32_t>(nw);
    r.height = static_cast<uint32_t>(nh);
    const int64_t dw = nw - aW, dh = nh - aH;
    r.nothing = dw == 0 && dh == 0;
    r.tx = std::trunc(float(dw) * (aAlign[0] + 1) * 0.5f);
    r.ty = std::trunc(float(dh) * (aAlign[1] + 1) * 0.5f);
    return r;
}

HRESULT CDocumentOperationRasterImageCanvasSize::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                             IOperationContext*) {
    return CanActivateOnImageOrLayers(aDocument);
}

HRESULT CDocumentOperationRasterImageCanvasSize::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                          IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        const SSettings settings = ReadSettings(aConfig);
        ComPtr<IDocumentLayeredImage> layered = LayeredImageOf(aDocument);
        if (!layered) return ResizeOne(aDocument, settings, nullptr);
        return ForEveryLayer(aDocument, layered, [&](IDocument* aLayer, const TImageSize& aLargest) {
            return ResizeOne(aLayer, settings, &aLargest);
        });
    });
}

HRESULT CDocumentOperationRasterImageCanvasSize::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Set canvas size[0405]Nastavit velikost plátna"), aName);
        using S = SCanvasSizeSettings;
        if (Schema().Read(aConfig, &S::type) == 0) {
            const S s = Schema().ReadSettings(aConfig, &S::deltaX, &S::deltaY);
            return HandOut(
                TwoNumbers(u"[0409]Adjust size by %i, %i[0405]Upravit velikost o %i, %i", s.deltaX, s.deltaY), aName);
        }
        const S s = Schema().ReadSettings(aConfig, &S::sizeX, &S::sizeY);
        return HandOut(TwoNumbers(u"[0409]Set size to %ix%i[0405]Nastavit velikost na %ix%i", s.sizeX, s.sizeY), aName);
    });
}

HRESULT CDocumentOperationRasterImageCanvasSize::Transform(IConfig* aConfig, const TImageSize*,
                                                           const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&]() -> HRESULT {
        const SMatrixScale scale = MatrixScale(*aMatrix);
        if (IsUnitScale(scale.s)) return S_FALSE;
        auto scaled = [](int32_t aValue, float aScale) {
            const float v = aValue * aScale + 0.5f;
            if (!(v > -2147483648.0f)) return INT32_MIN;
            if (v >= 2147483647.0f) return INT32_MAX;
            return static_cast<int32_t>(v);
        };
        using S = SCanvasSizeSettings;
        S s = Schema().ReadSettings(aConfig, &S::deltaX, &S::sizeX, &S::deltaY, &S::sizeY);
        s.deltaX = scaled(s.deltaX, scale.sx);
        s.sizeX = scaled(s.sizeX, scale.sx);
        s.deltaY = scaled(s.deltaY, scale.sy);
        s.sizeY = scaled(s.sizeY, scale.sy);
        return Schema().WriteSettings(aConfig, s, &S::deltaX, &S::sizeX, &S::deltaY, &S::sizeY);
    });
}

}  // namespace zt

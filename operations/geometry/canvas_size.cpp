#include "operations/geometry/canvas_size.h"

#include <cmath>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/geometry/geometry_strings.h"
#include "operations/geometry/layers.h"
#include "operations/geometry/numbers_text.h"
#include "operations/geometry/vector_item.h"

namespace zt {

namespace {
constexpr const char16_t* kDeltaHelp =
    u"[0409]Value in pixels added to current cavas size. Negative values are allowed.[0405]Hodnota v pixelech "
    u"přičtená k současné velikosti plátna. Záporné hodnoty jsou povoleny.";
constexpr const char16_t* kSizeHelp =
    u"[0409]Value in pixels determining new size of the canvas.[0405]Hodnota v pixelech určující novou velikost "
    u"plátna.";

const SConfigSchema& Schema() {
    static const SConfigSchema schema = [] {
        const std::vector<SSchemaCondition> relative = {{u"Type", ECOCEqual, Long(0)}};
        const std::vector<SSchemaCondition> absolute = {{u"Type", ECOCEqual, Long(1)}};
        // Items the window keeps for itself: never shown.
        const std::vector<SSchemaCondition> never = {{u"Type", ECOCLess, Long(-1000000)}};
        return SConfigSchema{
            PickOne(u"Type", u"[0409]Size given as[0405]Určení velikosti",
                    u"[0409]Controls how to specify the final canvas size.[0405]Určuje, jak se zadá výsledná "
                    u"velikost plátna.",
                    Long(0),
                    {{Long(0), u"[0409]Relative[0405]Relativní"}, {Long(1), u"[0409]Absolute[0405]Absolutní"}}),
            Simple(u"DeltaX", u"[0409]Width delta[0405]Změna šířky", kDeltaHelp, Long(0), relative),
            Simple(u"DeltaY", u"[0409]Height delta[0405]Změna výšky", kDeltaHelp, Long(0), relative),
            Simple(u"SizeX", u"[0409]Width[0405]Šířka", kSizeHelp, Long(800), absolute),
            Simple(u"SizeY", u"[0409]Height[0405]Výška", kSizeHelp, Long(600), absolute),
            Simple(u"Align", u"[0409]Image Position[0405]Umístění obrázku",
                   u"[0409]Controls the placement of the original image on the new canvas.[0405]Určuje umístění "
                   u"původního obrázku na novém plátně.",
                   Vector(0.0f, 0.0f, 0.0f)),
            Simple(u"LastSizeX", u"", u"", Long(0), never),
            Simple(u"LastSizeY", u"", u"", Long(0), never),
        };
    }();
    return schema;
}

struct SSettings {
    bool absolute;
    int32_t x, y;
    float align[2];
};
SSettings ReadSettings(IConfig* aConfig) {
    SSettings s;
    s.absolute = ReadLong(aConfig, u"Type") != 0;
    s.x = ReadLong(aConfig, s.absolute ? u"SizeX" : u"DeltaX");
    s.y = ReadLong(aConfig, s.absolute ? u"SizeY" : u"DeltaY");
    ReadVector2(aConfig, u"Align", s.align);
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

HRESULT CDocumentOperationRasterImageCanvasSize::NameGet(IOperationManager*, ILocalizedString** aName) {
    return NameFromTable(IDS_NAME_CANVASSIZE, aName);
}

HRESULT CDocumentOperationRasterImageCanvasSize::ConfigCreate(IOperationManager* aManager, IConfig** aConfig) {
    return ConfigFromSchema(aManager, Schema(), aConfig);
}

HRESULT CDocumentOperationRasterImageCanvasSize::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                             IOperationContext*) {
    return Guard([&] { return RasterImageOf(aDocument) || LayeredImageOf(aDocument) ? S_OK : S_FALSE; });
}

HRESULT CDocumentOperationRasterImageCanvasSize::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                          IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        const SSettings settings = ReadSettings(aConfig);
        ComPtr<IDocumentLayeredImage> layered = LayeredImageOf(aDocument);
        if (!layered) return ResizeOne(aDocument, settings, nullptr);
        const std::vector<ComPtr<IDocument>> layers = LayerDocuments(layered);
        const TImageSize common = MaxLayerCanvas(layers);
        if (uint64_t(common.nX) * common.nY == 0) return E_FAIL;
        if (FAILED(aDocument->WriteLock())) return E_FAIL;
        for (const auto& layer : layers) {
            HRESULT hr = E_UNEXPECTED;
            try {
                hr = ResizeOne(layer, settings, &common);
            } catch (...) {
                aDocument->WriteUnlock();
                throw;
            }
            if (FAILED(hr)) {
                aDocument->WriteUnlock();
                return hr;
            }
        }
        aDocument->WriteUnlock();
        return S_OK;
    });
}

HRESULT CDocumentOperationRasterImageCanvasSize::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Set canvas size[0405]Nastavit velikost plátna"), aName);
        if (ReadLong(aConfig, u"Type") == 0)
            return HandOut(TwoNumbers(u"[0409]Adjust size by %i, %i[0405]Upravit velikost o %i, %i",
                                      ReadLong(aConfig, u"DeltaX"), ReadLong(aConfig, u"DeltaY")),
                           aName);
        return HandOut(TwoNumbers(u"[0409]Set size to %ix%i[0405]Nastavit velikost na %ix%i",
                                  ReadLong(aConfig, u"SizeX"), ReadLong(aConfig, u"SizeY")),
                       aName);
    });
}

HRESULT CDocumentOperationRasterImageCanvasSize::Transform(IConfig* aConfig, const TImageSize*,
                                                           const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&]() -> HRESULT {
        const float* m = aMatrix->m;
        const float sx = std::sqrt(m[0] * m[0] + m[3] * m[3]), sy = std::sqrt(m[1] * m[1] + m[4] * m[4]);
        const float mean = std::sqrt(sx * sy);
        if (mean > 0.9999f && mean < 1.0001f) return S_FALSE;
        auto scaled = [](int32_t aValue, float aScale) {
            const float v = aValue * aScale + 0.5f;
            if (!(v > -2147483648.0f)) return INT32_MIN;
            if (v >= 2147483647.0f) return INT32_MAX;
            return static_cast<int32_t>(v);
        };
        const char16_t* keys[4] = {u"DeltaX", u"SizeX", u"DeltaY", u"SizeY"};
        TConfigValue values[4];
        for (int i = 0; i < 4; ++i) {
            values[i] = ConfigValueEmpty();
            values[i].eTypeID = ECVTInteger;
            values[i].iVal = scaled(ReadLong(aConfig, keys[i]), i < 2 ? sx : sy);
        }
        return aConfig->ItemValuesSet(4, keys, values);
    });
}

}  // namespace zt

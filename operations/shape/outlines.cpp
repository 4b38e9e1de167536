#include "operations/shape/outlines.h"

#include <new>
#include <vector>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/shape/outline_kernel.h"
#include "operations/shape/shape_run.h"
#include "operations/shape/shape_strings.h"

namespace zt {

namespace {

constexpr const char16_t* kOutline = u"[0409]Outline[0405]Obrys";

const SConfigSchema& Schema() {
    static const SConfigSchema schema = {
        Simple(u"Width", u"[0409]Width[0405]Šířka", u"[0409]Width of the outline.[0405]Šířka obrysu.", Float(2.0f)),
        PickOne(u"Position", u"[0409]Position[0405]Umístění",
                u"[0409]Defines, where to place the outline.[0405]Určuje, kam se obrys umístí.", Long(1),
                {{Long(0), u"[0409]Inside[0405]Uvnitř"},
                 {Long(1), u"[0409]Centered[0405]Na středu"},
                 {Long(2), u"[0409]Outside[0405]Vně"}}),
        Simple(u"Color", u"[0409]Color[0405]Barva", u"[0409]Color of the outline.[0405]Barva obrysu.",
               Color(0.0f, 0.0f, 0.0f, 1.0f)),
        PickOne(u"BlendingMode", u"[0409]Composition mode[0405]Režim skládání",
                u"[0409]This setting controls how to combine the outline with the original shape.[0405]Toto "
                u"nastavení určuje, jak se obrys spojí s původním tvarem.",
                Long(1),
                {{Long(0), u"[0409]Outline only[0405]Pouze obrys"},
                 {Long(1), u"[0409]Replace outline[0405]Nahradit obrysem"},
                 {Long(2), u"[0409]Blend transparent outline[0405]Prolnout průhledný obrys"}}),
    };
    return schema;
}

float ReadWidth(IConfig* aConfig) {
    const float width = ReadFloat(aConfig, u"Width");
    return width <= 0.1f || !(width == width) ? 0.1f : width;
}

// d = trunc(ceil(max(Width, 0.1)) + 1) on every side.
int64_t DirtyReach(IConfig* aConfig) { return OutlineMargin(ReadWidth(aConfig)); }

HRESULT Run(IDocument* aDocument, IConfig* aConfig) {
    SOutlineParams params;
    params.width = ReadWidth(aConfig);
    params.position = ReadLong(aConfig, u"Position");
    {
        CConfigValue colour;
        ReadItem(aConfig, u"Color", colour);
        const float* c = colour.AsColor();
        for (int i = 0; i < 4; ++i) params.color[i] = c[i];
    }
    params.mode = ReadLong(aConfig, u"BlendingMode");
    const int64_t margin = OutlineMargin(params.width);

    if (!aDocument) return E_FAIL;
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    SLinearTables tables;
    MakeLinearTables(tables);
    TImagePoint origin{0, 0};
    TImageSize content{0, 0};
    if (!image || FAILED(image->CanvasGet(nullptr, nullptr, &origin, &content, nullptr))) return E_FAIL;

    if (margin > (int64_t(1) << 30)) return E_OUTOFMEMORY;
    SWorkRect work{int64_t(origin.nX) - margin, int64_t(origin.nY) - margin, int64_t(content.nX) + 2 * margin,
                   int64_t(content.nY) + 2 * margin};
    if (work.Empty()) return S_FALSE;
    if (!work.Fits()) return E_OUTOFMEMORY;
    const size_t count = size_t(work.w) * size_t(work.h);

    std::vector<TPixelChannel> pixels(count);
    const TImagePoint at = work.Origin();
    const TImageSize size = work.Size();
    const TImageStride stride{1, size.nX};
    HRESULT hr = image->TileGet(CHANNEL_COLOR, &at, &size, &stride, uint32_t(count), pixels.data(), nullptr,
                                ACCESS_MODE);
    if (FAILED(hr)) return hr;
    Outline(pixels.data(), size.nX, size.nY, params, tables);
    return image->TileSet(CHANNEL_COLOR, &at, &size, &stride, uint32_t(count), pixels.data(), 1);
}

}  // namespace

HRESULT CDocumentOperationRasterImageOutlines::NameGet(IOperationManager*, ILocalizedString** aName) {
    return NameFromTable(IDS_NAME_OUTLINES, aName);
}

HRESULT CDocumentOperationRasterImageOutlines::ConfigCreate(IOperationManager* aManager, IConfig** aConfig) {
    return ConfigFromSchema(aManager, Schema(), aConfig);
}

HRESULT CDocumentOperationRasterImageOutlines::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                           IOperationContext*) {
    return CanActivateOnRasterImage(aDocument);
}

HRESULT CDocumentOperationRasterImageOutlines::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                        IOperationContext*, ZTHWND, uint32_t) {
    return GuardRun([&] { return Run(aDocument, aConfig); });
}

HRESULT CDocumentOperationRasterImageOutlines::Transform(IConfig* aConfig, const TImageSize*,
                                                         const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        const SMatrixScale scale = MatrixScale(*aMatrix);
        if (IsUnitScale(scale.s)) return S_FALSE;
        const CConfigValue width(ReadFloat(aConfig, u"Width") * scale.s);
        const CZTStr key(u"Width");
        const char16_t* keys[] = {key};
        return aConfig->ItemValuesSet(1, keys, &width.Raw());
    });
}

HRESULT CDocumentOperationRasterImageOutlines::AdjustDirtyRect(IConfig* aConfig, const TImageSize*,
                                                               TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    Guard([&] {
        const int64_t d = DirtyReach(aConfig);
        aRect->tTL.nX = MoveSide(aRect->tTL.nX, -d);
        aRect->tTL.nY = MoveSide(aRect->tTL.nY, -d);
        aRect->tBR.nX = MoveSide(aRect->tBR.nX, d);
        aRect->tBR.nY = MoveSide(aRect->tBR.nY, d);
        return S_OK;
    });
    return S_OK;
}

HRESULT CDocumentOperationRasterImageOutlines::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas,
                                                               TRasterImageRect* aRect) {
    return AdjustDirtyRect(aConfig, aCanvas, aRect);
}

HRESULT CDocumentOperationRasterImageOutlines::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kOutline), aName);
        CConfigValue value;
        ReadItem(aConfig, u"Color", value);
        const float* c = value.AsColor();
        const uint32_t colour = 0xFF000000u | uint32_t(OutlineChannelByte(c[2])) << 16 |
                                uint32_t(OutlineChannelByte(c[1])) << 8 | OutlineChannelByte(c[0]);
        return HandOut(Printf(MultiLanguage(u"%s - %s"), MultiLanguage(kOutline),
                              ColourAndSize(colour, ReadFloat(aConfig, u"Width"))),
                       aName);
    });
}

}  // namespace zt

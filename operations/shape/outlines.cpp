#include "operations/shape/outlines.h"

#include <new>
#include <vector>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/image.h"
#include "frame/text.h"
#include "operations/shape/outlines_kernels.h"
#include "operations/shape/shape_run.h"
#include "operations/shape/shape_strings.h"

namespace zt {

namespace {

constexpr const char16_t* kOutline = u"[0409]Outline[0405]Obrys";

}  // namespace

struct SOutlineSettings {
    float width;
    int32_t position;
    SColorF color;
    int32_t blendingMode;
};

const CSchema<SOutlineSettings>& CDocumentOperationRasterImageOutlines::Schema() {
    using S = SOutlineSettings;
    static const CSchema<S> schema = {
        Simple(u"Width", &S::width, u"[0409]Width[0405]Šířka", u"[0409]Width of the outline.[0405]Šířka obrysu.", 2.0f),
        PickOne(u"Position", &S::position, u"[0409]Position[0405]Umístění",
                u"[0409]Defines, where to place the outline.[0405]Určuje, kam se obrys umístí.", 1,
                {{0, "inside", u"[0409]Inside[0405]Uvnitř"},
                 {1, "centered", u"[0409]Centered[0405]Na středu"},
                 {2, "outside", u"[0409]Outside[0405]Vně"}}),
        Simple(u"Color", &S::color, u"[0409]Color[0405]Barva", u"[0409]Color of the outline.[0405]Barva obrysu.",
               SColorF{0.0f, 0.0f, 0.0f, 1.0f}),
        PickOne(u"BlendingMode", &S::blendingMode, u"[0409]Composition mode[0405]Režim skládání",
                u"[0409]This setting controls how to combine the outline with the original shape.[0405]Toto "
                u"nastavení určuje, jak se obrys spojí s původním tvarem.",
                1,
                {{0, "only", u"[0409]Outline only[0405]Pouze obrys"},
                 {1, "replace", u"[0409]Replace outline[0405]Nahradit obrysem"},
                 {2, "blend", u"[0409]Blend transparent outline[0405]Prolnout průhledný obrys"}}),
    };
    return schema;
}

namespace {

using COutlines = CDocumentOperationRasterImageOutlines;

// Widths at or below 0.1, and NaN, count as 0.1.
float UsableWidth(float aWidth) { return aWidth <= 0.1f || !(aWidth == aWidth) ? 0.1f : aWidth; }

float ReadWidth(IConfig* aConfig) { return UsableWidth(COutlines::Schema().Read(aConfig, &SOutlineSettings::width)); }

// d = trunc(ceil(max(Width, 0.1)) + 1) on every side.
int64_t DirtyReach(IConfig* aConfig) { return OutlineMargin(ReadWidth(aConfig)); }

HRESULT Run(IDocument* aDocument, IConfig* aConfig) {
    const SOutlineSettings settings = COutlines::Schema().ReadSettings(aConfig);
    SOutlineParams params;
    params.width = UsableWidth(settings.width);
    params.position = settings.position;
    params.color[0] = settings.color.r;
    params.color[1] = settings.color.g;
    params.color[2] = settings.color.b;
    params.color[3] = settings.color.a;
    params.mode = settings.blendingMode;
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
    const TImageSize size = work.Size();
    return RewriteTile(image, work.Origin(), size,
                       [&](TPixelChannel* aPixels) { Outline(aPixels, size.nX, size.nY, params, tables); });
}

}  // namespace

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
        SOutlineSettings scaled;
        scaled.width = Schema().Read(aConfig, &SOutlineSettings::width) * scale.s;
        return Schema().WriteSettings(aConfig, scaled, &SOutlineSettings::width);
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
        const SColorF c = Schema().Read(aConfig, &SOutlineSettings::color);
        const uint32_t colour = 0xFF000000u | uint32_t(OutlineChannelByte(c.b)) << 16 |
                                uint32_t(OutlineChannelByte(c.g)) << 8 | OutlineChannelByte(c.r);
        return HandOut(Printf(MultiLanguage(u"%s - %s"), MultiLanguage(kOutline),
                              ColourAndSize(colour, Schema().Read(aConfig, &SOutlineSettings::width))),
                       aName);
    });
}

}  // namespace zt

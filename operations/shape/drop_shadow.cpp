#include "operations/shape/drop_shadow.h"

#include <algorithm>
#include <memory>
#include <new>
#include <vector>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/host_masks.h"
#include "frame/image.h"
#include "frame/text.h"
#include "operations/shape/drop_shadow_kernels.h"
#include "operations/shape/shape_run.h"
#include "operations/shape/shape_strings.h"

namespace zt {

namespace {

constexpr const char16_t* kOffsetHelp =
    u"[0409]Offset of the dropped shadow in pixels. Positive values will move the shadow in the right bottom "
    u"direction.[0405]Posun vrženého stínu v pixelech. Kladné hodnoty posunou stín doprava dolů.";

}  // namespace

struct SDropShadowSettings {
    float density, size, offsetX, offsetY;
    int32_t type, color;
    std::u16string maskId;
    int32_t blending;
};

const CSchema<SDropShadowSettings>& CDocumentOperationRasterImageDropShadow::Schema() {
    using S = SDropShadowSettings;
    static const CSchema<S> schema = {
        Simple(u"Density", &S::density, u"[0409]Shadow density[0405]Hustota stínu",
               u"[0409]This value constrols shadow density. Higher value means darker shadow.[0405]Tato hodnota "
               u"určuje hustotu stínu. Vyšší hodnota znamená tmavší stín.",
               150.0f),
        Simple(u"Size", &S::size, u"[0409]Shadow size[0405]Velikost stínu",
               u"[0409]Radius of the shadow in pixels.[0405]Poloměr stínu v pixelech.", 3.0f),
        Simple(u"OffsetX", &S::offsetX, u"[0409]Shadow offset[0405]Posun stínu", kOffsetHelp, 1.0f),
        Simple(u"OffsetY", &S::offsetY, u"[0409]Shadow offset[0405]Posun stínu", kOffsetHelp, 1.0f),
        PickOne(u"Type", &S::type, u"[0409]Algorithm type[0405]Typ algoritmu",
                u"[0409]Determines the method used to compute the shadow.[0405]Určuje metodu výpočtu stínu.", 0,
                {{0, "opacity", u"[0409]Opacity-based[0405]Podle neprůhlednosti"},
                 {1, "outline", u"[0409]Outline only[0405]Pouze obrys"}}),
        Simple(u"Color", &S::color, u"[0409]Color[0405]Barva",
               u"[0409]Color of the dropped shadow. Shadow of semitransparent pixels will be less intense.[0405]"
               u"Barva vrženého stínu. Stín poloprůhledných pixelů bude méně výrazný.",
               0),
        Simple(u"MaskID", &S::maskId, u"[0409]Selection sync ID[0405]ID synchronizace výběru",
               u"[0409]Identifier of the view state holding the image mask.[0405]Identifikátor stavu pohledu, "
               u"který uchovává masku obrázku.",
               IMAGEMASK_STATE),
        PickOne(u"Blending", &S::blending, u"[0409]Blending[0405]Prolnutí",
                u"[0409]How is the shadow combined with the original shape.[0405]Jak se stín kombinuje s původním "
                u"tvarem.",
                0,
                {{0, "outer", u"[0409]Outer shadow[0405]Vnější stín"},
                 {1, "inner", u"[0409]Inner shadow[0405]Vnitřní stín"},
                 {2, "only", u"[0409]Shadow only[0405]Pouze stín"}}),
    };
    return schema;
}

namespace {

using CShadow = CDocumentOperationRasterImageDropShadow;

// Left, top, right and bottom reach of the shadow around the content.
struct SReaches {
    int64_t left, top, right, bottom;
};
SReaches Reaches(float aSize, float aOffsetX, float aOffsetY) {
    return {ReachOf(aSize - aOffsetX), ReachOf(aSize - aOffsetY), ReachOf(aSize + aOffsetX), ReachOf(aSize + aOffsetY)};
}
SReaches ReachesOf(IConfig* aConfig) {
    using S = SDropShadowSettings;
    const S s = CShadow::Schema().ReadSettings(aConfig, &S::size, &S::offsetX, &S::offsetY);
    return Reaches(s.size, s.offsetX, s.offsetY);
}

HRESULT Run(IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext) {
    using S = SDropShadowSettings;
    // "Type" is read for its check only: the routine always removes the interior of
    // semi-transparent areas.
    const S settings = CShadow::Schema().ReadSettings(aConfig, &S::density, &S::size, &S::offsetX, &S::offsetY,
                                                      &S::type, &S::color, &S::blending);
    SShadowParams params;
    params.density = settings.density * 0.01f;
    params.color = uint32_t(settings.color);
    params.blending = settings.blending;
    params.size = settings.size;
    params.shiftX = -settings.offsetX;
    params.shiftY = -settings.offsetY;
    params.type = 1;
    const SReaches reach = Reaches(settings.size, settings.offsetX, settings.offsetY);

    if (!aDocument) return E_FAIL;
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    TImagePoint origin{0, 0};
    TImageSize content{0, 0};
    if (!image || FAILED(image->CanvasGet(nullptr, nullptr, &origin, &content, nullptr))) return E_FAIL;

    SWorkRect work{int64_t(origin.nX) - reach.left, int64_t(origin.nY) - reach.top,
                   int64_t(content.nX) + reach.left + reach.right, int64_t(content.nY) + reach.top + reach.bottom};
    if (work.Empty()) return S_FALSE;
    if (!work.Fits()) return E_OUTOFMEMORY;
    const size_t count = size_t(work.w) * size_t(work.h);

    std::unique_ptr<uint8_t[]> mask;
    if (aContext) {
        CZTStr name(CShadow::Schema().Read(aConfig, &S::maskId));
        ComPtr<ISharedStateImageMask> state;
        aContext->StateGet(name, ISharedStateImageMask::iid, state.out());
        if (state) {
            int32_t mx = 0, my = 0;
            uint32_t mw = 0, mh = 0;
            state->GetBounds(&mx, &my, &mw, &mh);
            const bool covers = mx <= work.x && my <= work.y && int64_t(mx) + mw >= work.x + work.w &&
                                int64_t(my) + mh >= work.y + work.h;
            if (!covers || state->IsRectangular() != S_OK) {
                mask.reset(new uint8_t[count]);
                HRESULT hr = state->GetMask(int32_t(work.x), int32_t(work.y), uint32_t(work.w), uint32_t(work.h),
                                            uint32_t(work.w), mask.get());
                if (FAILED(hr)) return hr;
                // A mask fully set over the whole work rectangle limits nothing: no buffer, so
                // coverage is the alpha itself.
                if (covers && std::all_of(mask.get(), mask.get() + count, [](uint8_t b) { return b == 255; }))
                    mask.reset();
            }
        }
    }

    CWriteBlock block(aDocument);
    HRESULT hr = block.Begin();
    if (FAILED(hr)) return hr;

    SLinearTables tables;
    MakeLinearTables(tables);
    const TImageSize workSize = work.Size();
    return RewriteTile(image, work.Origin(), workSize, [&](TPixelChannel* aPixels) {
        DropShadow(aPixels, workSize.nX, workSize.nY, params, mask.get(), tables);
    });
}

}  // namespace

HRESULT CDocumentOperationRasterImageDropShadow::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                          IOperationContext* aContext, ZTHWND, uint32_t) {
    return GuardRun([&] { return Run(aDocument, aConfig, aContext); });
}

HRESULT CDocumentOperationRasterImageDropShadow::Transform(IConfig* aConfig, const TImageSize*,
                                                           const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        const SMatrixScale scale = MatrixScale(*aMatrix);
        if (IsUnitScale(scale.s)) return S_FALSE;
        using S = SDropShadowSettings;
        S scaled = Schema().ReadSettings(aConfig, &S::size, &S::offsetX, &S::offsetY);
        scaled.size *= scale.s;
        scaled.offsetX *= scale.sx;
        scaled.offsetY *= scale.sy;
        return Schema().WriteSettings(aConfig, scaled, &S::size, &S::offsetX, &S::offsetY);
    });
}

HRESULT CDocumentOperationRasterImageDropShadow::AdjustDirtyRect(IConfig* aConfig, const TImageSize*,
                                                                 TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    Guard([&] {
        const SReaches r = ReachesOf(aConfig);
        aRect->tTL.nX = MoveSide(aRect->tTL.nX, -r.left);
        aRect->tTL.nY = MoveSide(aRect->tTL.nY, -r.top);
        aRect->tBR.nX = MoveSide(aRect->tBR.nX, r.right);
        aRect->tBR.nY = MoveSide(aRect->tBR.nY, r.bottom);
        return S_OK;
    });
    return S_OK;
}

HRESULT CDocumentOperationRasterImageDropShadow::NeededToCompute(IConfig* aConfig, const TImageSize*,
                                                                 TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    Guard([&] {
        const SReaches r = ReachesOf(aConfig);
        // The mirror of AdjustDirtyRect: a pixel depends on what lies against the offset.
        aRect->tTL.nX = MoveSide(aRect->tTL.nX, -r.right);
        aRect->tTL.nY = MoveSide(aRect->tTL.nY, -r.bottom);
        aRect->tBR.nX = MoveSide(aRect->tBR.nX, r.left);
        aRect->tBR.nY = MoveSide(aRect->tBR.nY, r.top);
        return S_OK;
    });
    return S_OK;
}

HRESULT CDocumentOperationRasterImageDropShadow::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        constexpr const char16_t* kShadow = u"[0409]Shadow[0405]Stín";
        if (!aConfig) return HandOut(MultiLanguage(kShadow), aName);
        const char16_t* blending = kShadow;
        switch (Schema().Read(aConfig, &SDropShadowSettings::blending)) {
            case 0: blending = u"[0409]Outer shadow[0405]Vnější stín"; break;
            case 1: blending = u"[0409]Inner shadow[0405]Vnitřní stín"; break;
            case 2: blending = u"[0409]Shadow only[0405]Pouze stín"; break;
            default: break;
        }
        const uint32_t colour = 0xFF000000u | uint32_t(Schema().Read(aConfig, &SDropShadowSettings::color));
        return HandOut(Printf(MultiLanguage(u"%s - %s"), MultiLanguage(blending),
                              ColourAndSize(colour, Schema().Read(aConfig, &SDropShadowSettings::size))),
                       aName);
    });
}

}  // namespace zt

#include "operations/shape/drop_shadow.h"

#include <memory>
#include <new>
#include <vector>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/host_masks.h"
#include "frame/text.h"
#include "operations/shape/drop_shadow_kernel.h"
#include "operations/shape/shape_run.h"
#include "operations/shape/shape_strings.h"

namespace zt {

namespace {

constexpr const char16_t* kOffsetHelp =
    u"[0409]Offset of the dropped shadow in pixels. Positive values will move the shadow in the right bottom "
    u"direction.[0405]Posun vrženého stínu v pixelech. Kladné hodnoty posunou stín doprava dolů.";

const SConfigSchema& Schema() {
    static const SConfigSchema schema = {
        Simple(u"Density", u"[0409]Shadow density[0405]Hustota stínu",
               u"[0409]This value constrols shadow density. Higher value means darker shadow.[0405]Tato hodnota "
               u"určuje hustotu stínu. Vyšší hodnota znamená tmavší stín.",
               Float(150.0f)),
        Simple(u"Size", u"[0409]Shadow size[0405]Velikost stínu",
               u"[0409]Radius of the shadow in pixels.[0405]Poloměr stínu v pixelech.", Float(3.0f)),
        Simple(u"OffsetX", u"[0409]Shadow offset[0405]Posun stínu", kOffsetHelp, Float(1.0f)),
        Simple(u"OffsetY", u"[0409]Shadow offset[0405]Posun stínu", kOffsetHelp, Float(1.0f)),
        PickOne(u"Type", u"[0409]Algorithm type[0405]Typ algoritmu",
                u"[0409]Determines the method used to compute the shadow.[0405]Určuje metodu výpočtu stínu.",
                Long(0),
                {{Long(0), u"[0409]Opacity-based[0405]Podle neprůhlednosti"},
                 {Long(1), u"[0409]Outline only[0405]Pouze obrys"}}),
        Simple(u"Color", u"[0409]Color[0405]Barva",
               u"[0409]Color of the dropped shadow. Shadow of semitransparent pixels will be less intense.[0405]"
               u"Barva vrženého stínu. Stín poloprůhledných pixelů bude méně výrazný.",
               Long(0)),
        Simple(u"MaskID", u"[0409]Selection sync ID[0405]ID synchronizace výběru",
               u"[0409]Identifier of the view state holding the image mask.[0405]Identifikátor stavu pohledu, "
               u"který uchovává masku obrázku.",
               String(IMAGEMASK_STATE)),
        PickOne(u"Blending", u"[0409]Blending[0405]Prolnutí",
                u"[0409]How is the shadow combined with the original shape.[0405]Jak se stín kombinuje s původním "
                u"tvarem.",
                Long(0),
                {{Long(0), u"[0409]Outer shadow[0405]Vnější stín"},
                 {Long(1), u"[0409]Inner shadow[0405]Vnitřní stín"},
                 {Long(2), u"[0409]Shadow only[0405]Pouze stín"}}),
    };
    return schema;
}

// Left, top, right and bottom reach of the shadow around the content.
struct SReaches {
    int64_t left, top, right, bottom;
};
SReaches Reaches(float aSize, float aOffsetX, float aOffsetY) {
    return {ReachOf(aSize - aOffsetX), ReachOf(aSize - aOffsetY), ReachOf(aSize + aOffsetX),
            ReachOf(aSize + aOffsetY)};
}

// Ends the document's block however the run leaves.
class CBlock {
public:
    explicit CBlock(IBlockOperations* aDocument) : document_(aDocument) {}
    HRESULT Begin() {
        HRESULT hr = document_->WriteLock();
        locked_ = SUCCEEDED(hr);
        return hr;
    }
    ~CBlock() {
        if (locked_) document_->WriteUnlock();
    }

private:
    IBlockOperations* document_;
    bool locked_ = false;
};

HRESULT Run(IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext) {
    SShadowParams params;
    params.density = ReadFloat(aConfig, u"Density") * 0.01f;
    const float size = ReadFloat(aConfig, u"Size");
    const float offsetX = ReadFloat(aConfig, u"OffsetX");
    const float offsetY = ReadFloat(aConfig, u"OffsetY");
    ReadLong(aConfig, u"Type");  // the routine always removes the interior of semi-transparent areas
    params.color = uint32_t(ReadLong(aConfig, u"Color"));
    params.blending = ReadLong(aConfig, u"Blending");
    params.size = size;
    params.shiftX = -offsetX;
    params.shiftY = -offsetY;
    params.type = 1;
    const SReaches reach = Reaches(size, offsetX, offsetY);

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
        CConfigValue maskName;
        ReadItem(aConfig, u"MaskID", maskName);
        CZTStr name(maskName.AsString());
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
            }
        }
    }

    CBlock block(aDocument);
    HRESULT hr = block.Begin();
    if (FAILED(hr)) return hr;

    std::vector<TPixelChannel> pixels(count);
    const TImagePoint at = work.Origin();
    const TImageSize workSize = work.Size();
    const TImageStride stride{1, workSize.nX};
    hr = image->TileGet(CHANNEL_COLOR, &at, &workSize, &stride, uint32_t(count), pixels.data(), nullptr, ACCESS_MODE);
    if (FAILED(hr)) return hr;

    SLinearTables tables;
    MakeLinearTables(tables);
    DropShadow(pixels.data(), workSize.nX, workSize.nY, params, mask.get(), tables);

    return image->TileSet(CHANNEL_COLOR, &at, &workSize, &stride, uint32_t(count), pixels.data(), 1);
}

}  // namespace

HRESULT CDocumentOperationRasterImageDropShadow::NameGet(IOperationManager*, ILocalizedString** aName) {
    return NameFromTable(IDS_NAME_DROPSHADOW, aName);
}

HRESULT CDocumentOperationRasterImageDropShadow::ConfigCreate(IOperationManager* aManager, IConfig** aConfig) {
    return ConfigFromSchema(aManager, Schema(), aConfig);
}

HRESULT CDocumentOperationRasterImageDropShadow::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                             IOperationContext*) {
    return CanActivateOnRasterImage(aDocument);
}

HRESULT CDocumentOperationRasterImageDropShadow::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                          IOperationContext* aContext, ZTHWND, uint32_t) {
    return Guard([&] {
        try {
            return Run(aDocument, aConfig, aContext);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    });
}

HRESULT CDocumentOperationRasterImageDropShadow::Transform(IConfig* aConfig, const TImageSize*,
                                                           const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        const SMatrixScale scale = MatrixScale(*aMatrix);
        if (IsUnitScale(scale.s)) return S_FALSE;
        const CConfigValue size(ReadFloat(aConfig, u"Size") * scale.s);
        const CConfigValue offsetX(ReadFloat(aConfig, u"OffsetX") * scale.sx);
        const CConfigValue offsetY(ReadFloat(aConfig, u"OffsetY") * scale.sy);
        const CZTStr k1(u"Size"), k2(u"OffsetX"), k3(u"OffsetY");
        const char16_t* keys[] = {k1, k2, k3};
        const TConfigValue values[] = {size.Raw(), offsetX.Raw(), offsetY.Raw()};
        return aConfig->ItemValuesSet(3, keys, values);
    });
}

HRESULT CDocumentOperationRasterImageDropShadow::AdjustDirtyRect(IConfig* aConfig, const TImageSize*,
                                                                 TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    Guard([&] {
        const float size = ReadFloat(aConfig, u"Size");
        const SReaches r = Reaches(size, ReadFloat(aConfig, u"OffsetX"), ReadFloat(aConfig, u"OffsetY"));
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
        const float size = ReadFloat(aConfig, u"Size");
        const SReaches r = Reaches(size, ReadFloat(aConfig, u"OffsetX"), ReadFloat(aConfig, u"OffsetY"));
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
        switch (ReadLong(aConfig, u"Blending")) {
            case 0: blending = u"[0409]Outer shadow[0405]Vnější stín"; break;
            case 1: blending = u"[0409]Inner shadow[0405]Vnitřní stín"; break;
            case 2: blending = u"[0409]Shadow only[0405]Pouze stín"; break;
            default: break;
        }
        const uint32_t colour = 0xFF000000u | uint32_t(ReadLong(aConfig, u"Color"));
        return HandOut(Printf(MultiLanguage(u"%s - %s"), MultiLanguage(blending),
                              ColourAndSize(colour, ReadFloat(aConfig, u"Size"))),
                       aName);
    });
}

}  // namespace zt

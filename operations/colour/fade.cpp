#include "operations/colour/fade.h"

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/colour/colour_strings.h"
#include "operations/colour/fade_document.h"
#include "operations/colour/fade_kernels.h"

namespace zt {

struct SFadeSettings {
    float strength;
    SNestedOperation operation;
};

const CSchema<SFadeSettings>& CDocumentOperationRasterImageFade::Schema() {
    using S = SFadeSettings;
    static const CSchema<S> schema = {
        Ranged(u"Strength", &S::strength, u"[0409]Strength[0405]Síla",
               u"[0409]Strength parameter controls strength of the applied effect. Strength of 1 indicates normal "
               u"effect strength.[0405]Parametr síla určuje sílu použitého efektu. Síla 1 odpovídá běžné síle "
               u"efektu.",
               0.5f, -5.0f, 5.0f, 0.05f),
        NestedOperation(u"Operation", &S::operation, u"[0409]Operation[0405]Operace",
                        u"[0409]Operation whose strength is being adjusted. It must be an operation working with "
                        u"raster images.[0405]Operace, jejíž síla se upravuje. Musí to být operace pracující "
                        u"s rastrovými obrázky."),
    };
    return schema;
}

namespace {
// The inner operation's filter and its configuration; the filter is null when the inner
// operation has none. A missing or mistyped "Operation" throws.
struct SInnerFilter {
    ComPtr<IRasterImageFilter> filter;
    ComPtr<IConfig> config;
};
SInnerFilter InnerFilter(IConfig* aConfig) {
    SNestedOperation operation = CDocumentOperationRasterImageFade::Schema().Read(aConfig, &SFadeSettings::operation);
    return {HostCreate<IRasterImageFilter>(operation.id.AsGUID()), std::move(operation.config)};
}
}  // namespace

HRESULT CDocumentOperationRasterImageFade::Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                                                    IOperationContext* aContext, ZTHWND aParentWindow,
                                                    uint32_t aLanguage) {
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
        if (!image) return E_FAIL;
        const SFadeSettings settings = Schema().ReadSettings(aConfig);
        const int32_t f = FadeFactor(settings.strength);
        ComPtr<IGammaTableCache> gamma = HostCreate<IGammaTableCache>(CLSID_GammaTableCache);
        if (!gamma) return E_FAIL;
        ComPtr<IDocument> wrapper = CFadeDocument::Create(aDocument, image, gamma, f);
        ComPtr<IOperationManager> manager =
            aManager ? ComPtr<IOperationManager>(aManager) : HostCreate<IOperationManager>(CLSID_OperationManager);
        if (!manager) return E_FAIL;
        return manager->Activate(manager, wrapper, &settings.operation.id.Raw(), settings.operation.config, aContext,
                                 aParentWindow, aLanguage);
    });
}

HRESULT CDocumentOperationRasterImageFade::Transform(IConfig* aConfig, const TImageSize* aCanvas,
                                                     const TMatrix3x3f* aMatrix) {
    return Guard([&] {
        SInnerFilter inner = InnerFilter(aConfig);
        return inner.filter ? inner.filter->Transform(inner.config, aCanvas, aMatrix) : S_FALSE;
    });
}

HRESULT CDocumentOperationRasterImageFade::AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas,
                                                           TRasterImageRect* aRect) {
    return Guard([&] {
        SInnerFilter inner = InnerFilter(aConfig);
        return inner.filter ? inner.filter->AdjustDirtyRect(inner.config, aCanvas, aRect) : E_NOTIMPL;
    });
}

// What must be computed is what the inner operation may change: its dirty rectangle, since
// the faded result mixes the old pixels there.
HRESULT CDocumentOperationRasterImageFade::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas,
                                                           TRasterImageRect* aRect) {
    return Guard([&] {
        SInnerFilter inner = InnerFilter(aConfig);
        return inner.filter ? inner.filter->AdjustDirtyRect(inner.config, aCanvas, aRect) : E_NOTIMPL;
    });
}

HRESULT CDocumentOperationRasterImageFade::GetTransform(IConfig* aConfig, const TImageSize* aCanvas,
                                                        TMatrix3x3f* aMatrix) {
    return Guard([&] {
        SInnerFilter inner = InnerFilter(aConfig);
        return inner.filter ? inner.filter->GetTransform(inner.config, aCanvas, aMatrix) : E_NOTIMPL;
    });
}

HRESULT CDocumentOperationRasterImageFade::Name(IOperationManager* aManager, IConfig* aConfig,
                                                ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Fade effect[0405]Zeslabení efektu"), aName);
        const SNestedOperation nested = Schema().Read(aConfig, &SFadeSettings::operation);
        ComPtr<ILocalizedString> inner;
        if (ComPtr<IDocumentOperation> operation = HostCreate<IDocumentOperation>(nested.id.AsGUID())) {
            if (ComPtr<IConfigDescriptor> descriptor = ComPtr<IConfigDescriptor>::query(operation.get()))
                descriptor->Name(aManager, nested.config, inner.out());
            if (!inner) operation->NameGet(aManager, inner.out());
        }
        const ComPtr<ILocalizedString> fade = MultiLanguage(u"[0409]Fade[0405]Zeslabení");
        if (!inner) return HandOut(fade, aName);
        return HandOut(Printf(SimpleText(u"%s: %s"), fade, inner), aName);
    });
}

}  // namespace zt

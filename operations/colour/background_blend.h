// Blend with background: flattens semi-transparent pixels onto a solid colour in linear
// light, and deletes the pixels too transparent to keep.
#pragma once

#include "frame/operation_base.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SBackgroundBlendSettings;

class CDocumentOperationRasterImageBackgroundBlend
    : public COperation<CDocumentOperationRasterImageBackgroundBlend, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("bcd0fd69-a4bd-46b0-a7da-8b48f18e8820");
    static constexpr uint32_t nameId = IDS_NAME_BACKGROUNDBLEND;
    static const CSchema<SBackgroundBlendSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
    // Threshold 0 changes the default pixel, and so the whole plane.
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
};

}  // namespace zt

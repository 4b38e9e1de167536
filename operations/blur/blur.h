// Blur: horizontal, vertical or two-axis blur with three distributions in linear light, and
// the radial and zoom blurs on stored values.
#pragma once

#include "frame/operation_base.h"
#include "operations/blur/blur_strings.h"

namespace zt {

struct SBlurSettings;

class CDocumentOperationRasterImageBlur
    : public COperation<CDocumentOperationRasterImageBlur, IRasterImageFilter, ILayerStyle> {
public:
    static constexpr CLSID classId = MakeGuid("4dd76d14-45a2-4fe5-9870-0dc94a53df75");
    static constexpr uint32_t nameId = IDS_NAME_BLUR;
    static const CSchema<SBlurSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    uint8_t ExecutionPriority() override { return 82; }
    HRESULT StyleFlagGet() override { return S_FALSE; }
};

}  // namespace zt

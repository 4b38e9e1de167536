// Shape gradient: colours the shape by each pixel's distance from its edge, along a gradient
// of colour stops, in bands that follow the outline.
#pragma once

#include "frame/operation_base.h"
#include "operations/shape/shape_strings.h"

namespace zt {

struct SContourGradientSettings;

class CRasterImageContourGradient : public COperation<CRasterImageContourGradient, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("20f5be48-08d2-4b8f-8dfc-5de8576e1a3f");
    static constexpr uint32_t nameId = IDS_NAME_CONTOURGRADIENT;
    static const CSchema<SContourGradientSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

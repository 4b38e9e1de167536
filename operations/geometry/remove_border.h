// Remove border: fits the canvas to the content, which becomes a chosen share of the new
// canvas at a chosen alignment; layers of a layered image are fitted together.
#pragma once

#include "frame/operation_base.h"
#include "operations/geometry/geometry_strings.h"

namespace zt {

struct SBorderFit {
    uint32_t width, height;
    int32_t offsetX, offsetY;
    int32_t tx, ty;  // moves the content to its new place
};
SBorderFit FitBorder(int32_t aX0, int32_t aY0, uint32_t aCW, uint32_t aCH, float aRelSize, float aAlignX, float aAlignY,
                     bool aSquare);

struct SRemoveBorderSettings;

class CDocumentOperationRasterImageRemoveBorder : public COperation<CDocumentOperationRasterImageRemoveBorder> {
public:
    static constexpr CLSID classId = MakeGuid("c6001a7d-4d4e-4431-baa9-6311f9593a31");
    static constexpr uint32_t nameId = IDS_NAME_REMOVEBORDER;
    static const CSchema<SRemoveBorderSettings>& Schema();

    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

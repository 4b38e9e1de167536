// Rotate: turns a raster image about the centre of its canvas, optionally enlarging the canvas.
#pragma once

#include "frame/operation_base.h"
#include "operations/geometry/geometry_strings.h"

namespace zt {

// Matrix and canvas of a rotation; aExtend 0 never, 1 if needed, 2 always.
struct SRotatePlan {
    TMatrix3x3f matrix;
    bool newCanvas;  // false: the canvas stays
    TImageSize canvas;
};
SRotatePlan PlanRotation(float aAngle, int32_t aExtend, TImageSize aCanvas, TImagePoint aContentOrigin,
                         TImageSize aContentSize);

struct SRotateSettings;

class CDocumentOperationRasterImageRotate : public COperation<CDocumentOperationRasterImageRotate> {
public:
    static constexpr CLSID classId = MakeGuid("c1cfeee0-0e2e-44aa-94e2-7041f8f0c7ae");
    static constexpr uint32_t nameId = IDS_NAME_ROTATE;
    static const CSchema<SRotateSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

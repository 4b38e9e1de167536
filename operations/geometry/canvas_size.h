// Canvas size: changes the canvas without resampling; the image is placed by a 2-D alignment.
#pragma once

#include "frame/operation_base.h"
#include "operations/geometry/geometry_strings.h"

namespace zt {

struct SCanvasResize {
    uint32_t width, height;
    float tx, ty;
    bool nothing;  // the size stays: nothing to do
};
// aAbsolute: aX, aY are the new size, otherwise deltas to the current size.
SCanvasResize CanvasResize(uint32_t aW, uint32_t aH, bool aAbsolute, int32_t aX, int32_t aY, const float aAlign[2]);

struct SCanvasSizeSettings;

class CDocumentOperationRasterImageCanvasSize
    : public COperation<CDocumentOperationRasterImageCanvasSize, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("8b4c0e3f-af8e-493d-b44b-8c692dbe0893");
    static constexpr uint32_t nameId = IDS_NAME_CANVASSIZE;
    static const CSchema<SCanvasSizeSettings>& Schema();

    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
};

}  // namespace zt

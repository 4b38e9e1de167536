// Resample: changes the pixel dimensions of a raster image (or of every layer) through one
// CanvasSet call with a resampling helper.
#pragma once

#include "frame/operation_base.h"
#include "operations/geometry/geometry_strings.h"

namespace zt {

// Scaled image size and canvas size that a configuration asks for, from the current size.
struct SResampleSizes {
    uint32_t newW = 1, newH = 1, canvasW = 1, canvasH = 1;
};
SResampleSizes ResampleSizes(uint32_t aW, uint32_t aH, int32_t aMode, float aSizeRel, int32_t aSize, int32_t aSizeX,
                             int32_t aSizeY);
// The resolution after resampling by mode 0 (recompute), 1 (keep) or 2 (set to aDPI).
TImageResolution ResampleResolution(TImageResolution aOld, int32_t aMode, uint32_t aW, uint32_t aNewW, float aDPI);

struct SResampleSettings;

class CDocumentOperationRasterImageResample : public COperation<CDocumentOperationRasterImageResample> {
public:
    static constexpr CLSID classId = MakeGuid("04f9937c-4135-474c-ad27-e414e14dce7a");
    static constexpr uint32_t nameId = IDS_NAME_RESAMPLE;
    static const CSchema<SResampleSettings>& Schema();

    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

// Polar transformation: bends an image between rectangular and circular form in one pass,
// with a bilinear, alpha-weighted sampler that wraps around horizontally.
#pragma once

#include "frame/operation_base.h"
#include "operations/geometry/geometry_strings.h"

namespace zt {

// aDirection 1: cartesian to polar, otherwise polar to cartesian. Both arrays W x H, rows tight.
void PolarTransform(const TPixelChannel* aSource, uint32_t aW, uint32_t aH, int32_t aDirection, TPixelChannel* aTarget);
// The sample position of one target pixel, in pixels.
void PolarSamplePosition(uint32_t aW, uint32_t aH, int32_t aDirection, uint32_t aX, uint32_t aY, float* aSX,
                         float* aSY);

struct SPolarSettings;

class CRasterImagePolarTransformation : public COperation<CRasterImagePolarTransformation> {
public:
    static constexpr CLSID classId = MakeGuid("46f6ecdf-1b48-494c-a27d-4a50020f3959");
    static constexpr uint32_t nameId = IDS_NAME_POLAR;
    static const CSchema<SPolarSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

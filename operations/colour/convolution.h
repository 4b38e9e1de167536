// Convolution: filters a raster image with a matrix the user writes as text.
#pragma once

#include "frame/operation_base.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SConvolutionFilterSettings;

class CDocumentOperationRasterImageConvolution : public COperation<CDocumentOperationRasterImageConvolution> {
public:
    static constexpr CLSID classId = MakeGuid("6b506239-51b0-4416-8b1a-341c516a0f0c");
    static constexpr uint32_t nameId = IDS_NAME_CONVOLUTION;
    static const CSchema<SConvolutionFilterSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

// Color transformations: brightness, contrast, gamma and saturation, in linear light.
#pragma once

#include "frame/operation_base.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SColorTransformationsSettings;

class CDocumentOperationRasterImageColorTransformations
    : public COperation<CDocumentOperationRasterImageColorTransformations, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("0daf0f19-0e19-4295-b648-8f7dce2e19a6");
    static constexpr uint32_t nameId = IDS_NAME_COLORTRANSFORMATIONS;
    static const CSchema<SColorTransformationsSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

// Auto mask: runs another operation as if the selection mask limited it, mixing the result
// into the old pixels by the mask.
#pragma once

#include "frame/operation_base.h"
#include "operations/fill/mask_config.h"
#include "operations/shape/shape_strings.h"

namespace zt {

class CDocumentOperationRasterImageAutoMask : public COperation<CDocumentOperationRasterImageAutoMask> {
public:
    static constexpr CLSID classId = MakeGuid("1b3b2d28-0c2c-4105-82ce-f0e868661c72");
    static constexpr uint32_t nameId = IDS_NAME_AUTOMASK;
    static const CSchema<SMaskOperationSettings>& Schema() { return MaskOperationSchema(); }

    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
};

}  // namespace zt

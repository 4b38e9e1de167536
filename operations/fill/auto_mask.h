// Auto mask: runs another operation as if the selection mask limited it, mixing the result
// into the old pixels by the mask.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageAutoMask : public IDocumentOperation, public CConfigDescriptorImpl {
public:
    static constexpr CLSID classId = MakeGuid("1b3b2d28-0c2c-4105-82ce-f0e868661c72");
    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocumentOperation, IConfigDescriptor>(this, aIID);
    }

    HRESULT NameGet(IOperationManager* aManager, ILocalizedString** aName) override;
    HRESULT ConfigCreate(IOperationManager* aManager, IConfig** aConfig) override;
    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
};

}  // namespace zt

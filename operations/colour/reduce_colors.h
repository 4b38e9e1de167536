// Reduce colors: limits the number of distinct colours through the host's quantiser.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageReduceColors : public IDocumentOperation,
                                                public CTrivialRasterImageFilter,
                                                public CConfigDescriptorImpl {
public:
    static constexpr CLSID classId = MakeGuid("19f9fa9a-3f1c-4b8b-b5f0-31a10310af93");
    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocumentOperation, IRasterImageFilter, IConfigDescriptor>(this, aIID);
    }

    HRESULT NameGet(IOperationManager* aManager, ILocalizedString** aName) override;
    HRESULT ConfigCreate(IOperationManager* aManager, IConfig** aConfig) override;
    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

// Convolution: filters a raster image with a matrix the user writes as text.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageConvolution : public IDocumentOperation, public CConfigDescriptorImpl {
public:
    static constexpr CLSID classId = MakeGuid("6b506239-51b0-4416-8b1a-341c516a0f0c");
    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocumentOperation, IConfigDescriptor>(this, aIID);
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

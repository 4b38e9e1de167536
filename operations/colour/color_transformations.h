// Color adjustments: brightness, contrast, gamma and saturation, in linear light.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageColorTransformations : public IDocumentOperation,
                                                        public CTrivialRasterImageFilter,
                                                        public CConfigDescriptorImpl {
public:
    static constexpr CLSID classId = MakeGuid("0daf0f19-0e19-4295-b648-8f7dce2e19a6");
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

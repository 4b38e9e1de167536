// Colorize: replaces all hues of a raster image by one hue.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageColorize : public IDocumentOperation,
                                            public CTrivialRasterImageFilter,
                                            public CConfigDescriptorImpl {
public:
    static constexpr CLSID classId = MakeGuid("5118b993-1b94-4c31-ae7c-e09a14ef6c02");
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

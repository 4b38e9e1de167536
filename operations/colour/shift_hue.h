// Shift hue: turns all hues of a raster image by an angle, in an integer HLS model.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageShiftHue : public IDocumentOperation,
                                              public CTrivialRasterImageFilter,
                                              public CConfigDescriptorImpl {
public:
    static constexpr CLSID classId = MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee");
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

// Drop shadow: a soft shadow of the image's opaque shape, behind it, inside it along its
// edges, or alone.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageDropShadow : public IDocumentOperation,
                                                public IRasterImageFilter,
                                                public CConfigDescriptorImpl,
                                                public ILayerStyle {
public:
    static constexpr CLSID classId = MakeGuid("179fed75-a48f-4708-af14-56bfb2a2adbc");
    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocumentOperation, IRasterImageFilter, IConfigDescriptor, ILayerStyle>(this, aIID);
    }

    HRESULT NameGet(IOperationManager* aManager, ILocalizedString** aName) override;
    HRESULT ConfigCreate(IOperationManager* aManager, IConfig** aConfig) override;
    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT CopyTransformed(IDocument*, IConfig*, IDocumentBase*, const char16_t*) override { return E_NOTIMPL; }
    HRESULT GetTransform(IConfig*, const TImageSize*, TMatrix3x3f*) override { return S_FALSE; }

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    uint8_t ExecutionPriority() override { return 70; }
    HRESULT StyleFlagGet() override { return S_OK; }
};

}  // namespace zt

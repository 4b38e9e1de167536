// Outline: a line of a given width along the edge of the image's shape, inside, centred or
// outside, computed from two distance maps.
#pragma once

#include "frame/operation_base.h"

namespace zt {

class CDocumentOperationRasterImageOutlines : public IDocumentOperation,
                                                public IRasterImageFilter,
                                                public CConfigDescriptorImpl,
                                                public ILayerStyle {
public:
    static constexpr CLSID classId = MakeGuid("8092b240-8ae7-418f-ae49-047d790cdfb8");
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

    uint8_t ExecutionPriority() override { return 58; }
    HRESULT StyleFlagGet() override { return S_OK; }
};

}  // namespace zt

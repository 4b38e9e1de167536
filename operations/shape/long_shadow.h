// Long shadow: extends the shape in one direction with a hard, flat shadow of one colour; its
// length and direction can be dragged on the canvas.
#pragma once

#include "frame/operation_base.h"
#include "operations/shape/shape_strings.h"

namespace zt {

struct SLongShadowSettings;

class CDocumentOperationLongShadow
    : public COperation<CDocumentOperationLongShadow, IRasterImageFilter, ILayerStyle, ICanvasInteractingOperation> {
public:
    static constexpr CLSID classId = MakeGuid("6c85431b-87f2-4d07-8a1d-fdea836165ba");
    static constexpr uint32_t nameId = IDS_NAME_LONGSHADOW;
    static const CSchema<SLongShadowSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    uint8_t ExecutionPriority() override { return 70; }
    HRESULT StyleFlagGet() override { return S_OK; }

    HRESULT CreateWrapper(IConfig* aConfig, uint32_t aSizeX, uint32_t aSizeY,
                          ICanvasInteractingWrapper** aWrapper) override;

    // The one handle of the shadow on the canvas: at the centre plus the shadow vector.
    // Immutable: each edit gives a new object.
    class CWrapper : public ICanvasInteractingWrapper {
    public:
        CWrapper(uint32_t aSizeX, uint32_t aSizeY, float aLength, float aOrientation);
        void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ICanvasInteractingWrapper>(this, aIID); }

        uint32_t GetControlPointCount() override { return 1; }
        HRESULT GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) override;
        HRESULT SetControlPoint(uint32_t aIndex, const float* aPos, bool aFinished, float aPointSize,
                                ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) override;
        HRESULT GetControlPointDesc(uint32_t, ILocalizedString**) override { return E_NOTIMPL; }
        HRESULT GetControlLines(IEditToolControlLines* aLines) override;
        HRESULT ToConfig(IConfig* aConfig) override;

    private:
        uint32_t sizeX_, sizeY_;
        float length_;
        float centre_[2];
        float orientation_;
        float handle_[2];
    };
};

}  // namespace zt

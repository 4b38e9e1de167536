// Projected shadow: the image's silhouette laid as a black shadow on a plane under the object,
// through a perspective map onto a quadrilateral, fading and blurring from one end to the
// other; the quadrilateral's corners can be dragged on the canvas.
#pragma once

#include "frame/operation_base.h"
#include "operations/shape/shape_strings.h"

namespace zt {

struct SProjectedShadowSettings;

class CRasterImageProjectedShadow
    : public COperation<CRasterImageProjectedShadow, IRasterImageFilter, ICanvasInteractingOperation> {
public:
    static constexpr CLSID classId = MakeGuid("3c18a690-5565-41d6-90af-4da75dedd2f3");
    static constexpr uint32_t nameId = IDS_NAME_PROJECTEDSHADOW;
    static const CSchema<SProjectedShadowSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    HRESULT CreateWrapper(IConfig* aConfig, uint32_t aSizeX, uint32_t aSizeY,
                          ICanvasInteractingWrapper** aWrapper) override;

    // The four corners of the quadrilateral on the canvas, in pixels. Immutable: each edit
    // gives a new object.
    class CWrapper : public ICanvasInteractingWrapper {
    public:
        CWrapper(uint32_t aSizeX, uint32_t aSizeY, const float aCorners[8]);
        void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ICanvasInteractingWrapper>(this, aIID); }

        uint32_t GetControlPointCount() override { return 4; }
        HRESULT GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) override;
        HRESULT SetControlPoint(uint32_t aIndex, const float* aPos, bool aFinished, float aPointSize,
                                ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) override;
        HRESULT GetControlPointDesc(uint32_t, ILocalizedString**) override { return E_NOTIMPL; }
        HRESULT GetControlLines(IEditToolControlLines* aLines) override;
        HRESULT ToConfig(IConfig* aConfig) override;

    private:
        uint32_t sizeX_, sizeY_;
        float corners_[8];
    };
};

}  // namespace zt

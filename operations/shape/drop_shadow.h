// Drop shadow: a soft shadow of the image's opaque shape, behind it, inside it along its
// edges, or alone.
#pragma once

#include "frame/operation_base.h"
#include "operations/shape/shape_strings.h"

namespace zt {

struct SDropShadowSettings;

class CDocumentOperationRasterImageDropShadow
    : public COperation<CDocumentOperationRasterImageDropShadow, IRasterImageFilter, ILayerStyle> {
public:
    static constexpr CLSID classId = MakeGuid("179fed75-a48f-4708-af14-56bfb2a2adbc");
    static constexpr uint32_t nameId = IDS_NAME_DROPSHADOW;
    static const CSchema<SDropShadowSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    uint8_t ExecutionPriority() override { return 70; }
    HRESULT StyleFlagGet() override { return S_OK; }
};

}  // namespace zt

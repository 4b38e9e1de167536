// Outline: a line of a given width along the edge of the image's shape, inside, centred or
// outside, computed from two distance maps.
#pragma once

#include "frame/operation_base.h"
#include "operations/shape/shape_strings.h"

namespace zt {

struct SOutlineSettings;

class CDocumentOperationRasterImageOutlines
    : public COperation<CDocumentOperationRasterImageOutlines, IRasterImageFilter, ILayerStyle> {
public:
    static constexpr CLSID classId = MakeGuid("8092b240-8ae7-418f-ae49-047d790cdfb8");
    static constexpr uint32_t nameId = IDS_NAME_OUTLINES;
    static const CSchema<SOutlineSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;

    uint8_t ExecutionPriority() override { return 58; }
    HRESULT StyleFlagGet() override { return S_OK; }
};

}  // namespace zt

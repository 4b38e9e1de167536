// Satin: soft, fold-like shading over the inside of the shape, from the blurred shape compared
// with itself shifted two opposite ways.
#pragma once

#include "frame/operation_base.h"
#include "operations/shape/shape_strings.h"

namespace zt {

struct SSatinSettings;

class CDocumentOperationRasterImageSatin : public COperation<CDocumentOperationRasterImageSatin, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("70b52eb0-39f7-4754-8f7d-f0a738488612");
    static constexpr uint32_t nameId = IDS_NAME_SATIN;
    static const CSchema<SSatinSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

// Fade: weakens or strengthens any other raster operation by running it on a document
// that mixes whatever is written into it with what was there.
#pragma once

#include "frame/operation_base.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SFadeSettings;

class CDocumentOperationRasterImageFade : public COperation<CDocumentOperationRasterImageFade, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("e22803b2-143b-45d6-812c-ed1472b10460");
    static constexpr uint32_t nameId = IDS_NAME_FADE;
    static const CSchema<SFadeSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;

    // The inner operation's filter answers.
    HRESULT Transform(IConfig* aConfig, const TImageSize* aCanvas, const TMatrix3x3f* aMatrix) override;
    HRESULT AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) override;
    HRESULT GetTransform(IConfig* aConfig, const TImageSize* aCanvas, TMatrix3x3f* aMatrix) override;

    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

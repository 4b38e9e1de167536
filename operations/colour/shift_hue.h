// Shift hue: turns all hues of a raster image by an angle, in an integer HLS model.
#pragma once

#include "frame/operation_base.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SShiftHueSettings;

class CDocumentOperationRasterImageShiftHue
    : public COperation<CDocumentOperationRasterImageShiftHue, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee");
    static constexpr uint32_t nameId = IDS_NAME_SHIFTHUE;
    static const CSchema<SShiftHueSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

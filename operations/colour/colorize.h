// Colorize: replaces all hues of a raster image by one hue.
#pragma once

#include "frame/operation_base.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SColorizeSettings;

class CDocumentOperationRasterImageColorize
    : public COperation<CDocumentOperationRasterImageColorize, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("5118b993-1b94-4c31-ae7c-e09a14ef6c02");
    static constexpr uint32_t nameId = IDS_NAME_COLORIZE;
    static const CSchema<SColorizeSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

// Reduce colors: limits the number of distinct colours through the host's quantiser.
#pragma once

#include "frame/operation_base.h"
#include "operations/colour/colour_strings.h"

namespace zt {

struct SReduceColorsSettings;

class CDocumentOperationRasterImageReduceColors
    : public COperation<CDocumentOperationRasterImageReduceColors, IRasterImageFilter> {
public:
    static constexpr CLSID classId = MakeGuid("19f9fa9a-3f1c-4b8b-b5f0-31a10310af93");
    static constexpr uint32_t nameId = IDS_NAME_REDUCECOLORS;
    static const CSchema<SReduceColorsSettings>& Schema();

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
    HRESULT Name(IOperationManager* aManager, IConfig* aConfig, ILocalizedString** aName) override;
};

}  // namespace zt

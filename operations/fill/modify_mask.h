// Modify mask: runs another operation on the selection mask itself, carried in the alpha of
// a black image, and keeps what comes out as the new mask.
#pragma once

#include "frame/operation_base.h"
#include "operations/fill/mask_config.h"
#include "operations/shape/shape_strings.h"

namespace zt {

class CDocumentOperationRasterImageModifyMask : public COperation<CDocumentOperationRasterImageModifyMask> {
public:
    static constexpr CLSID classId = MakeGuid("ed962e6a-7335-4bf0-9005-1a9af7d8fbbf");
    static constexpr uint32_t nameId = IDS_NAME_MODIFYMASK;
    static const CSchema<SMaskOperationSettings>& Schema() { return MaskOperationSchema(); }

    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig,
                        IOperationContext* aContext) override;
    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, IConfig* aConfig, IOperationContext* aContext,
                     ZTHWND aParentWindow, uint32_t aLanguage) override;
};

// The mask bytes in the last quarter of aCount pixels, spread to black pixels of that alpha.
void ExpandMaskInPlace(TPixelChannel* aPixels, size_t aCount);
// Alpha i to byte i at the front of the array; returns the bytes.
uint8_t* CompressMaskInPlace(TPixelChannel* aPixels, size_t aCount);
}  // namespace zt

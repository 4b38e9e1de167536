#include "operations/colour/shift_hue.h"

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/numeric.h"
#include "operations/colour/colour_strings.h"
#include "frame/text.h"
#include "operations/colour/shift_hue_op.h"
#include "pixel/pixel_task.h"

namespace zt {

namespace {
constexpr const char16_t* kShiftHue = u"[0409]Shift hue[0405]Posun odstínu";

const SConfigSchema& Schema() {
    static const SConfigSchema schema = {
        Ranged(u"Angle", u"[0409]Angle[0405]Úhel",
               u"[0409]Angle to rotate hues in an image.[0405]Úhel, o který se otočí odstíny v obrázku.", Float(0.0f),
               Float(-180.0f), Float(180.0f), Float(1.0f)),
    };
    return schema;
}
}  // namespace

HRESULT CDocumentOperationRasterImageShiftHue::NameGet(IOperationManager*, ILocalizedString** aName) {
    return NameFromTable(IDS_NAME_SHIFTHUE, aName);
}

HRESULT CDocumentOperationRasterImageShiftHue::ConfigCreate(IOperationManager* aManager, IConfig** aConfig) {
    return ConfigFromSchema(aManager, Schema(), aConfig);
}

HRESULT CDocumentOperationRasterImageShiftHue::CanActivate(IOperationManager*, IDocument* aDocument, IConfig*,
                                                           IOperationContext*) {
    return CanActivateOnRasterImage(aDocument);
}

HRESULT CDocumentOperationRasterImageShiftHue::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                        IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&] {
        return ActivatePixelOperation<CShiftHueOp>(aDocument, [&](std::atomic<uint64_t>* aTotal) {
            return CShiftHueOp{ShiftHueShift(ReadFloat(aConfig, u"Angle")), aTotal};
        });
    });
}

HRESULT CDocumentOperationRasterImageShiftHue::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kShiftHue), aName);
        const float angle = ReadFloat(aConfig, u"Angle");
        const int32_t shown = TruncateToInt32(angle < 0.0f ? angle + 360.5f : angle + 0.5f);
        return HandOut(Printf(MultiLanguage(u"%s - %i°"), MultiLanguage(kShiftHue), shown), aName);
    });
}

}  // namespace zt

#include "operations/colour/shift_hue.h"

#include "frame/numeric.h"
#include "operations/colour/shift_hue_kernels.h"
#include "pixel/pixel_task.h"

namespace zt {

struct SShiftHueSettings {
    float angle;
};

namespace {
constexpr const char16_t* kShiftHue = u"[0409]Shift hue[0405]Posun odstínu";
}  // namespace

const CSchema<SShiftHueSettings>& CDocumentOperationRasterImageShiftHue::Schema() {
    using S = SShiftHueSettings;
    static const CSchema<S> schema = {
        Ranged(u"Angle", &S::angle, u"[0409]Angle[0405]Úhel",
               u"[0409]Angle to rotate hues in an image.[0405]Úhel, o který se otočí odstíny v obrázku.", 0.0f, -180.0f,
               180.0f, 1.0f),
    };
    return schema;
}

HRESULT CDocumentOperationRasterImageShiftHue::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                        IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&] {
        return ActivatePixelOperation<CShiftHueOp>(aDocument, [&](std::atomic<uint64_t>* aTotal) {
            return CShiftHueOp{ShiftHueShift(Schema().ReadSettings(aConfig).angle), aTotal};
        });
    });
}

HRESULT CDocumentOperationRasterImageShiftHue::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kShiftHue), aName);
        const float angle = Schema().ReadSettings(aConfig).angle;
        const int32_t shown = TruncateToInt32(angle < 0.0f ? angle + 360.5f : angle + 0.5f);
        return HandOut(Printf(MultiLanguage(u"%s - %i°"), MultiLanguage(kShiftHue), shown), aName);
    });
}

}  // namespace zt

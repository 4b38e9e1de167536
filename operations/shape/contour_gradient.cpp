#include "operations/shape/contour_gradient.h"

#include <cmath>
#include <string>
#include <vector>

#include "frame/boundary.h"
#include "frame/image.h"
#include "frame/text.h"
#include "operations/shape/contour_gradient_kernels.h"
#include "operations/shape/shape_run.h"

namespace zt {

struct SContourGradientSettings {
    std::u16string gradient;
    float scale;
};

using CGradient = CRasterImageContourGradient;

const CSchema<SContourGradientSettings>& CGradient::Schema() {
    using S = SContourGradientSettings;
    static const CSchema<S> schema = {
        Simple(u"Gradient", &S::gradient, u"[0409]Gradient[0405]Přechod", nullptr, u"0,0,0,0,1;65535,1,1,1,1;"),
        Simple(u"Scale", &S::scale, u"[0409]Scale[0405]Měřítko",
               u"[0409]Size of the gradient in pixels.[0405]Velikost přechodu v pixelech.", 50.0f),
    };
    return schema;
}

namespace {

// Scales past this make tables and distances larger than a run can hold.
constexpr float kLargestScale = 4194304.0f;

HRESULT Run(IDocument* aDocument, IConfig* aConfig) {
    using S = SContourGradientSettings;
    const S s = CGradient::Schema().ReadSettings(aConfig, &S::scale, &S::gradient);
    const float scale = ContourGradientScale(s.scale);
    if (scale > kLargestScale) return E_OUTOFMEMORY;
    const TGradient gradient = ParseGradient(s.gradient);

    ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
    if (!image) return E_FAIL;
    const std::vector<TPixelChannel> table = ContourGradientTable(gradient, scale);
    TImagePoint origin{0, 0};
    TImageSize size{0, 0};
    if (FAILED(image->CanvasGet(nullptr, nullptr, &origin, &size, nullptr))) return E_FAIL;
    if (size.nX == 0 || size.nY == 0) return S_FALSE;

    return RewriteTile(image, origin, size,
                       [&](TPixelChannel* aPixels) { ContourGradient(aPixels, size.nX, size.nY, scale, table); });
}

}  // namespace

HRESULT CGradient::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig, IOperationContext*, ZTHWND,
                            uint32_t) {
    return GuardRun([&] { return Run(aDocument, aConfig); });
}

HRESULT CGradient::Transform(IConfig* aConfig, const TImageSize*, const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        const float scale = MatrixScale(*aMatrix).s;
        if (IsUnitScale(scale)) return S_FALSE;
        SContourGradientSettings s;
        s.scale = Schema().Read(aConfig, &SContourGradientSettings::scale) * scale;
        return Schema().WriteSettings(aConfig, s, &SContourGradientSettings::scale);
    });
}

HRESULT CGradient::AdjustDirtyRect(IConfig* aConfig, const TImageSize*, TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    return Guard([&] {
        const float scale = Schema().Read(aConfig, &SContourGradientSettings::scale);
        const int64_t d = ReachOf(scale > 1.0f ? scale : 1.0f) + 1;
        aRect->tTL.nX = MoveSide(aRect->tTL.nX, -d);
        aRect->tTL.nY = MoveSide(aRect->tTL.nY, -d);
        aRect->tBR.nX = MoveSide(aRect->tBR.nX, d);
        aRect->tBR.nY = MoveSide(aRect->tBR.nY, d);
        return S_OK;
    });
}

HRESULT CGradient::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) {
    return AdjustDirtyRect(aConfig, aCanvas, aRect);
}

HRESULT CGradient::Name(IOperationManager*, IConfig*, ILocalizedString** aName) {
    return GuardOut(aName,
                    [&] { return HandOut(MultiLanguage(u"[0409]Shape gradient[0405]Přechod podle tvaru"), aName); });
}

}  // namespace zt

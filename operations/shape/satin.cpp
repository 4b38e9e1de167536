#include "operations/shape/satin.h"

#include <cmath>
#include <vector>

#include "frame/boundary.h"
#include "frame/image.h"
#include "frame/text.h"
#include "operations/shape/outlines_kernels.h"
#include "operations/shape/satin_kernels.h"
#include "operations/shape/shape_run.h"

namespace zt {

struct SSatinSettings {
    float size, angle, blur;
    SColorF color;
    bool invert;
};

using CSatin = CDocumentOperationRasterImageSatin;

const CSchema<SSatinSettings>& CSatin::Schema() {
    using S = SSatinSettings;
    static const CSchema<S> schema = {
        Simple(u"Size", &S::size, u"[0409]Size[0405]Velikost",
               u"[0409]Distance of the folds from the shape outline.[0405]Vzdálenost záhybů od obrysu tvaru.", 8.0f),
        Simple(u"Angle", &S::angle, u"[0409]Angle[0405]Úhel", u"[0409]Direction of the folds.[0405]Směr záhybů.",
               30.0f),
        Simple(u"Blur", &S::blur, u"[0409]Blur[0405]Rozostření", u"[0409]Sharpness of the folds.[0405]Ostrost záhybů.",
               5.0f),
        Simple(u"Color", &S::color, u"[0409]Color[0405]Barva",
               u"[0409]Color of the fold shadows.[0405]Barva stínů záhybů.", SColorF{0.0f, 0.0f, 0.0f, 0.5f}),
        Simple(u"Invert", &S::invert, u"[0409]Invert[0405]Invertovat", u"[0409]Swap the colors.[0405]Prohodit barvy.",
               true),
    };
    return schema;
}

namespace {

TPixelChannel StoredColour(const SColorF& aColor) {
    TPixelChannel c;
    c.bR = OutlineChannelByte(aColor.r);
    c.bG = OutlineChannelByte(aColor.g);
    c.bB = OutlineChannelByte(aColor.b);
    c.bA = OutlineAlphaByte(aColor.a);
    return c;
}

HRESULT Run(IDocument* aDocument, IConfig* aConfig) {
    using S = SSatinSettings;
    const S s = CSatin::Schema().ReadSettings(aConfig, &S::size, &S::blur, &S::angle, &S::color, &S::invert);
    SSatinParams params;
    SatinShift(s.size, s.angle, &params.shiftX, &params.shiftY);
    params.radius = SatinRadius(s.blur);
    params.colour = StoredColour(s.color);
    params.invert = s.invert;
    if (params.colour.bA == 0) return S_FALSE;  // nothing would show

    ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
    if (!image) return E_FAIL;
    SLinearTables tables;
    MakeLinearTables(tables);
    TImagePoint origin{0, 0};
    TImageSize size{0, 0};
    if (FAILED(image->CanvasGet(nullptr, nullptr, &origin, &size, nullptr))) return E_FAIL;
    if (size.nX == 0 || size.nY == 0) return S_FALSE;
    const uint64_t margin = 2 * uint64_t(params.radius);
    if ((size.nX + margin) * (size.nY + margin) > UINT32_MAX) return E_OUTOFMEMORY;

    return RewriteTile(image, origin, size,
                       [&](TPixelChannel* aPixels) { Satin(aPixels, size.nX, size.nY, params, tables); });
}

}  // namespace

HRESULT CSatin::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig, IOperationContext*, ZTHWND,
                         uint32_t) {
    return GuardRun([&] { return Run(aDocument, aConfig); });
}

HRESULT CSatin::Transform(IConfig* aConfig, const TImageSize*, const TMatrix3x3f* aMatrix) {
    if (!aConfig || !aMatrix) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        const float scale = MatrixScale(*aMatrix).s;
        if (IsUnitScale(scale)) return S_FALSE;
        using S = SSatinSettings;
        S s = Schema().ReadSettings(aConfig, &S::size, &S::blur);
        s.size *= scale;
        s.blur *= scale;
        return Schema().WriteSettings(aConfig, s, &S::size, &S::blur);
    });
}

HRESULT CSatin::AdjustDirtyRect(IConfig* aConfig, const TImageSize*, TRasterImageRect* aRect) {
    if (!aConfig || !aRect) return S_OK;
    return Guard([&] {
        using S = SSatinSettings;
        const S s = Schema().ReadSettings(aConfig, &S::size, &S::angle, &S::blur);
        const float theta = s.angle * 3.1415927f / 180.0f;
        const int64_t r = SatinRadius(s.blur);
        const int64_t x = ReachOf(std::fabs(std::cos(theta) * s.size)) + r;
        const int64_t y = ReachOf(std::fabs(std::sin(theta) * s.size)) + r;
        aRect->tTL.nX = MoveSide(aRect->tTL.nX, -x);
        aRect->tTL.nY = MoveSide(aRect->tTL.nY, -y);
        aRect->tBR.nX = MoveSide(aRect->tBR.nX, x);
        aRect->tBR.nY = MoveSide(aRect->tBR.nY, y);
        return S_OK;
    });
}

HRESULT CSatin::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) {
    return AdjustDirtyRect(aConfig, aCanvas, aRect);
}

HRESULT CSatin::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        constexpr const char16_t* kSatin = u"[0409]Satin[0405]Satén";
        if (!aConfig) return HandOut(MultiLanguage(kSatin), aName);
        using S = SSatinSettings;
        const S s = Schema().ReadSettings(aConfig, &S::color, &S::size);
        const TPixelChannel c = StoredColour(s.color);
        const uint32_t opaque = 0xFF000000u | uint32_t(c.bB) << 16 | uint32_t(c.bG) << 8 | c.bR;
        return HandOut(Printf(MultiLanguage(u"%s - %s"), MultiLanguage(kSatin), ColourAndSize(opaque, s.size)), aName);
    });
}

}  // namespace zt

#include "operations/shape/projected_shadow.h"

#include <cmath>
#include <vector>

#include "frame/boundary.h"
#include "frame/image.h"
#include "frame/object.h"
#include "frame/text.h"
#include "operations/shape/projected_shadow_kernels.h"

namespace zt {

struct SProjectedShadowSettings {
    float blur1, blur2, density1, density2;
    float pt1x, pt1y, pt2x, pt2y, pt3x, pt3y, pt4x, pt4y;
};

using CProjected = CRasterImageProjectedShadow;
using SPS = SProjectedShadowSettings;

namespace {

constexpr const char16_t* kBlurHelp =
    u"[0409]Blur in parts of 300 of the image's mean size.[0405]Rozostření v třístech dílech střední velikosti "
    u"obrázku.";
constexpr const char16_t* kDensityHelp = u"[0409]Density of the shadow in percent.[0405]Hustota stínu v procentech.";
constexpr const char16_t* kCornerHelp =
    u"[0409]A corner of the shadow in parts of the canvas size.[0405]Roh stínu v dílech velikosti plátna.";

constexpr float SPS::*kCorners[8] = {&SPS::pt1x, &SPS::pt1y, &SPS::pt2x, &SPS::pt2y,
                                     &SPS::pt3x, &SPS::pt3y, &SPS::pt4x, &SPS::pt4y};

}  // namespace

const CSchema<SPS>& CProjected::Schema() {
    using S = SPS;
    static const CSchema<S> schema = {
        Simple(u"Blur1", &S::blur1, u"[0409]Blur at the first side[0405]Rozostření na první straně", kBlurHelp, 15.0f),
        Simple(u"Blur2", &S::blur2, u"[0409]Blur at the other side[0405]Rozostření na druhé straně", kBlurHelp, 40.0f),
        Simple(u"Density1", &S::density1, u"[0409]Density at the first row[0405]Hustota v prvním řádku", kDensityHelp,
               60.0f),
        Simple(u"Density2", &S::density2, u"[0409]Density at the other row[0405]Hustota v druhém řádku", kDensityHelp,
               20.0f),
        Simple(u"Pt1X", &S::pt1x, u"[0409]Corner 1 X[0405]Roh 1 X", kCornerHelp, 0.2f),
        Simple(u"Pt1Y", &S::pt1y, u"[0409]Corner 1 Y[0405]Roh 1 Y", kCornerHelp, 0.5f),
        Simple(u"Pt2X", &S::pt2x, u"[0409]Corner 2 X[0405]Roh 2 X", kCornerHelp, 0.7f),
        Simple(u"Pt2Y", &S::pt2y, u"[0409]Corner 2 Y[0405]Roh 2 Y", kCornerHelp, 0.5f),
        Simple(u"Pt3X", &S::pt3x, u"[0409]Corner 3 X[0405]Roh 3 X", kCornerHelp, 1.1f),
        Simple(u"Pt3Y", &S::pt3y, u"[0409]Corner 3 Y[0405]Roh 3 Y", kCornerHelp, 0.9f),
        Simple(u"Pt4X", &S::pt4x, u"[0409]Corner 4 X[0405]Roh 4 X", kCornerHelp, -0.1f),
        Simple(u"Pt4Y", &S::pt4y, u"[0409]Corner 4 Y[0405]Roh 4 Y", kCornerHelp, 0.9f),
    };
    return schema;
}

namespace {

// The corners of the settings in pixels of a canvas.
void CornersInPixels(const SPS& aSettings, uint32_t aWidth, uint32_t aHeight, float aOut[8]) {
    for (int i = 0; i < 8; ++i) aOut[i] = aSettings.*kCorners[i] * float(i % 2 ? aHeight : aWidth);
}

HRESULT Run(IDocument* aDocument, IConfig* aConfig) {
    ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
    if (!image) return E_FAIL;
    TImageSize canvas{1, 1};
    image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);
    const SPS s = CProjected::Schema().ReadSettings(aConfig);
    if (uint64_t(canvas.nX) * canvas.nY > UINT32_MAX / 9) return E_OUTOFMEMORY;  // the plane is up to 9 canvases

    SProjectedShadowParams params{s.blur1, s.blur2, s.density1, s.density2, {}};
    CornersInPixels(s, canvas.nX, canvas.nY, params.corners);
    // A degenerate quadrilateral draws nothing: the canvas goes back as it was.
    const HRESULT hr = RewriteTile(
        image, {0, 0}, canvas, [&](TPixelChannel* aPixels) { ProjectedShadow(aPixels, canvas.nX, canvas.nY, params); },
        0);
    return FAILED(hr) ? hr : S_OK;
}

}  // namespace

HRESULT CProjected::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig, IOperationContext*, ZTHWND,
                             uint32_t) {
    return GuardRun([&] { return Run(aDocument, aConfig); });
}

HRESULT CProjected::AdjustDirtyRect(IConfig*, const TImageSize* aCanvas, TRasterImageRect* aRect) {
    if (!aCanvas) return E_NOTIMPL;
    if (aRect)
        *aRect = {
            {0, 0},
            {int32_t(std::min<uint32_t>(aCanvas->nX, INT32_MAX)), int32_t(std::min<uint32_t>(aCanvas->nY, INT32_MAX))}};
    return S_OK;
}

HRESULT CProjected::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas, TRasterImageRect* aRect) {
    return AdjustDirtyRect(aConfig, aCanvas, aRect);
}

HRESULT CProjected::Name(IOperationManager*, IConfig*, ILocalizedString** aName) {
    return GuardOut(aName,
                    [&] { return HandOut(MultiLanguage(u"[0409]Projected shadow[0405]Promítnutý stín"), aName); });
}

HRESULT CProjected::CreateWrapper(IConfig* aConfig, uint32_t aSizeX, uint32_t aSizeY,
                                  ICanvasInteractingWrapper** aWrapper) {
    if (!aWrapper) return E_POINTER;
    *aWrapper = nullptr;
    return GuardEntry([&] {
        const SPS s = Schema().ReadSettings(aConfig, &SPS::pt1x, &SPS::pt1y, &SPS::pt2x, &SPS::pt2y, &SPS::pt3x,
                                            &SPS::pt3y, &SPS::pt4x, &SPS::pt4y);
        float corners[8];
        CornersInPixels(s, aSizeX, aSizeY, corners);
        *aWrapper = CComObject<CWrapper>::Create<ICanvasInteractingWrapper>(aSizeX, aSizeY, corners);
        return S_OK;
    });
}

// ---------------------------------------------------------------- the corners on the canvas

CProjected::CWrapper::CWrapper(uint32_t aSizeX, uint32_t aSizeY, const float aCorners[8])
    : sizeX_(aSizeX), sizeY_(aSizeY) {
    std::copy(aCorners, aCorners + 8, corners_);
}

HRESULT CProjected::CWrapper::GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) {
    if (aIndex >= 4) return E_HOST_INDEX_OUT_OF_RANGE;
    if (aPos) {
        aPos[0] = corners_[2 * aIndex];
        aPos[1] = corners_[2 * aIndex + 1];
    }
    if (aClass) *aClass = 1;
    return S_OK;
}

HRESULT CProjected::CWrapper::SetControlPoint(uint32_t aIndex, const float* aPos, bool, float,
                                              ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) {
    if (aIndex >= 4) return E_HOST_INDEX_OUT_OF_RANGE;
    if (!aNew) return E_POINTER;
    *aNew = nullptr;
    if (!aPos) return E_POINTER;
    return GuardEntry([&]() -> HRESULT {
        if (aNewIndex) *aNewIndex = aIndex;
        if (std::fabs(aPos[0] - corners_[2 * aIndex]) < 0.01f &&
            std::fabs(aPos[1] - corners_[2 * aIndex + 1]) < 0.01f) {
            AddRef();
            *aNew = this;
            return S_FALSE;
        }
        float moved[8];
        std::copy(corners_, corners_ + 8, moved);
        moved[2 * aIndex] = aPos[0];
        moved[2 * aIndex + 1] = aPos[1];
        *aNew = CComObject<CWrapper>::Create<ICanvasInteractingWrapper>(sizeX_, sizeY_, moved);
        return S_OK;
    });
}

HRESULT CProjected::CWrapper::GetControlLines(IEditToolControlLines* aLines) {
    if (!aLines) return E_POINTER;
    aLines->MoveTo(corners_[0], corners_[1]);
    for (int i = 1; i < 4; ++i) aLines->LineTo(corners_[2 * i], corners_[2 * i + 1]);
    return S_OK;
}

HRESULT CProjected::CWrapper::ToConfig(IConfig* aConfig) {
    if (!aConfig) return E_POINTER;
    return Guard([&] {
        SPS s{};
        for (int i = 0; i < 8; ++i) s.*kCorners[i] = corners_[i] / float(i % 2 ? sizeY_ : sizeX_);
        return Schema().WriteSettings(aConfig, s, &SPS::pt1x, &SPS::pt1y, &SPS::pt2x, &SPS::pt2y, &SPS::pt3x,
                                      &SPS::pt3y, &SPS::pt4x, &SPS::pt4y);
    });
}

}  // namespace zt

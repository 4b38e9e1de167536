#include "operations/shape/long_shadow.h"

#include <algorithm>
#include <cmath>

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/image.h"
#include "frame/text.h"
#include "operations/shape/long_shadow_kernels.h"
#include "operations/shape/outlines_kernels.h"
#include "operations/shape/shape_run.h"

namespace zt {

struct SLongShadowSettings {
    float length, orientation;
    SColorF color;
};

using CLongShadow = CDocumentOperationLongShadow;

const CSchema<SLongShadowSettings>& CLongShadow::Schema() {
    using S = SLongShadowSettings;
    static const CSchema<S> schema = {
        Simple(u"Length", &S::length, u"[0409]Length[0405]Délka", nullptr, 64.0f),
        Ranged(u"Orientation", &S::orientation, u"[0409]Orientation[0405]Orientace", nullptr, 135.0f, 0.0f, 360.0f,
               0.0f),
        Simple(u"Color", &S::color, u"[0409]Color[0405]Barva", nullptr, SColorF{0.0f, 0.0f, 0.0f, 0.5f}),
    };
    return schema;
}

namespace {

SLongShadowVector VectorOf(IConfig* aConfig) {
    using S = SLongShadowSettings;
    const S s = CLongShadow::Schema().ReadSettings(aConfig, &S::length, &S::orientation);
    return LongShadowVector(s.length, s.orientation);
}

HRESULT Run(IDocument* aDocument, IConfig* aConfig) {
    ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
    if (!image) return E_FAIL;
    TImagePoint origin{0, 0};
    TImageSize size{0, 0};
    if (FAILED(image->CanvasGet(nullptr, nullptr, &origin, &size, nullptr))) return E_FAIL;
    const TPixelChannel fill = ReadDefaultPixel(image);

    const SLongShadowVector v = VectorOf(aConfig);
    if (size.nX == 0 || size.nY == 0) return S_FALSE;  // nothing casts a shadow
    const SWorkRect work{int64_t(origin.nX) + std::min(v.ix, 0), int64_t(origin.nY) + std::min(v.iy, 0),
                         int64_t(size.nX) + std::abs(int64_t(v.ix)), int64_t(size.nY) + std::abs(int64_t(v.iy))};
    if (!work.Fits()) return E_OUTOFMEMORY;
    CAutoPixelBuffer target(image, work.Size());

    ComPtr<IGammaTableCache> gamma = HostCreate<IGammaTableCache>(CLSID_GammaTableCache);
    if (!gamma) return E_FAIL;
    const uint16_t* table = gamma->GetSRGBTable();
    const SColorF c = CLongShadow::Schema().Read(aConfig, &SLongShadowSettings::color);
    SLongShadowColour colour;
    colour.pixel.bR = OutlineChannelByte(c.r);
    colour.pixel.bG = OutlineChannelByte(c.g);
    colour.pixel.bB = OutlineChannelByte(c.b);
    colour.pixel.bA = OutlineAlphaByte(c.a);
    colour.linR = table[colour.pixel.bR];
    colour.linG = table[colour.pixel.bG];
    colour.linB = table[colour.pixel.bB];

    {
        CLockedImageBuffer source(image);
        if (!source.pixels) return E_FAIL;
        LongShadowSweep(source.At(origin.nX, origin.nY), size.nX, size.nY, source.allocSize.nX, target.Data(), v,
                        colour, fill, table);
    }
    return target.Replace(work.Origin(), fill, nullptr);
}

// Moves the sides of aRect outwards by the shadow's reach; aMirror moves the opposite sides,
// for what a pixel depends on.
HRESULT Grow(IConfig* aConfig, TRasterImageRect* aRect, bool aMirror) {
    if (!aRect) return S_OK;
    return Guard([&] {
        const SLongShadowVector v = VectorOf(aConfig);
        const int64_t x = ReachOf(std::fabs(v.dx)), y = ReachOf(std::fabs(v.dy));
        if ((v.dx > 0) != aMirror)
            aRect->tBR.nX = MoveSide(aRect->tBR.nX, x);
        else
            aRect->tTL.nX = MoveSide(aRect->tTL.nX, -x);
        if ((v.dy > 0) != aMirror)
            aRect->tBR.nY = MoveSide(aRect->tBR.nY, y);
        else
            aRect->tTL.nY = MoveSide(aRect->tTL.nY, -y);
        return S_OK;
    });
}

}  // namespace

HRESULT CLongShadow::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig, IOperationContext*, ZTHWND,
                              uint32_t) {
    return GuardRun([&] { return Run(aDocument, aConfig); });
}

HRESULT CLongShadow::Transform(IConfig* aConfig, const TImageSize*, const TMatrix3x3f* aMatrix) {
    if (!aMatrix) return S_FALSE;
    if (!aConfig) return E_HOST_INVALID_PARAM;
    return Guard([&] {
        using S = SLongShadowSettings;
        S s = Schema().ReadSettings(aConfig, &S::length, &S::orientation);
        s.length *= MatrixScale(*aMatrix).s;
        // The direction is not turned by the matrix, only brought into 0 .. 360.
        if (s.orientation > 360.0f)
            s.orientation -= 360.0f;
        else if (s.orientation < 0.0f)
            s.orientation += 360.0f;
        return Schema().WriteSettings(aConfig, s, &S::length, &S::orientation);
    });
}

HRESULT CLongShadow::AdjustDirtyRect(IConfig* aConfig, const TImageSize*, TRasterImageRect* aRect) {
    return Grow(aConfig, aRect, false);
}

HRESULT CLongShadow::NeededToCompute(IConfig* aConfig, const TImageSize*, TRasterImageRect* aRect) {
    return Grow(aConfig, aRect, true);
}

HRESULT CLongShadow::Name(IOperationManager*, IConfig*, ILocalizedString** aName) {
    return GuardOut(aName, [&] { return HandOut(MultiLanguage(u"[0409]Long shadow[0405]Dlouhý stín"), aName); });
}

HRESULT CLongShadow::CreateWrapper(IConfig* aConfig, uint32_t aSizeX, uint32_t aSizeY,
                                   ICanvasInteractingWrapper** aWrapper) {
    if (!aWrapper) return E_POINTER;
    *aWrapper = nullptr;
    return GuardEntry([&] {
        using S = SLongShadowSettings;
        const S s = Schema().ReadSettings(aConfig, &S::length, &S::orientation);
        *aWrapper = CComObject<CWrapper>::Create<ICanvasInteractingWrapper>(aSizeX, aSizeY, s.length, s.orientation);
        return S_OK;
    });
}

// ---------------------------------------------------------------- the handle

CLongShadow::CWrapper::CWrapper(uint32_t aSizeX, uint32_t aSizeY, float aLength, float aOrientation)
    : sizeX_(aSizeX), sizeY_(aSizeY), length_(aLength), orientation_(aOrientation) {
    centre_[0] = float(aSizeX) * 0.5f;
    centre_[1] = float(aSizeY) * 0.5f;
    const float theta = aOrientation * 3.1415927f / 180.0f;
    handle_[0] = centre_[0] + std::sin(theta) * aLength;
    handle_[1] = centre_[1] - std::cos(theta) * aLength;
}

HRESULT CLongShadow::CWrapper::GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) {
    if (aIndex != 0) return E_HOST_INDEX_OUT_OF_RANGE;
    if (aPos) {
        aPos[0] = handle_[0];
        aPos[1] = handle_[1];
    }
    if (aClass) *aClass = 1;
    return S_OK;
}

HRESULT CLongShadow::CWrapper::SetControlPoint(uint32_t aIndex, const float* aPos, bool, float,
                                               ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) {
    if (aIndex != 0) return E_HOST_INDEX_OUT_OF_RANGE;
    if (!aNew) return E_POINTER;
    *aNew = nullptr;
    if (!aPos) return E_POINTER;
    return GuardEntry([&]() -> HRESULT {
        if (aNewIndex) *aNewIndex = 0;
        const float dx = aPos[0] - centre_[0], dy = aPos[1] - centre_[1];
        auto same = [&] {
            AddRef();
            *aNew = this;
            return S_FALSE;
        };
        // On the centre the direction is undefined: the handle stays.
        if (std::fabs(dx) < 0.01f && std::fabs(dy) < 0.01f) return same();
        float orientation = static_cast<float>(std::atan2(double(dx), double(-dy)) * 180.0 / 3.1415927);
        if (orientation < 0.0f) orientation += 360.0f;
        const float length = std::sqrt(dx * dx + dy * dy);
        if (std::fabs(orientation - orientation_) <= 0.00001f && std::fabs(length - length_) <= 0.00001f) return same();
        *aNew = CComObject<CWrapper>::Create<ICanvasInteractingWrapper>(sizeX_, sizeY_, length, orientation);
        return S_OK;
    });
}

HRESULT CLongShadow::CWrapper::GetControlLines(IEditToolControlLines* aLines) {
    if (!aLines) return E_POINTER;
    aLines->MoveTo(centre_[0], centre_[1]);
    aLines->LineTo(handle_[0], handle_[1]);
    return S_OK;
}

HRESULT CLongShadow::CWrapper::ToConfig(IConfig* aConfig) {
    if (!aConfig) return E_POINTER;
    return Guard([&] {
        using S = SLongShadowSettings;
        S s{};
        s.length = length_;
        s.orientation = orientation_;
        return Schema().WriteSettings(aConfig, s, &S::length, &S::orientation);
    });
}

}  // namespace zt

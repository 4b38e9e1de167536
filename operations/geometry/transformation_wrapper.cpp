#include "operations/geometry/transformation_wrapper.h"

#include <cmath>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/object.h"
#include "operations/geometry/perspective.h"

namespace zt {

// ---------------------------------------------------------------- perspective

CTransformationWrapper::CTransformationWrapper(uint32_t aSizeX, uint32_t aSizeY, uint32_t aMode, const float aPoints[8])
    : sizeX_(aSizeX), sizeY_(aSizeY), mode_(aMode) {
    for (int i = 0; i < 8; ++i) points_[i] = aPoints[i];
}

HRESULT CTransformationWrapper::GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) {
    if (aIndex >= 4) return E_HOST_INDEX_OUT_OF_RANGE;
    if (aPos) {
        aPos[0] = points_[2 * aIndex];
        aPos[1] = points_[2 * aIndex + 1];
    }
    if (aClass) *aClass = 1;
    return S_OK;
}

HRESULT CTransformationWrapper::SetControlPoint(uint32_t aIndex, const float* aPos, bool, float,
                                                ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) {
    if (aIndex >= 4) return E_HOST_INDEX_OUT_OF_RANGE;
    if (!aNew) return E_POINTER;
    *aNew = nullptr;
    if (!aPos) return E_POINTER;
    return GuardEntry([&]() -> HRESULT {
        if (aNewIndex) *aNewIndex = aIndex;
        if (std::fabs(aPos[0] - points_[2 * aIndex]) < 0.01f && std::fabs(aPos[1] - points_[2 * aIndex + 1]) < 0.01f) {
            AddRef();
            *aNew = this;
            return S_FALSE;
        }
        float moved[8];
        for (int i = 0; i < 8; ++i) moved[i] = points_[i];
        moved[2 * aIndex] = aPos[0];
        moved[2 * aIndex + 1] = aPos[1];
        *aNew = CComObject<CTransformationWrapper>::Create<ICanvasInteractingWrapper>(sizeX_, sizeY_, mode_, moved);
        return S_OK;
    });
}

HRESULT CTransformationWrapper::GetControlLines(IEditToolControlLines* aLines) {
    if (!aLines) return E_POINTER;
    aLines->MoveTo(points_[0], points_[1]);
    for (int i : {1, 2, 3, 0}) aLines->LineTo(points_[2 * i], points_[2 * i + 1]);
    return S_OK;
}

HRESULT CTransformationWrapper::ToConfig(IConfig* aConfig) {
    if (!aConfig) return E_POINTER;
    using S = SPerspectiveSettings;
    float p[8];
    for (int i = 0; i < 8; ++i) p[i] = points_[i] / float(i % 2 ? sizeY_ : sizeX_);
    S s{};
    s.mode = static_cast<int32_t>(mode_);
    s.pt1x = p[0], s.pt1y = p[1], s.pt2x = p[2], s.pt2y = p[3], s.pt3x = p[4], s.pt3y = p[5], s.pt4x = p[6],
    s.pt4y = p[7];
    return CDocumentOperationRasterImagePerspective::Schema().WriteSettings(
        aConfig, s, &S::mode, &S::pt1x, &S::pt1y, &S::pt2x, &S::pt2y, &S::pt3x, &S::pt3y, &S::pt4x, &S::pt4y);
}

// ---------------------------------------------------------------- move, scale and rotate

CTransformationWrapperAffine::CTransformationWrapperAffine(uint32_t aSizeX, uint32_t aSizeY, const float aScale[2],
                                                           float aAngle, const float aTranslation[2])
    : sizeX_(aSizeX),
      sizeY_(aSizeY),
      scale_{aScale[0], aScale[1]},
      angle_(aAngle),
      translation_{aTranslation[0], aTranslation[1]} {}

void CTransformationWrapperAffine::Centre(float aOut[2]) const {
    aOut[0] = sizeX_ / 2.0f + translation_[0];
    aOut[1] = sizeY_ / 2.0f + translation_[1];
}

void CTransformationWrapperAffine::Corner(uint32_t aIndex, float aOut[2]) const {
    const float hw = sizeX_ / 2.0f * scale_[0], hh = sizeY_ / 2.0f * scale_[1];
    const float c = std::cos(angle_), s = std::sin(angle_);
    float C[2];
    Centre(C);
    switch (aIndex & 3) {
        case 0:
            aOut[0] = C[0] + (-hw * c + hh * s);
            aOut[1] = C[1] + (-hw * s - hh * c);
            break;
        case 1:
            aOut[0] = C[0] + (hw * c + hh * s);
            aOut[1] = C[1] + (hw * s - hh * c);
            break;
        case 2:
            aOut[0] = C[0] + (hw * c - hh * s);
            aOut[1] = C[1] + (hw * s + hh * c);
            break;
        default:
            aOut[0] = C[0] + (-hw * c - hh * s);
            aOut[1] = C[1] + (-hw * s + hh * c);
            break;
    }
}

HRESULT CTransformationWrapperAffine::GetControlPoint(uint32_t aIndex, float* aPos, uint32_t* aClass) {
    if (aIndex >= 10) return E_HOST_INDEX_OUT_OF_RANGE;
    float p[2];
    uint32_t cls = 0;
    if (aIndex == 9) {
        Centre(p);
    } else if (aIndex == 8) {
        float C[2];
        Centre(C);
        const float r = sizeX_ * 0.35f * scale_[0];
        p[0] = C[0] + std::cos(angle_) * r;
        p[1] = C[1] + std::sin(angle_) * r;
        cls = 2;
    } else if (aIndex % 2 == 0) {
        Corner(aIndex / 2, p);
    } else {
        float a[2], b[2];
        Corner((aIndex - 1) / 2, a);
        Corner((aIndex - 1) / 2 + 1, b);
        p[0] = (a[0] + b[0]) * 0.5f;
        p[1] = (a[1] + b[1]) * 0.5f;
        cls = 1;
    }
    if (aPos) {
        aPos[0] = p[0];
        aPos[1] = p[1];
    }
    if (aClass) *aClass = cls;
    return S_OK;
}

HRESULT CTransformationWrapperAffine::SetControlPoint(uint32_t aIndex, const float* aPos, bool, float,
                                                      ICanvasInteractingWrapper** aNew, uint32_t* aNewIndex) {
    if (aIndex >= 10) return E_HOST_INDEX_OUT_OF_RANGE;
    if (!aNew) return E_POINTER;
    *aNew = nullptr;
    if (!aPos) return E_POINTER;
    return GuardEntry([&]() -> HRESULT {
        if (aNewIndex) *aNewIndex = aIndex;
        float scale[2] = {scale_[0], scale_[1]}, translation[2] = {translation_[0], translation_[1]};
        float angle = angle_;
        const float halfX = sizeX_ / 2.0f, halfY = sizeY_ / 2.0f;
        const float c = std::cos(angle_), s = std::sin(angle_);
        if (aIndex == 9) {
            translation[0] = aPos[0] - halfX;
            translation[1] = aPos[1] - halfY;
        } else if (aIndex == 8) {
            float C[2];
            Centre(C);
            angle = std::atan2(aPos[1] - C[1], aPos[0] - C[0]);
            if (!(std::fabs(angle - angle_) > 0.0001f)) {
                AddRef();
                *aNew = this;
                return S_FALSE;
            }
        } else if (aIndex % 2 == 0) {
            float O[2];
            Corner((aIndex / 2 - 2) & 3, O);
            const float dx = O[0] - aPos[0], dy = O[1] - aPos[1];
            const float a = dx * c + dy * s, b = -dx * s + dy * c;
            scale[0] = std::fabs(a) / sizeX_;
            scale[1] = std::fabs(b) / sizeY_;
            translation[0] = (O[0] + aPos[0]) / 2 - halfX;
            translation[1] = (O[1] + aPos[1]) / 2 - halfY;
        } else {
            const uint32_t k = (aIndex - 1) / 2;
            float p[2], q[2];
            Corner((k - 1) & 3, p);
            Corner((k + 2) & 3, q);
            const float M[2] = {(p[0] + q[0]) / 2, (p[1] + q[1]) / 2};
            const float e[2] = {aPos[0] - M[0], aPos[1] - M[1]};
            const bool yAxis = (k + 1) % 2 == 1;
            const float axis[2] = {yAxis ? -s : c, yAxis ? c : s};
            const float along = e[0] * axis[0] + e[1] * axis[1];
            const float projected[2] = {along * axis[0], along * axis[1]};
            // Both edge axes divide by the height: kept as the editor has always done it.
            const float length = std::sqrt(projected[0] * projected[0] + projected[1] * projected[1]);
            scale[yAxis ? 1 : 0] = length / sizeY_;
            translation[0] = M[0] + projected[0] / 2 - halfX;
            translation[1] = M[1] + projected[1] / 2 - halfY;
        }
        *aNew = CComObject<CTransformationWrapperAffine>::Create<ICanvasInteractingWrapper>(sizeX_, sizeY_, scale,
                                                                                            angle, translation);
        return S_OK;
    });
}

HRESULT CTransformationWrapperAffine::GetControlLines(IEditToolControlLines* aLines) {
    if (!aLines) return E_POINTER;
    float p[2];
    Corner(0, p);
    aLines->MoveTo(p[0], p[1]);
    for (uint32_t i : {1u, 2u, 3u, 0u}) {
        Corner(i, p);
        aLines->LineTo(p[0], p[1]);
    }
    Centre(p);
    aLines->MoveTo(p[0], p[1]);
    GetControlPoint(8, p, nullptr);
    aLines->LineTo(p[0], p[1]);
    return S_OK;
}

HRESULT CTransformationWrapperAffine::ToConfig(IConfig* aConfig) {
    if (!aConfig) return E_POINTER;
    using S = SPerspectiveSettings;
    S s{};
    s.mode = 1;
    s.angle = angle_;
    s.scale = {scale_[0], scale_[1], 0.0f};
    s.translation = {translation_[0], translation_[1], 0.0f};
    return CDocumentOperationRasterImagePerspective::Schema().WriteSettings(aConfig, s, &S::mode, &S::angle, &S::scale,
                                                                            &S::translation);
}

}  // namespace zt

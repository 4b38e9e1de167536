#include "operations/geometry/perspective.h"

#include <algorithm>
#include <cmath>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/geometry/geometry_strings.h"
#include "operations/geometry/layers.h"
#include "operations/geometry/transform_kernels.h"
#include "operations/geometry/transformation_wrapper.h"
#include "operations/geometry/transformers.h"

namespace zt {

namespace {
constexpr const char16_t* kTransformation = u"[0409]Transformation[0405]Transformace";
constexpr const char16_t* kPointHelp =
    u"[0409]X coordinate of a transformed point.[0405]Souřadnice X transformovaného bodu.";
constexpr const char16_t* kPointHelpY =
    u"[0409]Y coordinate of a transformed point.[0405]Souřadnice Y transformovaného bodu.";
constexpr const char16_t* kCentreHelp = u"[0409]Center of rotation and scaling.[0405]Střed otáčení a změny velikosti.";

}  // namespace

const CSchema<SPerspectiveSettings>& CDocumentOperationRasterImagePerspective::Schema() {
    using S = SPerspectiveSettings;
    static const CSchema<S> schema = [] {
        const std::vector<SSchemaCondition> perspective = {{u"Mode", ECOCEqual, Long(0)}};
        const std::vector<SSchemaCondition> affine = {{u"Mode", ECOCEqual, Long(1)}};
        return CSchema<S>{
            PickOne(u"Mode", &S::mode, u"[0409]Mode[0405]Režim", nullptr, 1,
                    {{0, "perspective", u"[0409]Perspective transform[0405]Perspektivní transformace"},
                     {1, "affine", u"[0409]Move, resize and rotate[0405]Posunout, změnit velikost a otočit"}}),
            Simple(u"Pt1X", &S::pt1x, u"[0409]Upper left X[0405]Levý horní X", kPointHelp, 0.1f, perspective),
            Simple(u"Pt1Y", &S::pt1y, u"[0409]Upper left Y[0405]Levý horní Y", kPointHelpY, 0.0f, perspective),
            Simple(u"Pt2X", &S::pt2x, u"[0409]Upper right X[0405]Pravý horní X", kPointHelp, 0.9f, perspective),
            Simple(u"Pt2Y", &S::pt2y, u"[0409]Upper right Y[0405]Pravý horní Y", kPointHelpY, 0.3f, perspective),
            Simple(u"Pt3X", &S::pt3x, u"[0409]Lower right X[0405]Pravý dolní X", kPointHelp, 0.9f, perspective),
            Simple(u"Pt3Y", &S::pt3y, u"[0409]Lower right Y[0405]Pravý dolní Y", kPointHelpY, 0.7f, perspective),
            Simple(u"Pt4X", &S::pt4x, u"[0409]Lower left X[0405]Levý dolní X", kPointHelp, 0.1f, perspective),
            Simple(u"Pt4Y", &S::pt4y, u"[0409]Lower left Y[0405]Levý dolní Y", kPointHelpY, 1.0f, perspective),
            Simple(u"Angle", &S::angle, u"[0409]Rotation[0405]Otočení", kCentreHelp, 0.0f, affine),
            Simple(u"Scale", &S::scale, u"[0409]Scale[0405]Měřítko", kCentreHelp, SVectorF{1.0f, 1.0f, 0.0f}, affine),
            Simple(u"Translation", &S::translation, u"[0409]Move[0405]Posun", kCentreHelp, SVectorF{0.0f, 0.0f, 0.0f},
                   affine),
        };
    }();
    return schema;
}

namespace {

using S = SPerspectiveSettings;
const CSchema<S>& Settings() { return CDocumentOperationRasterImagePerspective::Schema(); }

void ReadPoints(IConfig* aConfig, float aPoints[8]) {
    const S s = Settings().ReadSettings(aConfig, &S::pt1x, &S::pt1y, &S::pt2x, &S::pt2y, &S::pt3x, &S::pt3y, &S::pt4x,
                                        &S::pt4y);
    const float points[8] = {s.pt1x, s.pt1y, s.pt2x, s.pt2y, s.pt3x, s.pt3y, s.pt4x, s.pt4y};
    std::copy(points, points + 8, aPoints);
}

// Angle, scale and move of "Mode" 1.
S ReadAffine(IConfig* aConfig) { return Settings().ReadSettings(aConfig, &S::angle, &S::scale, &S::translation); }

// The matrix of the configuration for a canvas; E_FAIL for a degenerate quadrilateral.
HRESULT MatrixFor(IConfig* aConfig, TImageSize aCanvas, TMatrix3x3f* aMatrix) {
    *aMatrix = {{1, 0, 0, 0, 1, 0, 0, 0, 1}};
    const int32_t mode = Settings().Read(aConfig, &S::mode);
    if (mode == 0) {
        float points[8];
        ReadPoints(aConfig, points);
        return PerspectiveMatrix(points, aCanvas.nX, aCanvas.nY, aMatrix) ? S_OK : E_FAIL;
    }
    if (mode == 1) {
        const S s = ReadAffine(aConfig);
        const float scale[2] = {s.scale.x, s.scale.y}, translation[2] = {s.translation.x, s.translation.y};
        *aMatrix = AffineMatrix(s.angle, scale, translation, aCanvas.nX, aCanvas.nY);
    }
    return S_OK;
}

HRESULT TransformImage(IDocumentRasterImage* aImage, IConfig* aConfig) {
    TImageSize canvas{0, 0};
    HRESULT hr = aImage->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);
    if (FAILED(hr)) return hr;
    TMatrix3x3f matrix;
    hr = MatrixFor(aConfig, canvas, &matrix);
    if (FAILED(hr)) return hr;
    CStackTransformHelper helper;
    return aImage->CanvasSet(nullptr, nullptr, &matrix, &helper);
}

int32_t FloorToInt(float aValue) {
    const float v = std::floor(aValue);
    if (!(v > -2147483648.0f)) return INT32_MIN;
    if (v >= 2147483647.0f) return INT32_MAX;
    return static_cast<int32_t>(v);
}
int32_t CeilToInt(float aValue) {
    const float v = std::ceil(aValue);
    if (!(v > -2147483648.0f)) return INT32_MIN;
    if (v >= 2147483647.0f) return INT32_MAX;
    return static_cast<int32_t>(v);
}
}  // namespace

void SquareToQuad(const double q[8], double m[9]) {
    const double dx = q[0] - q[2] + q[4] - q[6], dy = q[1] - q[3] + q[5] - q[7];
    if (dx == 0 && dy == 0) {
        const double r[9] = {q[2] - q[0], q[3] - q[1], 0, q[4] - q[2], q[5] - q[3], 0, q[0], q[1], 1};
        for (int i = 0; i < 9; ++i) m[i] = r[i];
        return;
    }
    const double dx1 = q[2] - q[4], dy1 = q[3] - q[5], dx2 = q[6] - q[4], dy2 = q[7] - q[5];
    const double den = dy2 * dx1 - dx2 * dy1;
    if (den == 0) {
        for (int i = 0; i < 9; ++i) m[i] = 0;
        return;
    }
    const double u = (dy2 * dx - dx2 * dy) / den, v = (dx1 * dy - dy1 * dx) / den;
    const double r[9] = {q[2] - q[0] + u * q[2],
                         q[3] - q[1] + u * q[3],
                         u,
                         q[6] - q[0] + v * q[6],
                         q[7] - q[1] + v * q[7],
                         v,
                         q[0],
                         q[1],
                         1};
    for (int i = 0; i < 9; ++i) m[i] = r[i];
}

void RectToQuad(const double aRect[8], const double aQuad[8], double aM[9]) {
    double a[9], ai[9], b[9];
    SquareToQuad(aRect, a);
    transform::Invert3x3<double>(a, ai);
    SquareToQuad(aQuad, b);
    transform::Multiply3x3<double>(ai, b, aM);
}

bool PerspectiveMatrix(const float aPoints[8], uint32_t aW, uint32_t aH, TMatrix3x3f* aMatrix) {
    const float W = float(aW), H = float(aH);
    float p[8];
    for (int i = 0; i < 8; ++i) p[i] = aPoints[i] * (i % 2 ? H : W);
    float* out = aMatrix->m;
    const float identity[9] = {1, 0, 0, 0, 1, 0, 0, 0, 1};
    for (int i = 0; i < 9; ++i) out[i] = identity[i];
    const float mirror[8] = {W, 0, 0, 0, 0, H, W, H};
    const float flip[8] = {0, H, W, H, W, 0, 0, 0};
    auto same = [&](const float* q) {
        for (int i = 0; i < 8; ++i)
            if (p[i] != q[i]) return false;
        return true;
    };
    if (same(mirror)) {
        out[0] = -1;
        out[6] = W;
        return true;
    }
    if (same(flip)) {
        out[4] = -1;
        out[7] = H;
        return true;
    }
    const double rect[8] = {0, 0, W, 0, W, H, 0, H};
    double quad[8];
    for (int i = 0; i < 8; ++i) quad[i] = p[i];
    double m[9];
    RectToQuad(rect, quad, m);
    if (std::fabs(m[0]) <= 1e-14 || std::fabs(m[4]) <= 1e-14) return false;
    for (int i = 0; i < 9; ++i) out[i] = static_cast<float>(m[i]);
    return true;
}

TMatrix3x3f AffineMatrix(float aAngle, const float aScale[2], const float aTranslation[2], uint32_t aW, uint32_t aH) {
    const float s = std::sin(aAngle), c = std::cos(aAngle);
    const float M[9] = {aScale[0] * c,   aScale[0] * s,   0, -s * aScale[1], aScale[1] * c, 0,
                        aTranslation[0], aTranslation[1], 1};
    const float T[9] = {1, 0, 0, 0, 1, 0, float(aW) * -0.5f, float(aH) * -0.5f, 1};
    TMatrix3x3f r;
    transform::Multiply3x3<float>(T, M, r.m);
    r.m[6] += float(aW) * 0.5f;
    r.m[7] += float(aH) * 0.5f;
    return r;
}

void MapRect(const float m[9], TRasterImageRect* aRect) {
    const float xs[2] = {float(aRect->tTL.nX), float(aRect->tBR.nX)};
    const float ys[2] = {float(aRect->tTL.nY), float(aRect->tBR.nY)};
    float minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
    for (float x : xs) {
        for (float y : ys) {
            const float w = x * m[2] + y * m[5] + m[8];
            const float u = (x * m[0] + y * m[3] + m[6]) / w, v = (x * m[1] + y * m[4] + m[7]) / w;
            minX = std::fmin(minX, u);
            maxX = std::fmax(maxX, u);
            minY = std::fmin(minY, v);
            maxY = std::fmax(maxY, v);
        }
    }
    aRect->tTL = {FloorToInt(minX), FloorToInt(minY)};
    aRect->tBR = {CeilToInt(maxX), CeilToInt(maxY)};
}

HRESULT CDocumentOperationRasterImagePerspective::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                           IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
        if (!image) return E_FAIL;
        return TransformImage(image, aConfig);
    });
}

HRESULT CDocumentOperationRasterImagePerspective::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(kTransformation), aName);
        float p[8];
        ReadPoints(aConfig, p);
        auto is = [&](std::initializer_list<float> q) { return std::equal(q.begin(), q.end(), p); };
        if (is({1, 0, 0, 0, 0, 1, 1, 1})) return HandOut(MultiLanguage(u"[0409]Mirror[0405]Zrcadlit"), aName);
        if (is({0, 1, 1, 1, 1, 0, 0, 0})) return HandOut(MultiLanguage(u"[0409]Flip[0405]Převrátit"), aName);
        return HandOut(MultiLanguage(kTransformation), aName);
    });
}

HRESULT CDocumentOperationRasterImagePerspective::Transform(IConfig*, const TImageSize*, const TMatrix3x3f*) {
    return E_NOTIMPL;
}

HRESULT CDocumentOperationRasterImagePerspective::AdjustDirtyRect(IConfig* aConfig, const TImageSize* aCanvas,
                                                                  TRasterImageRect* aRect) {
    return Guard([&]() -> HRESULT {
        if (!aCanvas) return E_NOTIMPL;
        if (!aRect) return S_OK;
        TMatrix3x3f m;
        HRESULT hr = MatrixFor(aConfig, *aCanvas, &m);
        if (FAILED(hr)) return hr;
        MapRect(m.m, aRect);
        return S_OK;
    });
}

HRESULT CDocumentOperationRasterImagePerspective::NeededToCompute(IConfig* aConfig, const TImageSize* aCanvas,
                                                                  TRasterImageRect* aRect) {
    return Guard([&]() -> HRESULT {
        if (!aCanvas) return E_NOTIMPL;
        if (!aRect) return S_OK;
        TMatrix3x3f m;
        HRESULT hr = MatrixFor(aConfig, *aCanvas, &m);
        if (FAILED(hr)) return hr;
        float inverse[9];
        transform::Invert3x3<float>(m.m, inverse);
        MapRect(inverse, aRect);
        return S_OK;
    });
}

HRESULT CDocumentOperationRasterImagePerspective::CopyTransformed(IDocument* aSource, IConfig* aConfig,
                                                                  IDocumentBase* aBase, const char16_t* aID) {
    return Guard([&]() -> HRESULT {
        if (!RasterImageOf(aSource)) return E_FAIL;
        if (!aBase) return E_POINTER;
        HRESULT hr = aSource->DocumentCopy(nullptr, aBase, aID, nullptr);
        if (FAILED(hr)) return hr;
        ComPtr<IDocument> copy;
        hr = aBase->DocumentGet(aID, copy.out());
        if (FAILED(hr)) return hr;
        ComPtr<IDocumentRasterImage> image = RasterImageOf(copy);
        if (!image) return E_FAIL;
        return TransformImage(image, aConfig);
    });
}

HRESULT CDocumentOperationRasterImagePerspective::GetTransform(IConfig* aConfig, const TImageSize* aCanvas,
                                                               TMatrix3x3f* aMatrix) {
    return Guard([&]() -> HRESULT {
        if (!aCanvas) return E_NOTIMPL;
        if (!aMatrix) return S_OK;
        return MatrixFor(aConfig, *aCanvas, aMatrix);
    });
}

HRESULT CDocumentOperationRasterImagePerspective::CreateWrapper(IConfig* aConfig, uint32_t aSizeX, uint32_t aSizeY,
                                                                ICanvasInteractingWrapper** aWrapper) {
    if (!aWrapper) return E_POINTER;
    *aWrapper = nullptr;
    return GuardEntry([&]() -> HRESULT {
        const int32_t mode = Settings().Read(aConfig, &S::mode);
        if (mode == 0) {
            float p[8];
            ReadPoints(aConfig, p);
            for (int i = 0; i < 8; ++i) p[i] *= float(i % 2 ? aSizeY : aSizeX);
            *aWrapper = CComObject<CTransformationWrapper>::Create<ICanvasInteractingWrapper>(aSizeX, aSizeY, 0u, p);
        } else if (mode == 1) {
            const S s = Settings().ReadSettings(aConfig, &S::scale, &S::translation, &S::angle);
            const float scale[2] = {s.scale.x, s.scale.y}, translation[2] = {s.translation.x, s.translation.y};
            *aWrapper = CComObject<CTransformationWrapperAffine>::Create<ICanvasInteractingWrapper>(
                aSizeX, aSizeY, scale, s.angle, translation);
        }
        return S_OK;
    });
}

}  // namespace zt

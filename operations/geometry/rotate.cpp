#include "operations/geometry/rotate.h"

#include <algorithm>
#include <cmath>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/geometry/geometry_strings.h"
#include "operations/geometry/layers.h"
#include "operations/geometry/transformers.h"

namespace zt {

struct SRotateSettings {
    float angle;
    int32_t extend;
};

const CSchema<SRotateSettings>& CDocumentOperationRasterImageRotate::Schema() {
    using S = SRotateSettings;
    static const CSchema<S> schema = {
        Simple(u"Angle", &S::angle, u"[0409]Angle[0405]Úhel",
               u"[0409]Value in degrees specifying how much is the image rotated clockwise.[0405]Hodnota ve stupních "
               u"určující, o kolik se obrázek otočí po směru hodinových ručiček.",
               45.0f),
        PickOne(u"Extend", &S::extend, u"[0409]Adjust canvas[0405]Upravit plátno",
                u"[0409]Make the canvas large enough for the rotated image.[0405]Zvětšit plátno tak, aby se na něj "
                u"otočený obrázek vešel.",
                1,
                {{0, "never", u"[0409]Never[0405]Nikdy"},
                 {1, "needed", u"[0409]If needed[0405]V případě potřeby"},
                 {2, "always", u"[0409]Always[0405]Vždy"}}),
    };
    return schema;
}

SRotatePlan PlanRotation(float aAngle, int32_t aExtend, TImageSize aCanvas, TImagePoint aContentOrigin,
                         TImageSize aContentSize) {
    SRotatePlan plan{{{1, 0, 0, 0, 1, 0, 0, 0, 1}}, false, aCanvas};
    float* m = plan.matrix.m;
    const float theta = static_cast<float>(aAngle * 3.141592653589793 / -180.0);
    const float c = std::cos(theta), s = std::sin(theta);
    if (aAngle == 90.0f) {
        m[0] = m[4] = 0;
        m[1] = 1;
        m[3] = -1;
    } else if (aAngle == 270.0f) {
        m[0] = m[4] = 0;
        m[1] = -1;
        m[3] = 1;
    } else if (aAngle == 180.0f) {
        m[0] = m[4] = -1;
    } else {
        m[0] = m[4] = c;
        m[3] = s;
        m[1] = -s;
    }
    const float W = float(aCanvas.nX), H = float(aCanvas.nY);
    const float cx = W * 0.5f, cy = H * 0.5f;
    const float w = cx * m[2] + cy * m[5] + m[8];
    const float centreX = (cx * m[0] + cy * m[3] + m[6]) / w, centreY = (cx * m[1] + cy * m[4] + m[7]) / w;

    int32_t extend = aExtend;
    if (extend == 1) {
        extend = 2;
        const int64_t x0 = aContentOrigin.nX, y0 = aContentOrigin.nY;
        const int64_t x1 = x0 + aContentSize.nX, y1 = y0 + aContentSize.nY;
        if (x0 >= 0 && y0 >= 0) {
            if (x1 > aCanvas.nX || y1 > aCanvas.nY) {
                extend = 0;
            } else {
                // Three corners only, turned the other way than the matrix: settled behaviour.
                const float corners[3][2] = {{float(x0), float(y0)}, {float(x0), float(y1)}, {float(x1), float(y1)}};
                float minX = INFINITY, minY = INFINITY, maxX = -INFINITY, maxY = -INFINITY;
                for (const auto& p : corners) {
                    const float dx = p[0] - cx, dy = p[1] - cy;
                    const float x = c * dx - s * dy + W / 2, y = s * dx + c * dy + H / 2;
                    minX = std::min(minX, x);
                    minY = std::min(minY, y);
                    maxX = std::max(maxX, x);
                    maxY = std::max(maxY, y);
                }
                if (std::floor(minX) >= 0 && std::floor(minY) >= 0 && std::ceil(maxX) <= W && std::ceil(maxY) <= H)
                    extend = 0;
            }
        }
    }
    if (extend == 0) {
        m[6] = W / 2 - centreX;
        m[7] = H / 2 - centreY;
        return plan;
    }
    const float halfW = std::max(std::fabs(c * cx - s * cy), std::fabs(c * -cx - s * cy));
    const float halfH = std::max(std::fabs(s * cx + c * cy), std::fabs(s * -cx + c * cy));
    const float nw = 2 * halfW + 0.5f, nh = 2 * halfH + 0.5f;
    plan.canvas.nX = std::max<uint32_t>(1, static_cast<uint32_t>(nw));
    plan.canvas.nY = std::max<uint32_t>(1, static_cast<uint32_t>(nh));
    plan.newCanvas = true;
    m[6] = plan.canvas.nX * 0.5f - centreX;
    m[7] = plan.canvas.nY * 0.5f - centreY;
    return plan;
}

HRESULT CDocumentOperationRasterImageRotate::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                      IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
        if (!image) return E_FAIL;
        TImageSize canvas{0, 0}, contentSize{0, 0};
        TImagePoint contentOrigin{0, 0};
        HRESULT hr = image->CanvasGet(&canvas, nullptr, &contentOrigin, &contentSize, nullptr);
        if (FAILED(hr)) return hr;
        const float angle = Schema().Read(aConfig, &SRotateSettings::angle);
        if (angle == 0.0f) return S_FALSE;
        const int32_t extend = Schema().Read(aConfig, &SRotateSettings::extend);
        const SRotatePlan plan = PlanRotation(angle, extend, canvas, contentOrigin, contentSize);
        CTransformHelperRotate helper;
        return image->CanvasSet(plan.newCanvas ? &plan.canvas : nullptr, nullptr, &plan.matrix, &helper);
    });
}

HRESULT CDocumentOperationRasterImageRotate::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Rotate[0405]Otočit"), aName);
        const float angle = Schema().Read(aConfig, &SRotateSettings::angle);
        if (angle == 90.0f) return HandOut(MultiLanguage(u"[0409]Rotate right[0405]Otočit doprava"), aName);
        if (angle == 270.0f) return HandOut(MultiLanguage(u"[0409]Rotate left[0405]Otočit doleva"), aName);
        // A value beyond the 32-bit range would not convert: show the nearest end instead.
        const float shown = std::clamp(angle + 0.5f, -2147483648.0f, 2147483520.0f);
        return HandOut(Printf(MultiLanguage(u"[0409]Rotate by %i°[0405]Otočit o %i°"), nullptr,
                              std::isnan(shown) ? 0 : static_cast<int32_t>(shown)),
                       aName);
    });
}

}  // namespace zt

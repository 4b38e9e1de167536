#include "operations/geometry/polar_transformation.h"

#include <algorithm>
#include <cmath>
#include <vector>

#include "frame/boundary.h"
#include "frame/config.h"
#include "frame/text.h"
#include "operations/geometry/geometry_strings.h"
#include "operations/geometry/layers.h"

namespace zt {

namespace {
constexpr const char16_t* kToPolar = u"[0409]Cartesian to polar[0405]Kartézské na polární";
constexpr const char16_t* kToCartesian = u"[0409]Polar to cartesian[0405]Polární na kartézské";

int64_t Fixed256(float aValue) {
    const float v = aValue * 256;
    if (!(v > -4.0e15f && v < 4.0e15f)) return 0;
    return static_cast<int64_t>(v);
}
}  // namespace

struct SPolarSettings {
    int32_t direction;
};

const CSchema<SPolarSettings>& CRasterImagePolarTransformation::Schema() {
    static const CSchema<SPolarSettings> schema = {
        PickOne(u"Direction", &SPolarSettings::direction, u"[0409]Direction[0405]Směr",
                u"[0409]Direction of the pixel coordinates transformation.[0405]Směr transformace souřadnic pixelů.", 1,
                {{1, "topolar", kToPolar}, {0, "tocartesian", kToCartesian}}),
    };
    return schema;
}

void PolarSamplePosition(uint32_t aW, uint32_t aH, int32_t aDirection, uint32_t aX, uint32_t aY, float* aSX,
                         float* aSY) {
    const float W = float(aW), H = float(aH);
    const float cx = W * 0.5f, cy = H * 0.5f, hx = cx - 0.5f, hy = cy - 0.5f, R = std::min(hx, hy);
    const float aspectX = aW > aH ? (H - 1) / (W - 1) : 1.0f;
    const float aspectY = aW < aH ? (W - 1) / (H - 1) : 1.0f;
    const float x = float(aX), y = float(aY);
    if (aDirection == 1) {
        const float a = (x - hx) * aspectX, b = (y - hy) * aspectY;
        const float t = atan2f(a, b) / 6.2831855f + 0.5f;
        *aSX = t * W;
        *aSY = std::sqrt(a * a + b * b) * (H - 1) / R;
    } else {
        const float theta = ((x - hx) * 3.1415927f * 2) / W;
        const float rho = y + 0.5f;
        *aSX = std::sin(theta) * rho / R * (W - 1) * 0.25f + cx;
        *aSY = std::cos(theta) * rho / R * (H - 1) * 0.25f + cy;
    }
}

void PolarTransform(const TPixelChannel* aSource, uint32_t aW, uint32_t aH, int32_t aDirection,
                    TPixelChannel* aTarget) {
    const uint64_t threshold = 65025;
    for (uint32_t y = 0; y < aH; ++y) {
        for (uint32_t x = 0; x < aW; ++x) {
            float sx, sy;
            PolarSamplePosition(aW, aH, aDirection, x, y, &sx, &sy);
            const int64_t px = Fixed256(sx), py = Fixed256(sy);
            const uint32_t c0 = static_cast<uint32_t>((px >> 8) + aW) % aW;
            const uint32_t c1 = (c0 + 1) % aW;
            // Rows clamp at the bottom by design; the top guard keeps a row above the source
            // (polar to cartesian on a tall canvas) inside the array.
            const int64_t r0 = std::clamp<int64_t>(std::min<int64_t>(aH - 1, py >> 8), 0, aH - 1);
            const int64_t r1 = std::min<int64_t>(aH - 1, r0 + 1);
            const uint32_t fx = static_cast<uint32_t>(px & 255), fy = static_cast<uint32_t>(py & 255);
            const uint32_t w[4] = {(255 - fx) * (255 - fy), (255 - fy) * fx, (255 - fx) * fy, fx * fy};
            const TPixelChannel p[4] = {aSource[size_t(r0) * aW + c0], aSource[size_t(r0) * aW + c1],
                                        aSource[size_t(r1) * aW + c0], aSource[size_t(r1) * aW + c1]};
            uint64_t A = 0;
            for (int i = 0; i < 4; ++i) A += uint64_t(p[i].bA) * w[i];
            TPixelChannel& out = aTarget[size_t(y) * aW + x];
            // Cartesian to polar needs more than one unit, the way back at least one: kept as it is.
            if (aDirection == 1 ? A <= threshold : A < threshold) {
                out.n = 0;
                continue;
            }
            uint64_t b = 0, g = 0, r = 0;
            for (int i = 0; i < 4; ++i) {
                const uint64_t aw = uint64_t(p[i].bA) * w[i];
                b += p[i].bB * aw;
                g += p[i].bG * aw;
                r += p[i].bR * aw;
            }
            out.bB = static_cast<uint8_t>(b / A);
            out.bG = static_cast<uint8_t>(g / A);
            out.bR = static_cast<uint8_t>(r / A);
            out.bA = static_cast<uint8_t>(A / threshold);
        }
    }
}

HRESULT CRasterImagePolarTransformation::Activate(IOperationManager*, IDocument* aDocument, IConfig* aConfig,
                                                  IOperationContext*, ZTHWND, uint32_t) {
    return Guard([&]() -> HRESULT {
        ComPtr<IDocumentRasterImage> image = RasterImageOf(aDocument);
        if (!image) return E_FAIL;
        TImageSize canvas{0, 0};
        HRESULT hr = image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);
        if (FAILED(hr)) return hr;
        if (canvas.nX <= 1 || canvas.nY <= 1) return S_FALSE;
        const int32_t direction = Schema().Read(aConfig, &SPolarSettings::direction);
        const size_t count = size_t(canvas.nX) * canvas.nY;
        std::vector<TPixelChannel> source(count), target(count);
        const TImagePoint origin{0, 0};
        const TImageStride stride{1, canvas.nX};
        hr = image->TileGet(CHANNEL_COLOR, &origin, &canvas, &stride, static_cast<uint32_t>(count), source.data(),
                            nullptr, ACCESS_MODE);
        if (FAILED(hr)) return hr;
        PolarTransform(source.data(), canvas.nX, canvas.nY, direction, target.data());
        return image->TileSet(CHANNEL_COLOR, &origin, &canvas, &stride, static_cast<uint32_t>(count), target.data(), 0);
    });
}

HRESULT CRasterImagePolarTransformation::Name(IOperationManager*, IConfig* aConfig, ILocalizedString** aName) {
    return GuardOut(aName, [&] {
        if (!aConfig) return HandOut(MultiLanguage(u"[0409]Polar transformation[0405]Polární transformace"), aName);
        return HandOut(MultiLanguage(Schema().Read(aConfig, &SPolarSettings::direction) == 1 ? kToPolar : kToCartesian),
                       aName);
    });
}

}  // namespace zt

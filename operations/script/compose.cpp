#include "operations/script/compose.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "operations/script/compose_kernels.h"

namespace zt {

namespace {

// The image of an object a script passed: its document's image feature, or null.
template <class I>
ComPtr<I> ImageOf(const TVariant& aValue) {
    const TVariant& v = aValue.vt == VT_VARIANT && aValue.pvarVal ? *aValue.pvarVal : aValue;
    if ((v.vt != VT_DISPATCH && v.vt != VT_UNKNOWN) || !v.punkVal) return nullptr;
    ComPtr<IDocument> document;
    v.punkVal->QueryInterface(IDocument::iid, document.out());
    ComPtr<I> image;
    if (document) document->QueryFeatureInterface(I::iid, image.out());
    return image;
}

// A float parameter: doubles and floats as they are, anything else converted; aDefault when
// it cannot be.
float FloatParameter(const TVariant& aParameter, bool* aGiven) {
    CVariant f;
    *aGiven = SUCCEEDED(VariantConvert(aParameter, VT_R4, f.out()));
    return *aGiven ? f.Raw().fltVal : 0.0f;
}

// The light of the bump maps: "x,y,z" text, or the bytes of an integer, or the default.
void LightOf(const TVariant& aParameter, float* aLight) {
    aLight[0] = -0.4f, aLight[1] = 0.4f, aLight[2] = std::sqrt(0.67999995f);
    const TVariant& p = aParameter.vt == VT_VARIANT && aParameter.pvarVal ? *aParameter.pvarVal : aParameter;
    if (p.vt == VT_BSTR) {
        std::string text;
        for (char16_t c : ZTStrView(p.bstrVal)) text += c < 128 ? char(c) : '?';
        std::sscanf(text.c_str(), "%f,%f,%f", &aLight[0], &aLight[1], &aLight[2]);
        return;
    }
    CVariant bits;
    if (FAILED(VariantConvert(p, VT_I4, bits.out()))) return;
    const uint32_t b = uint32_t(bits.Raw().lVal);
    for (int i = 0; i < 3; ++i) aLight[i] = float((b >> (8 * i)) & 255) / 127.0f - 1.0f;
}

// The environment map of normal reflection, read whole; empty without one.
std::vector<uint32_t> Environment(const TVariant& aParameter, TImageSize* aSize) {
    ComPtr<IDocumentImage> image = ImageOf<IDocumentImage>(aParameter);
    *aSize = {0, 0};
    if (!image || FAILED(image->CanvasGet(aSize, nullptr, nullptr, nullptr, nullptr))) return {};
    const uint64_t count = uint64_t(aSize->nX) * aSize->nY;
    if (count == 0 || count > UINT32_MAX) return {};
    std::vector<uint32_t> pixels(count);
    const TImagePoint origin{0, 0};
    if (FAILED(image->TileGet(CHANNEL_COLOR, &origin, aSize, nullptr, uint32_t(count),
                              reinterpret_cast<TPixelChannel*>(pixels.data()), nullptr, ACCESS_MODE)))
        return {};
    return pixels;
}

void Apply(uint32_t aMode, uint32_t* D, uint32_t* S, uint32_t w, uint32_t h, const TVariant& aParameter) {
    const size_t count = size_t(w) * h;
    if (IsPixelOperator(aMode)) {
        ComposePixels(aMode, D, S, count);
        return;
    }
    bool given = false;
    switch (aMode) {
        case OpHeightBumpmap: HeightToNormal(S, S, w, h, 256); [[fallthrough]];
        case OpNormalBumpmap: {
            float light[3];
            LightOf(aParameter, light);
            Bumpmap(D, S, count, light[0], light[1], light[2]);
            break;
        }
        case OpMapChannels: {
            CVariant code;
            if (SUCCEEDED(VariantConvert(aParameter, VT_I4, code.out())))
                MapChannelPixels(D, S, count, uint32_t(code.Raw().lVal));
            break;
        }
        case OpHeightDisplace: HeightToNormal(S, S, w, h, 256); [[fallthrough]];
        case OpNormalDisplace: {
            const float p = FloatParameter(aParameter, &given);
            Displace(D, S, w, h, given ? p * 0.025f : 1.25f);
            break;
        }
        case OpHeightToNormal: {
            const float p = FloatParameter(aParameter, &given);
            const float scaled = p * 256.0f;
            const int64_t scale = !given ? 256 : scaled == scaled ? int64_t(std::clamp(scaled, -1e9f, 1e9f)) : 0;
            HeightToNormal(S, D, w, h, scale);
            break;
        }
        case OpNormalReflection: {
            TImageSize size;
            const std::vector<uint32_t> environment = Environment(aParameter, &size);
            if (!environment.empty()) NormalReflection(D, S, w, h, environment.data(), size.nX, size.nY);
            break;
        }
        default: break;
    }
}

}  // namespace

HRESULT ComposeRectangle(IDocument* aTarget, int32_t aX1, int32_t aY1, int32_t aX2, int32_t aY2,
                         const TVariant& aSource, int32_t aSourceX, int32_t aSourceY, const TVariant& aFill,
                         uint32_t aMode, const TVariant& aParameter) {
    ComPtr<IDocumentRasterImage> image;
    if (aTarget) aTarget->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    if (!image) return E_INVALIDARG;
    TImageSize canvas{0, 0};
    image->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);
    const auto clip = [](int32_t aValue, uint32_t aEnd) { return uint32_t(std::clamp<int64_t>(aValue, 0, aEnd)); };
    const uint32_t x1 = clip(aX1, canvas.nX), y1 = clip(aY1, canvas.nY), x2 = clip(aX2, canvas.nX),
                   y2 = clip(aY2, canvas.nY);
    if (x1 >= x2 || y1 >= y2) return S_FALSE;
    const uint32_t w = x2 - x1, h = y2 - y1;
    const size_t count = size_t(w) * h;
    std::vector<uint32_t> D(count), S(count);
    const TImagePoint at{int32_t(x1), int32_t(y1)};
    const TImageSize size{w, h};
    HRESULT hr = image->TileGet(CHANNEL_COLOR, &at, &size, nullptr, uint32_t(count),
                                reinterpret_cast<TPixelChannel*>(D.data()), nullptr, ACCESS_MODE);
    if (FAILED(hr)) return hr;

    CVariant fill;
    const bool filled = SUCCEEDED(VariantConvert(aFill, VT_UI4, fill.out()));
    if (filled) {
        // The script's colour has red low: exchange red and blue for the packed pixel.
        const uint32_t c = fill.Raw().ulVal;
        std::fill(S.begin(), S.end(), (c & 0xFF00FF00u) | (c & 255) << 16 | ((c >> 16) & 255));
    }
    ComPtr<IDocumentImage> source = ImageOf<IDocumentImage>(aSource);
    TImageSize sourceSize{0, 0};
    if (source) source->CanvasGet(&sourceSize, nullptr, nullptr, nullptr, nullptr);
    const uint32_t Ws = sourceSize.nX, Hs = sourceSize.nY;
    if (!source || Ws == 0 || Hs == 0) {
        if (!filled) return E_HOST_INVALID_PARAM;
    } else if (!filled) {
        // The source tiles the rectangle from the unclipped corner, in unsigned arithmetic.
        const TImageStride stride{1, w};
        for (uint32_t y = y1; y < y2;) {
            const uint32_t sy = (y - uint32_t(aY1) + uint32_t(aSourceY)) % Hs;
            const uint32_t band = std::min(y2 - y, Hs - sy);
            for (uint32_t x = x1; x < x2;) {
                const uint32_t sx = (x - uint32_t(aX1) + uint32_t(aSourceX)) % Ws;
                const uint32_t width = std::min(x2 - x, Ws - sx);
                const TImagePoint from{int32_t(sx), int32_t(sy)};
                const TImageSize tile{width, band};
                const size_t offset = size_t(y - y1) * w + (x - x1);
                source->TileGet(CHANNEL_COLOR, &from, &tile, &stride, uint32_t(count - offset),
                                reinterpret_cast<TPixelChannel*>(S.data() + offset), nullptr, ACCESS_MODE);
                x += width;
            }
            y += band;
        }
    } else {
        // With a fill, the source covers what it has of the rectangle and the fill the rest.
        const int64_t sx1 = int64_t(x1) - aX1 + aSourceX, sy1 = int64_t(y1) - aY1 + aSourceY;
        const int64_t cx1 = std::max<int64_t>(sx1, 0), cy1 = std::max<int64_t>(sy1, 0);
        const int64_t cx2 = std::min<int64_t>(sx1 + w, Ws), cy2 = std::min<int64_t>(sy1 + h, Hs);
        if (cx1 < cx2 && cy1 < cy2) {
            const TImagePoint from{int32_t(cx1), int32_t(cy1)};
            const TImageSize part{uint32_t(cx2 - cx1), uint32_t(cy2 - cy1)};
            const TImageStride stride{1, w};
            const size_t offset = size_t(cy1 - sy1) * w + size_t(cx1 - sx1);
            source->TileGet(CHANNEL_COLOR, &from, &part, &stride, uint32_t(count - offset),
                            reinterpret_cast<TPixelChannel*>(S.data() + offset), nullptr, ACCESS_MODE);
        }
    }
    if (aMode > OpNormalReflection) return E_INVALIDARG;
    Apply(aMode, D.data(), S.data(), w, h, aParameter);
    return image->TileSet(CHANNEL_COLOR, &at, &size, nullptr, uint32_t(count),
                          reinterpret_cast<const TPixelChannel*>(D.data()), 1);
}

}  // namespace zt

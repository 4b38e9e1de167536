#include "operations/script/scripted_raster_image.h"

#include <algorithm>
#include <cmath>
#include <new>

#include "frame/boundary.h"
#include "frame/object.h"

namespace zt {

// ---- HLS of stored bytes

namespace {

struct SRGB {
    float r, g, b, M, m;
};
SRGB Channels(TPixelChannel aPixel) {
    SRGB c{aPixel.bR * 0.003921569f, aPixel.bG * 0.003921569f, aPixel.bB * 0.003921569f, 0, 0};
    c.M = std::max({c.r, c.g, c.b});
    c.m = std::min({c.r, c.g, c.b});
    return c;
}

float HueChannel(float aM1, float aM2, float aH) {
    float h = aH + 360.0f;
    h = h - std::trunc(h / 360.0f) * 360.0f;
    if (h < 60.0f) return aM1 + (aM2 - aM1) * h / 60.0f;
    if (h < 180.0f) return aM2;
    if (h < 240.0f) return aM1 + (aM2 - aM1) * (240.0f - h) / 60.0f;
    return aM1;
}

uint8_t Byte(float aValue) {
    const float v = std::clamp(aValue, 0.0f, 1.0f) * 255.0f;
    return v == v ? static_cast<uint8_t>(v) : 0;  // truncated, no rounding term
}

}  // namespace

float PixelLightness(TPixelChannel aPixel) {
    const SRGB c = Channels(aPixel);
    return (c.M + c.m) * 0.5f;
}

float PixelSaturation(TPixelChannel aPixel) {
    const SRGB c = Channels(aPixel);
    if (c.M == c.m) return 0.0f;
    float t = c.M + c.m;
    if (t * 0.5f > 0.5f) t = 2.0f - c.M - c.m;
    return (c.M - c.m) / t;
}

float PixelHue(TPixelChannel aPixel) {
    const SRGB c = Channels(aPixel);
    if (c.M == c.m) return 0.0f;
    const float d = c.M - c.m;
    const float rc = (c.M - c.r) / d, gc = (c.M - c.g) / d, bc = (c.M - c.b) / d;
    float h = c.r == c.M ? bc - gc : c.g == c.M ? rc + 2.0f - bc : gc + 4.0f - rc;
    h = h * 60.0f;
    return h - std::trunc(h / 360.0f) * 360.0f;
}

TPixelChannel PixelFromHLS(TPixelChannel aPixel, float aH, float aL, float aS) {
    const float m2 = aL <= 0.5f ? aL + aL * aS : aL + aS - aL * aS;
    const float m1 = 2.0f * aL - m2;
    TPixelChannel out = aPixel;
    if (aS == 0.0f) {
        out.bR = out.bG = out.bB = Byte(aL);
    } else {
        out.bR = Byte(HueChannel(m1, m2, aH + 120.0f));
        out.bG = Byte(HueChannel(m1, m2, aH));
        out.bB = Byte(HueChannel(m1, m2, aH - 120.0f));
    }
    return out;
}

// ---- the object

ComPtr<IScriptedRasterImage> CScriptedRasterImage::Create(IDocument* aDocument, IDocumentRasterImage* aImage) {
    auto* object = new CScriptedRasterImage();
    object->Init(aDocument, aImage);
    ComPtr<IScriptedRasterImage> held(object);
    object->Release();  // the holder has the reference now
    return held;
}

CScriptedRasterImage::CScriptedRasterImage() { ModuleLock(); }
CScriptedRasterImage::~CScriptedRasterImage() { ModuleUnlock(); }

void CScriptedRasterImage::Init(IDocument* aDocument, IDocumentRasterImage* aImage) {
    document_ = aDocument;
    image_ = aImage;
}

uint32_t CScriptedRasterImage::AddRef() { return ++refs_; }
uint32_t CScriptedRasterImage::Release() {
    const uint32_t r = --refs_;
    if (r == 0) delete this;
    return r;
}

HRESULT CScriptedRasterImage::QueryInterface(const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    if (aIID == IUnknown::iid || aIID == IDispatch::iid || aIID == IScriptedRasterImage::iid) {
        *aOut = static_cast<IScriptedRasterImage*>(this);
        AddRef();
        return S_OK;
    }
    // The document answers for itself.
    if (aIID == IDocument::iid && document_) return document_->QueryInterface(aIID, aOut);
    return E_NOINTERFACE;
}

HRESULT CScriptedRasterImage::GetTypeInfoCount(uint32_t* aCount) {
    if (!aCount) return E_POINTER;
    *aCount = 0;  // the type library is data of the module, not a type-information object
    return S_OK;
}

HRESULT CScriptedRasterImage::GetTypeInfo(uint32_t, uint32_t, void** aInfo) {
    if (aInfo) *aInfo = nullptr;
    return E_NOTIMPL;
}

HRESULT CScriptedRasterImage::GetIDsOfNames(const IID&, const char16_t* const* aNames, uint32_t aCount, uint32_t,
                                            int32_t* aIds) {
    return DispatchIDsOfNames(ScriptedRasterImageType(), aNames, aCount, aIds);
}

namespace {

using CImage = CScriptedRasterImage;

uint32_t U(const SInvocation& aCall, size_t aIndex) { return aCall.args[aIndex].Raw().ulVal; }
int32_t I(const SInvocation& aCall, size_t aIndex) { return aCall.args[aIndex].Raw().lVal; }
uint8_t B(const SInvocation& aCall, size_t aIndex) { return aCall.args[aIndex].Raw().bVal; }
float F(const SInvocation& aCall, size_t aIndex) { return aCall.args[aIndex].Raw().fltVal; }

// A getter of one pixel in one of its forms.
template <TVariant (*Form)(TPixelChannel)>
HRESULT Get(CImage& aImage, SInvocation& aCall) {
    TPixelChannel p{};
    const HRESULT hr = aImage.ReadPixel(aCall, &p);
    if (SUCCEEDED(hr)) GiveResult(aCall, Form(p));
    return hr;
}

// A setter of some bytes of one pixel: read, change, write; a failed read writes nothing.
template <void (*Change)(TPixelChannel&, const SInvocation&)>
HRESULT Set(CImage& aImage, SInvocation& aCall) {
    TPixelChannel p{};
    const HRESULT hr = aImage.ReadPixel(aCall, &p);
    if (FAILED(hr)) return hr;
    Change(p, aCall);
    return aImage.WritePixel(aCall, p);
}

// A read-only property of a constant value.
template <uint32_t Value>
HRESULT Constant(CImage&, SInvocation& aCall) {
    GiveResult(aCall, VariantOfUnsigned(Value));
    return S_OK;
}

// A resolution property: X and Y numerator and denominator by their place, Z and W none.
template <int Which>
HRESULT ResolutionOf(CImage& aImage, SInvocation& aCall) {
    TImageResolution r{100, 254, 100, 254};
    if (Which >= 4) {
        GiveResult(aCall, VariantOfUnsigned(0));
        return S_OK;
    }
    if (FAILED(aImage.Resolution(&r))) return E_UNEXPECTED;
    const uint32_t values[4] = {r.nNumeratorX, r.nDenominatorX, r.nNumeratorY, r.nDenominatorY};
    GiveResult(aCall, VariantOfUnsigned(values[Which]));
    return S_OK;
}

const SMemberBinding<CImage> kMembers[] = {
    {1, Get<+[](TPixelChannel p) { return VariantOfUnsigned(p.bR | uint32_t(p.bG) << 8 | uint32_t(p.bB) << 16); }>},
    {2, Get<+[](TPixelChannel p) { return VariantOfUnsigned(p.bA); }>},
    {3, Get<+[](TPixelChannel p) { return VariantOfUnsigned(p.bR); }>},
    {4, Get<+[](TPixelChannel p) { return VariantOfUnsigned(p.bG); }>},
    {5, Get<+[](TPixelChannel p) { return VariantOfUnsigned(p.bB); }>},
    {6, Get<+[](TPixelChannel p) { return VariantOfUnsigned(p.n); }>},
    {7, Set<+[](TPixelChannel& p, const SInvocation& c) {
         const uint32_t colour = U(c, 4);  // red low, as the script's colour form has it
         p.bR = uint8_t(colour), p.bG = uint8_t(colour >> 8), p.bB = uint8_t(colour >> 16);
     }>},
    {8, Set<+[](TPixelChannel& p, const SInvocation& c) { p.bA = B(c, 4); }>},
    {9, Set<+[](TPixelChannel& p, const SInvocation& c) { p.bR = B(c, 4); }>},
    {10, Set<+[](TPixelChannel& p, const SInvocation& c) { p.bG = B(c, 4); }>},
    {11, Set<+[](TPixelChannel& p, const SInvocation& c) { p.bB = B(c, 4); }>},
    {12,
     [](CImage& aImage, SInvocation& aCall) {
         TPixelChannel p;
         p.n = U(aCall, 4);
         return aImage.WritePixel(aCall, p);  // the one setter that does not read first
     }},
    {13,
     [](CImage& aImage, SInvocation& aCall) {
         GiveResult(aCall, VariantOfUnsigned(aImage.Canvas().nX));
         return S_OK;
     }},
    {14,
     [](CImage& aImage, SInvocation& aCall) {
         GiveResult(aCall, VariantOfUnsigned(aImage.Canvas().nY));
         return S_OK;
     }},
    {15, Constant<1>},
    {16, Constant<1>},
    {17, [](CImage& aImage, SInvocation& aCall) { return aImage.FillResize(aCall, 0); }},
    {18, Get<+[](TPixelChannel p) { return VariantOf(PixelHue(p)); }>},
    {19, Get<+[](TPixelChannel p) { return VariantOf(PixelLightness(p)); }>},
    {20, Get<+[](TPixelChannel p) { return VariantOf(PixelSaturation(p)); }>},
    {21, Set<+[](TPixelChannel& p, const SInvocation& c) { p = PixelFromHLS(p, F(c, 4), F(c, 5), F(c, 6)); }>},
    {22,
     [](CImage&, SInvocation& aCall) {
         GiveResult(aCall, VariantOf(true));
         return S_OK;
     }},
    {23, [](CImage&, SInvocation& aCall) { return aCall.args[0].Raw().boolVal ? S_OK : E_FAIL; }},
    {24, [](CImage& aImage, SInvocation& aCall) { return aImage.FillResize(aCall, U(aCall, 8)); }},
    {25, ResolutionOf<0>},
    {26, ResolutionOf<1>},
    {27, ResolutionOf<2>},
    {28, ResolutionOf<3>},
    {29, ResolutionOf<4>},
    {30, ResolutionOf<4>},
    {31, ResolutionOf<4>},
    {32, ResolutionOf<4>},
    {33,
     [](CImage& aImage, SInvocation& aCall) {
         const TImageResolution r{U(aCall, 0), U(aCall, 1), U(aCall, 2), U(aCall, 3)};
         return aImage.Image()->CanvasSet(nullptr, &r, nullptr, nullptr);
     }},
    {34,
     [](CImage&, SInvocation& aCall) {
         GiveResult(aCall, VariantOf(1.0f));
         return S_OK;
     }},
};

}  // namespace

HRESULT CScriptedRasterImage::Invoke(int32_t aId, const IID&, uint32_t, uint16_t aFlags, TDispParams* aParams,
                                     TVariant* aResult, void*, uint32_t* aArgError) {
    return Guard([&] {
        if (!image_) return E_UNEXPECTED;
        return DispatchInvoke(ScriptedRasterImageType(), aId, aFlags, aParams, aResult, aArgError,
                              [&](SInvocation& aCall) { return CallBinding(kMembers, *this, aCall); });
    });
}

TImageSize CScriptedRasterImage::Canvas() const {
    TImageSize canvas{0, 0};
    image_->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);
    return canvas;
}

HRESULT CScriptedRasterImage::Resolution(TImageResolution* aResolution) const {
    return image_->CanvasGet(nullptr, aResolution, nullptr, nullptr, nullptr);
}

HRESULT CScriptedRasterImage::ReadPixel(const SInvocation& aCall, TPixelChannel* aPixel) const {
    const TImagePoint at{int32_t(U(aCall, 0)), int32_t(U(aCall, 1))};
    const TImageSize one{1, 1};
    return image_->TileGet(CHANNEL_COLOR, &at, &one, nullptr, 1, aPixel, nullptr, ACCESS_MODE);
}

HRESULT CScriptedRasterImage::WritePixel(const SInvocation& aCall, TPixelChannel aPixel) const {
    const TImagePoint at{int32_t(U(aCall, 0)), int32_t(U(aCall, 1))};
    const TImageSize one{1, 1};
    return image_->TileSet(CHANNEL_COLOR, &at, &one, nullptr, 1, &aPixel, 1);
}

HRESULT CScriptedRasterImage::FillResize(const SInvocation& aCall, uint32_t aFill) const {
    TImageSize canvas{0, 0};
    image_->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr);
    const int64_t sizeX = U(aCall, 0), sizeY = U(aCall, 1);
    const int64_t offsetX = I(aCall, 4), offsetY = I(aCall, 5);
    const int64_t right = int64_t(canvas.nX) + offsetX, bottom = int64_t(canvas.nY) + offsetY;
    const TImageSize size{uint32_t(sizeX), uint32_t(sizeY)};
    const TMatrix3x3f move = {{1, 0, 0, 0, 1, 0, float(offsetX), float(offsetY), 1}};
    const HRESULT result = image_->CanvasSet(&size, nullptr, &move, nullptr);

    // The strips the old image leaves uncovered.
    struct SStrip {
        int64_t x, y, w, h;
    };
    std::vector<SStrip> strips;
    if (bottom > 0 && right >= 1 && offsetY < sizeY && offsetX < sizeX) {
        int64_t t = 0, b = sizeY;
        if (offsetY > 0) {
            strips.push_back({0, 0, sizeX, offsetY});
            t = offsetY;
        }
        if (bottom < sizeY) {
            strips.push_back({0, bottom, sizeX, sizeY - bottom});
            b = bottom;
        }
        if (offsetX > 0) strips.push_back({0, t, offsetX, b - t});
        if (right < sizeX) strips.push_back({right, t, sizeX - right, b - t});
    } else {
        strips.push_back({0, 0, sizeX, sizeY});
    }
    TPixelChannel fill;
    fill.n = aFill;
    const TImageStride none{0, 0};
    for (const SStrip& s : strips) {
        if (s.w <= 0 || s.h <= 0) continue;
        const TImagePoint at{int32_t(s.x), int32_t(s.y)};
        const TImageSize extent{uint32_t(s.w), uint32_t(s.h)};
        image_->TileSet(CHANNEL_COLOR, &at, &extent, &none, 1, &fill, 1);  // failures are ignored
    }
    return result;
}

}  // namespace zt

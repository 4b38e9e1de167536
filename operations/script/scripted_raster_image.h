// The script's window on one raster image: each call goes straight to the document, pixel by
// pixel, with no commit step. Answers for IDocument by forwarding, so a script can hand it on
// wherever a document is wanted.
#pragma once

#include <atomic>

#include "frame/automation.h"
#include "frame/host.h"
#include "operations/script/type_library.h"

struct IScriptedRasterImage : IDispatch {
    ZT_IID("4f1c7a52-8b3e-4d6a-9e21-6c0d5b3a7f18");
};

namespace zt {

class CScriptedRasterImage final : public IScriptedRasterImage {
public:
    // A new object bound to a document and its raster image feature; throws std::bad_alloc.
    static ComPtr<IScriptedRasterImage> Create(IDocument* aDocument, IDocumentRasterImage* aImage);

    HRESULT QueryInterface(const IID& aIID, void** aOut) override;
    uint32_t AddRef() override;
    uint32_t Release() override;

    HRESULT GetTypeInfoCount(uint32_t* aCount) override;
    HRESULT GetTypeInfo(uint32_t, uint32_t, void** aInfo) override;
    HRESULT GetIDsOfNames(const IID& aIID, const char16_t* const* aNames, uint32_t aCount, uint32_t aLocale,
                          int32_t* aIds) override;
    HRESULT Invoke(int32_t aId, const IID& aIID, uint32_t aLocale, uint16_t aFlags, TDispParams* aParams,
                   TVariant* aResult, void* aException, uint32_t* aArgError) override;

    // What the members are made of: one pixel read and written at the call's position, the
    // canvas resized with its uncovered strips filled, the canvas size and resolution.
    HRESULT ReadPixel(const SInvocation& aCall, TPixelChannel* aPixel) const;
    HRESULT WritePixel(const SInvocation& aCall, TPixelChannel aPixel) const;
    HRESULT FillResize(const SInvocation& aCall, uint32_t aFill) const;
    TImageSize Canvas() const;
    HRESULT Resolution(TImageResolution* aResolution) const;
    IDocumentRasterImage* Image() const { return image_; }

private:
    CScriptedRasterImage();
    ~CScriptedRasterImage();
    void Init(IDocument* aDocument, IDocumentRasterImage* aImage);

    std::atomic<uint32_t> refs_{1};
    ComPtr<IDocument> document_;
    ComPtr<IDocumentRasterImage> image_;
};

// The HLS of a pixel as the scripts see it: from the stored bytes, in float; the hue wraps by
// truncation only, so a negative one stays negative.
float PixelHue(TPixelChannel aPixel);
float PixelLightness(TPixelChannel aPixel);
float PixelSaturation(TPixelChannel aPixel);
// The bytes of a hue, lightness and saturation, alpha kept from aPixel.
TPixelChannel PixelFromHLS(TPixelChannel aPixel, float aH, float aL, float aS);

}  // namespace zt

// What most operations share: the filter answers of a pixel-local operation, the empty
// descriptor, and the usual CanActivate rule.
#pragma once

#include "frame/operation.h"

namespace zt {

// A pixel-local operation: nothing to rewrite, no dirty-rectangle growth, no geometry.
class CTrivialRasterImageFilter : public IRasterImageFilter {
public:
    HRESULT Transform(IConfig*, const TImageSize*, const TMatrix3x3f*) override { return S_FALSE; }
    HRESULT AdjustDirtyRect(IConfig*, const TImageSize*, TRasterImageRect*) override { return S_FALSE; }
    HRESULT NeededToCompute(IConfig*, const TImageSize*, TRasterImageRect*) override { return S_FALSE; }
    HRESULT CopyTransformed(IDocument*, IConfig*, IDocumentBase*, const char16_t*) override { return E_NOTIMPL; }
    HRESULT GetTransform(IConfig*, const TImageSize*, TMatrix3x3f*) override { return S_FALSE; }
};

class CConfigDescriptorImpl : public IConfigDescriptor {
public:
    HRESULT Name(IOperationManager*, IConfig*, ILocalizedString**) override { return E_NOTIMPL; }
    HRESULT Reserved2() override { return E_NOTIMPL; }
    HRESULT PreviewIconID(IOperationManager*, IConfig*, GUID*) override { return E_NOTIMPL; }
    HRESULT PreviewIcon(IOperationManager*, IConfig*, uint32_t, ZTHICON*) override { return E_NOTIMPL; }
    HRESULT Reserved5() override { return E_NOTIMPL; }
    HRESULT Reserved6() override { return E_NOTIMPL; }
    HRESULT Reserved7() override { return E_NOTIMPL; }
};

// S_OK when the document has the raster image feature; a null document is S_FALSE.
inline HRESULT CanActivateOnRasterImage(IDocument* aDocument) {
    if (!aDocument) return S_FALSE;
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    return image ? S_OK : S_FALSE;
}

}  // namespace zt

// What every operation shares: the filter answers of a pixel-local operation, the empty
// descriptor, the usual CanActivate rule, and the base that makes an operation of a class
// name id and a schema.
#pragma once

#include <cmath>
#include <type_traits>

#include "frame/boundary.h"
#include "frame/schema.h"
#include "frame/text.h"

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

// The nickname answers of IOperationSchema from a schema.
HRESULT NicknameOf(const CSchemaBase& aSchema, const char16_t* aKey, const TConfigValue* aValue, ZTBSTR* aNickname);
HRESULT OptionValueOf(const CSchemaBase& aSchema, const char16_t* aKey, const char16_t* aNickname,
                      TConfigValue* aValue);

// The raster image of a document, or null.
ComPtr<IDocumentRasterImage> RasterImageOf(IDocument* aDocument);

// S_OK when the document has the raster image feature; a null document is S_FALSE.
inline HRESULT CanActivateOnRasterImage(IDocument* aDocument) {
    if (!aDocument) return S_FALSE;
    ComPtr<IDocumentRasterImage> image;
    aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    return image ? S_OK : S_FALSE;
}

// Holds a document's write lock for a scope, however the scope is left.
class CWriteBlock {
public:
    explicit CWriteBlock(IBlockOperations* aDocument) : document_(aDocument) {}
    CWriteBlock(const CWriteBlock&) = delete;
    CWriteBlock& operator=(const CWriteBlock&) = delete;
    HRESULT Begin() {
        const HRESULT hr = document_->WriteLock();
        locked_ = SUCCEEDED(hr);
        return hr;
    }
    ~CWriteBlock() {
        if (locked_) document_->WriteUnlock();
    }

private:
    IBlockOperations* document_;
    bool locked_ = false;
};

// The axis scales of a Transform matrix and their geometric mean; a mean this close to 1
// leaves the settings as they are.
struct SMatrixScale {
    float sx, sy, s;
};
inline SMatrixScale MatrixScale(const TMatrix3x3f& m) {
    const float sx = std::sqrt(m.m[0] * m.m[0] + m.m[3] * m.m[3]);
    const float sy = std::sqrt(m.m[1] * m.m[1] + m.m[4] * m.m[4]);
    return {sx, sy, std::sqrt(sx * sy)};
}
inline bool IsUnitScale(float s) { return s > 0.9999f && s < 1.0001f; }

// The interfaces an operation answers besides IDocumentOperation, IConfigDescriptor and
// IOperationSchema; IRasterImageFilter comes with the answers of a pixel-local operation,
// which the operation overrides where it has more to say.
template <class I>
struct SInterfaceBase {
    using type = I;
};
template <>
struct SInterfaceBase<IRasterImageFilter> {
    using type = CTrivialRasterImageFilter;
};

// The base of an operation class Self, which gives:
//   static constexpr CLSID classId;
//   static constexpr uint32_t nameId;          // its string-table name
//   static const CSchemaBase& Schema();        // its one schema table
// and overrides Activate, the descriptor's Name and what else it has. NameGet, ConfigCreate,
// the usual CanActivate and the option nicknames come from here.
template <class Self, class... Interfaces>
class COperation : public IDocumentOperation,
                   public CConfigDescriptorImpl,
                   public IOperationSchema,
                   public SInterfaceBase<Interfaces>::type... {
public:
    void* FindInterfaceImpl(const IID& aIID) {
        return FindInterface<IDocumentOperation, Interfaces..., IConfigDescriptor, IOperationSchema>(this, aIID);
    }

    HRESULT NameGet(IOperationManager*, ILocalizedString** aName) override {
        return NameFromTable(Self::nameId, aName);
    }
    HRESULT ConfigCreate(IOperationManager* aManager, IConfig** aConfig) override {
        return ConfigFromSchema(aManager, Self::Schema().Items(), aConfig);
    }
    HRESULT CanActivate(IOperationManager*, IDocument* aDocument, IConfig*, IOperationContext*) override {
        return CanActivateOnRasterImage(aDocument);
    }

    HRESULT OptionNickname(const char16_t* aKey, const TConfigValue* aValue, ZTBSTR* aNickname) override {
        return NicknameOf(Self::Schema(), aKey, aValue, aNickname);
    }
    HRESULT OptionByNickname(const char16_t* aKey, const char16_t* aNickname, TConfigValue* aValue) override {
        return OptionValueOf(Self::Schema(), aKey, aNickname, aValue);
    }
};

}  // namespace zt

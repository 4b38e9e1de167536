#include "frame/operation_base.h"

namespace zt {

HRESULT NicknameOf(const CSchemaBase& aSchema, const char16_t* aKey, const TConfigValue* aValue, ZTBSTR* aNickname) {
    if (!aNickname) return E_POINTER;
    *aNickname = nullptr;
    if (!aKey || !aValue) return E_HOST_INVALID_PARAM;
    const char* nickname = aSchema.OptionNickname(ZTStrView(aKey), *aValue);
    if (!nickname) return S_FALSE;
    *aNickname = ZTStrAlloc(Utf8ToUtf16(nickname));
    return *aNickname ? S_OK : E_OUTOFMEMORY;
}

HRESULT OptionValueOf(const CSchemaBase& aSchema, const char16_t* aKey, const char16_t* aNickname,
                      TConfigValue* aValue) {
    if (!aValue) return E_POINTER;
    if (!aKey || !aNickname) return E_HOST_INVALID_PARAM;
    const SSchemaOption* option = aSchema.OptionByNickname(ZTStrView(aKey), Utf16ToUtf8(ZTStrView(aNickname)));
    if (!option) return E_HOST_ITEM_NOT_FOUND;
    ConfigValueClear(*aValue);
    const SSchemaValue& v = option->value;
    aValue->eTypeID = v.type;
    switch (v.type) {
        case ECVTInteger: aValue->iVal = v.i; break;
        case ECVTFloat: aValue->fVal = v.f[0]; break;
        case ECVTBool: aValue->bVal = v.b; break;
        case ECVTGUID: aValue->guidVal = v.g; break;
        default: aValue->eTypeID = ECVTEmpty; return E_FAIL;  // options of other types have no nicknames
    }
    return S_OK;
}

ComPtr<IDocumentRasterImage> RasterImageOf(IDocument* aDocument) {
    ComPtr<IDocumentRasterImage> image;
    if (aDocument) aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    return image;
}

}  // namespace zt

#include "host/text.h"

#include <atomic>
#include <utility>

#include "host/zthost.h"

namespace zthost {
namespace {

class CText final : public ILocalizedString {
public:
    CText(std::u16string aEnglish, std::u16string aCzech) : english_(std::move(aEnglish)), czech_(std::move(aCzech)) {}

    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = FindInterface<ILocalizedString>(this, aIID);
        if (!*aOut) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    uint32_t AddRef() override { return ++refs_; }
    uint32_t Release() override {
        uint32_t r = --refs_;
        if (r == 0) delete this;
        return r;
    }

    HRESULT Get(ZTBSTR* aText) override { return GetLocalized(Language(), aText); }
    HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) override {
        if (!aText) return E_POINTER;
        *aText = ZTStrAlloc((aLanguage & 0xFFFF) == LANG_CZECH ? czech_ : english_);
        return *aText ? S_OK : E_OUTOFMEMORY;
    }

private:
    std::atomic<uint32_t> refs_{0};
    std::u16string english_, czech_;
};

}  // namespace

ComPtr<ILocalizedString> MakeText(std::u16string aEnglish, std::u16string aCzech) {
    return ComPtr<ILocalizedString>(new CText(std::move(aEnglish), std::move(aCzech)));
}

}  // namespace zthost

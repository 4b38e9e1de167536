// A translated format filled with two numbers when it is shown ("Adjust size by %i, %i").
#pragma once

#include "frame/object.h"
#include "frame/text.h"

namespace zt {

class CTwoNumbersText : public CLocalizedStringBase {
public:
    CTwoNumbersText(ComPtr<ILocalizedString> aFormat, int32_t aFirst, int32_t aSecond)
        : format_(std::move(aFormat)), first_(aFirst), second_(aSecond) {}
    HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) override {
        if (!aText) return E_POINTER;
        *aText = nullptr;
        ZTBSTR format = nullptr;
        HRESULT hr = format_->GetLocalized(aLanguage, &format);
        if (FAILED(hr)) return hr;
        const SFormatArg args[2] = {{false, {}, first_}, {false, {}, second_}};
        std::u16string text;
        try {
            text = FormatText(ZTStrView(format), args, 2);
        } catch (...) {
            ZTStrFree(format);
            return E_OUTOFMEMORY;
        }
        ZTStrFree(format);
        *aText = ZTStrAlloc(text);
        return *aText ? S_OK : E_OUTOFMEMORY;
    }

private:
    ComPtr<ILocalizedString> format_;
    int32_t first_, second_;
};

inline ComPtr<ILocalizedString> TwoNumbers(std::u16string_view aFormat, int32_t aFirst, int32_t aSecond) {
    ComPtr<ILocalizedString> text;
    text.attach(CComObject<CTwoNumbersText>::Create<ILocalizedString>(MultiLanguage(aFormat), aFirst, aSecond));
    return text;
}

}  // namespace zt

// Text that picks its language when it is shown: tagged multi-language literals, plain
// strings, string-table entries and formats combined at the last moment.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "frame/host.h"

namespace zt {

// The language of the calling thread: Czech when the environment's locale is Czech.
uint32_t ThreadLanguage();

// The section of a tagged text ("[0409]English[0405]Czech") for a language, and whether the
// translator should be asked. The scan is the whole rule of CMultiLanguageString.
struct SLanguageSection {
    std::u16string_view text;
    bool translate;
};
SLanguageSection FindLanguageSection(std::u16string_view aText, uint32_t aLanguage);

// The host's translator for texts that lack a language; keeps aText when there is none.
std::u16string Translate(std::u16string_view aText, uint32_t aLanguage);

class CLocalizedStringBase : public ILocalizedString {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ILocalizedString>(this, aIID); }
    HRESULT Get(ZTBSTR* aText) override { return GetLocalized(ThreadLanguage(), aText); }
};

class CMultiLanguageString : public CLocalizedStringBase {
public:
    explicit CMultiLanguageString(std::u16string_view aText) : text_(aText) {}
    HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) override;

private:
    std::u16string text_;
    ComPtr<ITranslator> translator_;  // empty in all constructions: the host's is asked
};

class CSimpleLocalizedString : public CLocalizedStringBase {
public:
    explicit CSimpleLocalizedString(std::u16string_view aText) : text_(aText) {}
    HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) override;

private:
    std::u16string text_;
};

class CSharedStringTable {
public:
    class CStr : public CLocalizedStringBase {
    public:
        explicit CStr(uint32_t aID) : id_(aID) {}
        HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) override;

    private:
        uint32_t id_;
    };
    // The entry for an id in a language with the fall-backs (English, then any language).
    // Returns false when the block or the entry is missing.
    static bool Lookup(uint32_t aID, uint32_t aLanguage, std::u16string_view* aText, bool* aFallBack);
};

class CPrintfLocalizedString : public CLocalizedStringBase {
public:
    void Set(ILocalizedString* aFormat, ILocalizedString* aString);
    void Set(ILocalizedString* aFormat, ILocalizedString* aFirst, ILocalizedString* aSecond);
    // Sets one number and puts the string before it.
    void Set(ILocalizedString* aFormat, ILocalizedString* aString, int32_t aNumber);
    HRESULT GetLocalized(uint32_t aLanguage, ZTBSTR* aText) override;

private:
    ComPtr<ILocalizedString> format_;
    ComPtr<ILocalizedString> first_;
    ComPtr<ILocalizedString> second_;
    int32_t numbers_[3] = {};
    uint32_t numberCount_ = 0;
    bool stringFirst_ = false;
};

// Applies a printf-style format with %s, %i (and %d, %u, %x with flags and width) and %%.
// Arguments are consumed in order; a directive without an argument prints nothing.
struct SFormatArg {
    bool isString;
    std::u16string_view text;
    int32_t number;
};
std::u16string FormatText(std::u16string_view aFormat, const SFormatArg* aArgs, size_t aCount);

// Factories; each throws std::bad_alloc when there is no memory.
ComPtr<ILocalizedString> MultiLanguage(std::u16string_view aText);
ComPtr<ILocalizedString> SimpleText(std::u16string_view aText);
ComPtr<ILocalizedString> TableText(uint32_t aID);
ComPtr<ILocalizedString> Printf(ILocalizedString* aFormat, ILocalizedString* aString, int32_t aNumber);
ComPtr<ILocalizedString> Printf(ILocalizedString* aFormat, ILocalizedString* aString);
ComPtr<ILocalizedString> Printf(ILocalizedString* aFormat, ILocalizedString* aFirst, ILocalizedString* aSecond);

// NameGet of an operation: the string-table entry aID.
HRESULT NameFromTable(uint32_t aID, ILocalizedString** aName);

// Hands a text out through an out argument.
inline HRESULT HandOut(ComPtr<ILocalizedString> aText, ILocalizedString** aOut) {
    *aOut = aText.detach();
    return S_OK;
}

}  // namespace zt

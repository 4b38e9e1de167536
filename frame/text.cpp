#include "frame/text.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/string_table.h"

namespace zt {

uint32_t ThreadLanguage() {
    static const uint32_t language = [] {
        for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
            const char* value = std::getenv(name);
            if (value && *value) return std::string_view(value).substr(0, 2) == "cs" ? LANG_CZECH : LANG_ENGLISH;
        }
        return LANG_ENGLISH;
    }();
    return language;
}

namespace {

// A tag is "[" four hexadecimal digits "]"; returns its language id or -1.
int32_t TagAt(std::u16string_view s, size_t i) {
    if (i + 6 > s.size() || s[i] != u'[' || s[i + 5] != u']') return -1;
    int32_t value = 0;
    for (size_t k = 1; k <= 4; ++k) {
        char16_t c = s[i + k];
        int d = c >= u'0' && c <= u'9'   ? c - u'0'
                : c >= u'a' && c <= u'f' ? c - u'a' + 10
                : c >= u'A' && c <= u'F' ? c - u'A' + 10
                                         : -1;
        if (d < 0) return -1;
        value = value * 16 + d;
    }
    return value;
}

HRESULT CopyOut(std::u16string_view aText, ZTBSTR* aOut) {
    *aOut = ZTStrAlloc(aText);
    return *aOut ? S_OK : E_OUTOFMEMORY;
}

}  // namespace

SLanguageSection FindLanguageSection(std::u16string_view aText, uint32_t aLanguage) {
    constexpr size_t none = std::u16string_view::npos;
    const int32_t wanted = static_cast<int32_t>(aLanguage & 0xFFFF);
    size_t found = none, foundEnd = none;
    size_t english = none, englishEnd = none;
    size_t other = none, otherEnd = none;
    for (size_t i = 0; i < aText.size(); ++i) {
        int32_t tag = TagAt(aText, i);
        if (tag < 0) continue;
        if (tag == wanted || tag == 0) {
            found = i + 6;
        } else if (found != none) {
            foundEnd = i;
            break;
        } else if (tag == static_cast<int32_t>(LANG_ENGLISH)) {
            english = i + 6;
        } else if (english != none) {
            englishEnd = i;
        } else if (other == none) {
            other = i + 6;
        } else if (otherEnd == none) {
            otherEnd = i;
        }
        i += 5;
    }
    auto section = [&](size_t from, size_t to) { return aText.substr(from, to == none ? none : to - from); };
    if (found != none) return {section(found, foundEnd), false};
    if (english != none) return {section(english, englishEnd), true};
    if (other != none) return {section(other, otherEnd), false};
    return {aText, (aLanguage & 0xFFFF) != LANG_ENGLISH};
}

std::u16string Translate(std::u16string_view aText, uint32_t aLanguage) {
    ComPtr<ITranslator> translator = HostCreate<ITranslator>(CLSID_Translator);
    if (!translator) return std::u16string(aText);
    CZTStr source(aText);
    CZTStr result;
    translator->Translate(source, aLanguage, result.out());
    return result.get() ? std::u16string(result.view()) : std::u16string(aText);
}

HRESULT CMultiLanguageString::GetLocalized(uint32_t aLanguage, ZTBSTR* aText) {
    return GuardOut(aText, [&] {
        SLanguageSection s = FindLanguageSection(text_, aLanguage);
        if (!s.translate) return CopyOut(s.text, aText);
        if (translator_) {
            CZTStr source(s.text), result;
            translator_->Translate(source, aLanguage, result.out());
            return CopyOut(result.get() ? result.view() : s.text, aText);
        }
        return CopyOut(Translate(s.text, aLanguage), aText);
    });
}

HRESULT CSimpleLocalizedString::GetLocalized(uint32_t, ZTBSTR* aText) {
    return GuardOut(aText, [&] { return text_.empty() ? S_OK : CopyOut(text_, aText); });
}

bool CSharedStringTable::Lookup(uint32_t aID, uint32_t aLanguage, std::u16string_view* aText, bool* aFallBack) {
    using Block = std::array<std::u16string_view, 16>;
    // (language, block number) -> the block's 16 entries; made once from the table.
    static const std::map<std::pair<uint32_t, uint32_t>, Block> blocks = [] {
        std::map<std::pair<uint32_t, uint32_t>, Block> m;
        for (const SStringEntry& e : StringTable()) {
            m[{LANG_ENGLISH, e.id / 16 + 1}][e.id % 16] = e.english;
            m[{LANG_CZECH, e.id / 16 + 1}][e.id % 16] = e.czech;
        }
        return m;
    }();
    const uint32_t number = aID / 16 + 1;
    *aFallBack = false;
    auto it = blocks.find({aLanguage & 0xFFFF, number});
    if (it == blocks.end()) {
        *aFallBack = true;
        it = blocks.find({LANG_ENGLISH, number});
    }
    if (it == blocks.end()) {
        for (auto i = blocks.begin(); i != blocks.end() && it == blocks.end(); ++i)
            if (i->first.second == number) it = i;
    }
    if (it == blocks.end()) return false;
    std::u16string_view entry = it->second[aID % 16];
    if (entry.empty()) return false;
    *aText = entry;
    return true;
}

HRESULT CSharedStringTable::CStr::GetLocalized(uint32_t aLanguage, ZTBSTR* aText) {
    return GuardOut(aText, [&] {
        std::u16string_view text;
        bool fallBack = false;
        if (!Lookup(id_, aLanguage, &text, &fallBack)) return E_FAIL;
        if (fallBack) return CopyOut(Translate(text, aLanguage), aText);
        return CopyOut(text, aText);
    });
}

void CPrintfLocalizedString::Set(ILocalizedString* aFormat, ILocalizedString* aString) {
    format_ = aFormat;
    first_ = aString;
    second_.reset();
    numberCount_ = 0;
    stringFirst_ = false;
}

void CPrintfLocalizedString::Set(ILocalizedString* aFormat, ILocalizedString* aFirst, ILocalizedString* aSecond) {
    Set(aFormat, aFirst);
    second_ = aSecond;
}

void CPrintfLocalizedString::Set(ILocalizedString* aFormat, ILocalizedString* aString, int32_t aNumber) {
    Set(aFormat, aString);
    numbers_[0] = aNumber;
    numberCount_ = 1;
    stringFirst_ = true;
}

HRESULT CPrintfLocalizedString::GetLocalized(uint32_t aLanguage, ZTBSTR* aText) {
    return GuardOut(aText, [&]() -> HRESULT {
        if (!format_) return E_FAIL;
        CZTStr format, first, second;
        HRESULT hr = format_->GetLocalized(aLanguage, format.out());
        if (FAILED(hr)) return hr;
        if (first_ && FAILED(hr = first_->GetLocalized(aLanguage, first.out()))) return hr;
        if (second_ && FAILED(hr = second_->GetLocalized(aLanguage, second.out()))) return hr;
        const size_t limit = format.view().size() + first.view().size() + second.view().size() + 128;

        SFormatArg args[3];
        size_t count = 0;
        auto text = [](std::u16string_view s) { return SFormatArg{true, s, 0}; };
        auto number = [](int32_t n) { return SFormatArg{false, {}, n}; };
        if (numberCount_ == 0) {
            if (!first_) return CopyOut(format.view(), aText);
            args[count++] = text(first.view());
            args[count++] = text(second.view());
        } else if (first_) {
            if (stringFirst_) {
                args[count++] = text(first.view());
                args[count++] = number(numbers_[0]);
            } else {
                args[count++] = number(numbers_[0]);
                args[count++] = text(first.view());
            }
        } else {
            for (uint32_t i = 0; i < numberCount_; ++i) args[count++] = number(numbers_[i]);
        }
        std::u16string result = FormatText(format.view(), args, count);
        if (result.size() > limit) result.resize(limit);
        return CopyOut(result, aText);
    });
}

std::u16string FormatText(std::u16string_view aFormat, const SFormatArg* aArgs, size_t aCount) {
    std::u16string out;
    size_t next = 0;
    for (size_t i = 0; i < aFormat.size(); ++i) {
        if (aFormat[i] != u'%') {
            out += aFormat[i];
            continue;
        }
        size_t j = i + 1;
        if (j < aFormat.size() && aFormat[j] == u'%') {
            out += u'%';
            i = j;
            continue;
        }
        std::string directive = "%";
        while (j < aFormat.size() && std::u16string_view(u"-+ #0").find(aFormat[j]) != std::u16string_view::npos)
            directive += static_cast<char>(aFormat[j++]);
        while (j < aFormat.size() && aFormat[j] >= u'0' && aFormat[j] <= u'9')
            directive += static_cast<char>(aFormat[j++]);
        if (j >= aFormat.size()) break;
        char16_t conversion = aFormat[j];
        i = j;
        const SFormatArg* arg = next < aCount ? &aArgs[next++] : nullptr;
        if (!arg) continue;
        if (conversion == u's') {
            size_t width =
                directive.size() > 1 ? std::strtoul(directive.c_str() + 1 + (directive[1] == '-'), nullptr, 10) : 0;
            std::u16string_view s = arg->isString ? arg->text : std::u16string_view();
            std::u16string pad(width > s.size() ? width - s.size() : 0, u' ');
            out += directive.find('-') != std::string::npos ? std::u16string(s) + pad : pad + std::u16string(s);
        } else if (conversion == u'i' || conversion == u'd' || conversion == u'u' || conversion == u'x' ||
                   conversion == u'X') {
            directive += static_cast<char>(conversion == u'i' ? 'd' : conversion);
            char buffer[64];
            std::snprintf(buffer, sizeof buffer, directive.c_str(), arg->isString ? 0 : arg->number);
            for (const char* p = buffer; *p; ++p) out += static_cast<char16_t>(*p);
        }
    }
    return out;
}

namespace {
template <class T, class... A>
ComPtr<ILocalizedString> Make(A&&... a) {
    ComPtr<ILocalizedString> p;
    p.attach(CComObject<T>::template Create<ILocalizedString>(std::forward<A>(a)...));
    return p;
}
}  // namespace

ComPtr<ILocalizedString> MultiLanguage(std::u16string_view aText) { return Make<CMultiLanguageString>(aText); }
ComPtr<ILocalizedString> SimpleText(std::u16string_view aText) { return Make<CSimpleLocalizedString>(aText); }
ComPtr<ILocalizedString> TableText(uint32_t aID) { return Make<CSharedStringTable::CStr>(aID); }

ComPtr<ILocalizedString> Printf(ILocalizedString* aFormat, ILocalizedString* aString, int32_t aNumber) {
    auto* p = new CComObject<CPrintfLocalizedString>();
    ComPtr<ILocalizedString> result(static_cast<ILocalizedString*>(p));
    p->Set(aFormat, aString, aNumber);
    return result;
}
ComPtr<ILocalizedString> Printf(ILocalizedString* aFormat, ILocalizedString* aString) {
    auto* p = new CComObject<CPrintfLocalizedString>();
    ComPtr<ILocalizedString> result(static_cast<ILocalizedString*>(p));
    p->Set(aFormat, aString);
    return result;
}
ComPtr<ILocalizedString> Printf(ILocalizedString* aFormat, ILocalizedString* aFirst, ILocalizedString* aSecond) {
    auto* p = new CComObject<CPrintfLocalizedString>();
    ComPtr<ILocalizedString> result(static_cast<ILocalizedString*>(p));
    p->Set(aFormat, aFirst, aSecond);
    return result;
}

HRESULT NameFromTable(uint32_t aID, ILocalizedString** aName) {
    return GuardOut(aName, [&] { return HandOut(TableText(aID), aName); });
}

}  // namespace zt

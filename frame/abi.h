// The component-object ABI shared by the module and any host: result codes, GUIDs,
// IUnknown, a reference holder and length-prefixed UTF-16 strings.
// Header-only on purpose: host and module each compile it, and nothing here needs linking.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string>
#include <string_view>
#include <tuple>

using HRESULT = int32_t;

constexpr HRESULT S_OK = 0;
constexpr HRESULT S_FALSE = 1;
constexpr HRESULT E_NOTIMPL = static_cast<HRESULT>(0x80004001u);
constexpr HRESULT E_NOINTERFACE = static_cast<HRESULT>(0x80004002u);
constexpr HRESULT E_POINTER = static_cast<HRESULT>(0x80004003u);
constexpr HRESULT E_FAIL = static_cast<HRESULT>(0x80004005u);
constexpr HRESULT E_UNEXPECTED = static_cast<HRESULT>(0x8000FFFFu);
constexpr HRESULT E_OUTOFMEMORY = static_cast<HRESULT>(0x8007000Eu);
constexpr HRESULT E_INVALIDARG = static_cast<HRESULT>(0x80070057u);
constexpr HRESULT CLASS_E_NOAGGREGATION = static_cast<HRESULT>(0x80040110u);
constexpr HRESULT CLASS_E_CLASSNOTAVAILABLE = static_cast<HRESULT>(0x80040111u);
constexpr HRESULT E_HOST_INDEX_OUT_OF_RANGE = static_cast<HRESULT>(0x81110003u);
constexpr HRESULT E_HOST_ITEM_NOT_FOUND = static_cast<HRESULT>(0x81110004u);
constexpr HRESULT E_HOST_INVALID_PARAM = static_cast<HRESULT>(0x81110005u);
constexpr HRESULT E_HOST_CANCELLED = static_cast<HRESULT>(0x8111000Au);

constexpr bool SUCCEEDED(HRESULT hr) { return hr >= 0; }
constexpr bool FAILED(HRESULT hr) { return hr < 0; }

// Language ids of the two built-in languages.
constexpr uint32_t LANG_ENGLISH = 0x0409;
constexpr uint32_t LANG_CZECH = 0x0405;

struct GUID {
    uint32_t Data1;
    uint16_t Data2;
    uint16_t Data3;
    uint8_t Data4[8];
};
using IID = GUID;
using CLSID = GUID;

constexpr bool operator==(const GUID& a, const GUID& b) {
    if (a.Data1 != b.Data1 || a.Data2 != b.Data2 || a.Data3 != b.Data3) return false;
    for (int i = 0; i < 8; ++i)
        if (a.Data4[i] != b.Data4[i]) return false;
    return true;
}
constexpr bool operator!=(const GUID& a, const GUID& b) { return !(a == b); }
inline bool operator<(const GUID& a, const GUID& b) { return std::memcmp(&a, &b, sizeof(GUID)) < 0; }

namespace zt_detail {
constexpr int HexDigit(char c) {
    return c >= '0' && c <= '9'   ? c - '0'
           : c >= 'a' && c <= 'f' ? c - 'a' + 10
           : c >= 'A' && c <= 'F' ? c - 'A' + 10
                                  : -1;
}
}  // namespace zt_detail

// Parses "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx", with or without braces.
// Returns false on any other form; usable at compile time.
constexpr bool ParseGuid(std::string_view s, GUID& g) {
    if (s.size() == 38 && s.front() == '{' && s.back() == '}') s = s.substr(1, 36);
    if (s.size() != 36 || s[8] != '-' || s[13] != '-' || s[18] != '-' || s[23] != '-') return false;
    uint8_t bytes[16] = {};
    int n = 0;
    for (size_t i = 0; i < 36; ++i) {
        if (i == 8 || i == 13 || i == 18 || i == 23) continue;
        int hi = zt_detail::HexDigit(s[i]), lo = zt_detail::HexDigit(s[i + 1]);
        if (hi < 0 || lo < 0) return false;
        bytes[n++] = static_cast<uint8_t>(hi * 16 + lo);
        ++i;
    }
    g.Data1 = uint32_t(bytes[0]) << 24 | uint32_t(bytes[1]) << 16 | uint32_t(bytes[2]) << 8 | bytes[3];
    g.Data2 = uint16_t(bytes[4] << 8 | bytes[5]);
    g.Data3 = uint16_t(bytes[6] << 8 | bytes[7]);
    for (int i = 0; i < 8; ++i) g.Data4[i] = bytes[8 + i];
    return true;
}

consteval GUID MakeGuid(const char* s) {
    GUID g{};
    if (!ParseGuid(std::string_view(s), g)) throw "malformed GUID literal";
    return g;
}

// Lower-case "xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx".
inline std::string GuidToString(const GUID& g) {
    static const char* hex = "0123456789abcdef";
    uint8_t b[16] = {uint8_t(g.Data1 >> 24), uint8_t(g.Data1 >> 16), uint8_t(g.Data1 >> 8), uint8_t(g.Data1),
                     uint8_t(g.Data2 >> 8),  uint8_t(g.Data2),       uint8_t(g.Data3 >> 8), uint8_t(g.Data3)};
    for (int i = 0; i < 8; ++i) b[8 + i] = g.Data4[i];
    std::string s;
    for (int i = 0; i < 16; ++i) {
        if (i == 4 || i == 6 || i == 8 || i == 10) s += '-';
        s += hex[b[i] >> 4];
        s += hex[b[i] & 15];
    }
    return s;
}

constexpr GUID GUID_NULL{};

// Every interface names its id as a static member, which does not touch the object layout.
#define ZT_IID(text) static constexpr IID iid = MakeGuid(text)

struct IUnknown {
    ZT_IID("00000000-0000-0000-c000-000000000046");
    virtual HRESULT QueryInterface(const IID& aIID, void** aOut) = 0;
    virtual uint32_t AddRef() = 0;
    virtual uint32_t Release() = 0;
};

struct IClassFactory : IUnknown {
    ZT_IID("00000001-0000-0000-c000-000000000046");
    virtual HRESULT CreateInstance(IUnknown* aOuter, const IID& aIID, void** aOut) = 0;
    virtual HRESULT LockServer(int32_t aLock) = 0;
};

// Holds one reference. Attach() adopts a reference handed out by a call.
template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(T* p) : p_(p) { if (p_) p_->AddRef(); }
    ComPtr(const ComPtr& o) : ComPtr(o.p_) {}
    ComPtr(ComPtr&& o) noexcept : p_(o.p_) { o.p_ = nullptr; }
    ~ComPtr() { if (p_) p_->Release(); }
    ComPtr& operator=(const ComPtr& o) { ComPtr(o).swap(*this); return *this; }
    ComPtr& operator=(ComPtr&& o) noexcept { ComPtr(std::move(o)).swap(*this); return *this; }
    ComPtr& operator=(T* p) { ComPtr(p).swap(*this); return *this; }
    void swap(ComPtr& o) noexcept { T* t = p_; p_ = o.p_; o.p_ = t; }

    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    T* get() const { return p_; }
    operator T*() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }

    // Releases what is held and gives the slot for an out argument.
    T** operator&() { reset(); return &p_; }
    void** out() { reset(); return reinterpret_cast<void**>(&p_); }
    void reset() { if (p_) { T* t = p_; p_ = nullptr; t->Release(); } }
    void attach(T* p) { reset(); p_ = p; }
    T* detach() { T* t = p_; p_ = nullptr; return t; }

    // Asks any object for this interface; the result holds null when it is not there.
    template <class U>
    static ComPtr query(U* from) {
        ComPtr r;
        if (from) from->QueryInterface(T::iid, r.out());
        return r;
    }

private:
    T* p_ = nullptr;
};

// Text crossing an interface: UTF-16, with a 32-bit byte length stored in front of the
// first character and a terminating zero behind the last. Allocated with malloc so that
// whichever side frees it uses the same heap.
using ZTBSTR = char16_t*;

inline ZTBSTR ZTStrAllocLen(const char16_t* s, size_t n) {
    if (n > (UINT32_MAX - 8) / 2) return nullptr;
    auto* block = static_cast<uint32_t*>(std::malloc(sizeof(uint32_t) + (n + 1) * sizeof(char16_t)));
    if (!block) return nullptr;
    *block = static_cast<uint32_t>(n * sizeof(char16_t));
    auto* text = reinterpret_cast<char16_t*>(block + 1);
    if (s && n) std::memcpy(text, s, n * sizeof(char16_t));
    else if (n) std::memset(text, 0, n * sizeof(char16_t));
    text[n] = 0;
    return text;
}
inline ZTBSTR ZTStrAlloc(std::u16string_view s) { return ZTStrAllocLen(s.data(), s.size()); }
inline void ZTStrFree(ZTBSTR s) {
    if (s) std::free(reinterpret_cast<uint32_t*>(s) - 1);
}
inline uint32_t ZTStrLen(const char16_t* s) {
    return s ? reinterpret_cast<const uint32_t*>(s)[-1] / sizeof(char16_t) : 0;
}
inline std::u16string_view ZTStrView(const char16_t* s) { return s ? std::u16string_view(s, ZTStrLen(s)) : std::u16string_view(); }

// Owns one ZTBSTR; frees it at the end of the scope.
class CZTStr {
public:
    CZTStr() = default;
    explicit CZTStr(std::u16string_view s) : s_(ZTStrAlloc(s)) { if (!s_) throw std::bad_alloc(); }
    CZTStr(const CZTStr&) = delete;
    CZTStr& operator=(const CZTStr&) = delete;
    ~CZTStr() { ZTStrFree(s_); }
    ZTBSTR* operator&() { ZTStrFree(s_); s_ = nullptr; return &s_; }
    ZTBSTR get() const { return s_; }
    operator ZTBSTR() const { return s_; }
    std::u16string_view view() const { return ZTStrView(s_); }
    ZTBSTR detach() { ZTBSTR t = s_; s_ = nullptr; return t; }

private:
    ZTBSTR s_ = nullptr;
};

// UTF-8 <-> UTF-16 for the edges (files, terminals). Invalid input is replaced by U+FFFD.
inline std::u16string Utf8ToUtf16(std::string_view s) {
    std::u16string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size();) {
        unsigned char c = static_cast<unsigned char>(s[i]);
        uint32_t cp;
        int extra;
        if (c < 0x80) { cp = c; extra = 0; }
        else if ((c & 0xE0) == 0xC0) { cp = c & 0x1F; extra = 1; }
        else if ((c & 0xF0) == 0xE0) { cp = c & 0x0F; extra = 2; }
        else if ((c & 0xF8) == 0xF0) { cp = c & 0x07; extra = 3; }
        else { out += u'\xFFFD'; ++i; continue; }
        bool ok = true;
        for (int k = 1; k <= extra; ++k) {
            if (i + k >= s.size() || (static_cast<unsigned char>(s[i + k]) & 0xC0) != 0x80) { ok = false; break; }
            cp = cp << 6 | (static_cast<unsigned char>(s[i + k]) & 0x3F);
        }
        if (!ok) { out += u'\xFFFD'; ++i; continue; }
        i += extra + 1;
        if (cp >= 0x10000) {
            cp -= 0x10000;
            out += static_cast<char16_t>(0xD800 + (cp >> 10));
            out += static_cast<char16_t>(0xDC00 + (cp & 0x3FF));
        } else {
            out += static_cast<char16_t>(cp);
        }
    }
    return out;
}

inline std::string Utf16ToUtf8(std::u16string_view s) {
    std::string out;
    out.reserve(s.size());
    for (size_t i = 0; i < s.size(); ++i) {
        uint32_t cp = s[i];
        if (cp >= 0xD800 && cp < 0xDC00 && i + 1 < s.size() && s[i + 1] >= 0xDC00 && s[i + 1] < 0xE000) {
            cp = 0x10000 + ((cp - 0xD800) << 10) + (s[i + 1] - 0xDC00);
            ++i;
        }
        if (cp < 0x80) out += static_cast<char>(cp);
        else if (cp < 0x800) { out += static_cast<char>(0xC0 | cp >> 6); out += static_cast<char>(0x80 | (cp & 0x3F)); }
        else if (cp < 0x10000) {
            out += static_cast<char>(0xE0 | cp >> 12);
            out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        } else {
            out += static_cast<char>(0xF0 | cp >> 18);
            out += static_cast<char>(0x80 | (cp >> 12 & 0x3F));
            out += static_cast<char>(0x80 | (cp >> 6 & 0x3F));
            out += static_cast<char>(0x80 | (cp & 0x3F));
        }
    }
    return out;
}

// Host activation, the one function through which the module reaches host classes.
using ZTCreateInstanceFn = HRESULT (*)(const CLSID& aClassID, IUnknown* aOuter, uint32_t aContext, const IID& aIID,
                                       void** aOut);
constexpr uint32_t ZT_CREATE_CONTEXT = 23;

// Callback of DllEnumClasses.
using ZTEnumClassesFn = HRESULT (*)(void* aContext, const CLSID& aClassID, uint32_t aCategoryCount,
                                    const GUID* aCategories);

// Answers an interface query from a list of interfaces the object implements (bases included).
// IUnknown maps to the first one. Does not add a reference.
template <class... Ifaces, class T>
void* FindInterface(T* self, const IID& aIID) {
    void* p = nullptr;
    ((p == nullptr && aIID == Ifaces::iid ? (p = static_cast<Ifaces*>(self), true) : false), ...);
    if (!p && aIID == IUnknown::iid) {
        using First = std::tuple_element_t<0, std::tuple<Ifaces...>>;
        p = static_cast<IUnknown*>(static_cast<First*>(self));
    }
    return p;
}

// Text crossing an interface: UTF-16, with a 32-bit byte length stored in front of the
// first character and a terminating zero behind the last. Allocated with malloc so that
// whichever side frees it uses the same heap.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

using ZTBSTR = char16_t*;

inline ZTBSTR ZTStrAllocLen(const char16_t* s, size_t n) {
    if (n > (UINT32_MAX - 8) / 2) return nullptr;
    auto* block = static_cast<uint32_t*>(std::malloc(sizeof(uint32_t) + (n + 1) * sizeof(char16_t)));
    if (!block) return nullptr;
    *block = static_cast<uint32_t>(n * sizeof(char16_t));
    auto* text = reinterpret_cast<char16_t*>(block + 1);
    if (s && n)
        std::memcpy(text, s, n * sizeof(char16_t));
    else if (n)
        std::memset(text, 0, n * sizeof(char16_t));
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
inline std::u16string_view ZTStrView(const char16_t* s) {
    return s ? std::u16string_view(s, ZTStrLen(s)) : std::u16string_view();
}

// Owns one ZTBSTR; frees it at the end of the scope.
class CZTStr {
public:
    CZTStr() = default;
    explicit CZTStr(std::u16string_view s) : s_(ZTStrAlloc(s)) {
        if (!s_) throw std::bad_alloc();
    }
    CZTStr(const CZTStr&) = delete;
    CZTStr& operator=(const CZTStr&) = delete;
    ~CZTStr() { ZTStrFree(s_); }
    // Frees what is held and gives the slot for an out argument.
    ZTBSTR* out() {
        ZTStrFree(s_);
        s_ = nullptr;
        return &s_;
    }
    CZTStr* operator&() = delete;
    ZTBSTR get() const { return s_; }
    operator ZTBSTR() const { return s_; }
    std::u16string_view view() const { return ZTStrView(s_); }
    ZTBSTR detach() {
        ZTBSTR t = s_;
        s_ = nullptr;
        return t;
    }

private:
    ZTBSTR s_ = nullptr;
};

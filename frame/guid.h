// Class and interface ids: the 16-byte record, its text form and compile-time literals.
#pragma once

#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

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

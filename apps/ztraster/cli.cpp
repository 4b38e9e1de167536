#include "apps/ztraster/cli.h"

#include <cstdio>
#include <cstdlib>

namespace ztcli {

namespace {
uint32_t DefaultLanguage() {
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"}) {
        const char* value = std::getenv(name);
        if (value && *value) return std::string(value).rfind("cs", 0) == 0 ? LANG_CZECH : LANG_ENGLISH;
    }
    return LANG_ENGLISH;
}
uint32_t g_language = DefaultLanguage();
}  // namespace

uint32_t Language() { return g_language; }
void SetLanguage(uint32_t aLanguage) { g_language = aLanguage; }

std::string ResultText(HRESULT aResult) {
    struct {
        HRESULT code;
        const char* name;
    } static const names[] = {
        {S_OK, "S_OK"},
        {S_FALSE, "S_FALSE"},
        {E_NOTIMPL, "E_NOTIMPL"},
        {E_NOINTERFACE, "E_NOINTERFACE"},
        {E_POINTER, "E_POINTER"},
        {E_FAIL, "E_FAIL"},
        {E_UNEXPECTED, "E_UNEXPECTED"},
        {E_OUTOFMEMORY, "E_OUTOFMEMORY"},
        {E_INVALIDARG, "E_INVALIDARG"},
        {CLASS_E_NOAGGREGATION, "CLASS_E_NOAGGREGATION"},
        {CLASS_E_CLASSNOTAVAILABLE, "CLASS_E_CLASSNOTAVAILABLE"},
        {E_HOST_INDEX_OUT_OF_RANGE, "E_HOST_INDEX_OUT_OF_RANGE"},
        {E_HOST_ITEM_NOT_FOUND, "E_HOST_ITEM_NOT_FOUND"},
        {E_HOST_INVALID_PARAM, "E_HOST_INVALID_PARAM"},
        {E_HOST_CANCELLED, "E_HOST_CANCELLED"},
    };
    char hex[16];
    std::snprintf(hex, sizeof hex, "0x%08X", static_cast<uint32_t>(aResult));
    for (const auto& n : names)
        if (n.code == aResult) return std::string(n.name) + " (" + hex + ")";
    return hex;
}

std::string JsonString(const std::string& aText) {
    std::string out = "\"";
    for (unsigned char c : aText) {
        switch (c) {
            case '"': out += "\\\""; break;
            case '\\': out += "\\\\"; break;
            case '\n': out += "\\n"; break;
            case '\r': out += "\\r"; break;
            case '\t': out += "\\t"; break;
            default:
                if (c < 0x20) {
                    char buffer[8];
                    std::snprintf(buffer, sizeof buffer, "\\u%04x", c);
                    out += buffer;
                } else {
                    out += static_cast<char>(c);
                }
        }
    }
    return out + "\"";
}

}  // namespace ztcli

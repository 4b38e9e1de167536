// The text form of configurations: values as text, "key=value" lines, and parsing a value
// by the type of its item.
#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdio>
#include <string_view>

#include "host/config.h"

namespace zthost {
namespace {

std::string FloatText(float aValue) {
    char text[32];
    // The shortest text that reads back as the same float.
    auto end = std::to_chars(text, text + sizeof(text), aValue).ptr;
    return std::string(text, end);
}

std::string FloatsText(const float* aValues, int aCount) {
    std::string text;
    for (int i = 0; i < aCount; ++i) {
        if (i) text += ',';
        text += FloatText(aValues[i]);
    }
    return text;
}

std::string Escape(std::string_view aText) {
    std::string text;
    for (char c : aText) {
        if (c == '\\')
            text += "\\\\";
        else if (c == '\n')
            text += "\\n";
        else if (c == '\r')
            text += "\\r";
        else
            text += c;
    }
    return text;
}

bool Unescape(std::string_view aText, std::string* aOut) {
    aOut->clear();
    for (size_t i = 0; i < aText.size(); ++i) {
        if (aText[i] != '\\') {
            *aOut += aText[i];
            continue;
        }
        if (++i == aText.size()) return false;
        if (aText[i] == '\\')
            *aOut += '\\';
        else if (aText[i] == 'n')
            *aOut += '\n';
        else if (aText[i] == 'r')
            *aOut += '\r';
        else
            return false;
    }
    return true;
}

std::string_view Trim(std::string_view aText) {
    const size_t first = aText.find_first_not_of(" \t");
    if (first == aText.npos) return {};
    return aText.substr(first, aText.find_last_not_of(" \t") - first + 1);
}

// Decimal or 0x-hex, optionally negative. Hex reaches 0xFFFFFFFF, the bit pattern of a
// colour written as 0xAARRGGBB.
bool ParseLong(std::string_view aText, int32_t* aValue) {
    aText = Trim(aText);
    const bool negative = !aText.empty() && aText.front() == '-';
    if (negative) aText.remove_prefix(1);
    const bool hex = aText.size() > 2 && aText[0] == '0' && (aText[1] == 'x' || aText[1] == 'X');
    if (hex) aText.remove_prefix(2);
    uint64_t magnitude = 0;
    auto [end, error] = std::from_chars(aText.data(), aText.data() + aText.size(), magnitude, hex ? 16 : 10);
    if (aText.empty() || error != std::errc() || end != aText.data() + aText.size()) return false;
    const uint64_t limit = negative ? 0x80000000u : hex ? 0xFFFFFFFFu : 0x7FFFFFFFu;
    if (magnitude > limit) return false;
    *aValue = static_cast<int32_t>(static_cast<uint32_t>(negative ? 0 - magnitude : magnitude));
    return true;
}

bool ParseFloat(std::string_view aText, float* aValue) {
    aText = Trim(aText);
    if (!aText.empty() && aText.front() == '+') aText.remove_prefix(1);
    auto [end, error] = std::from_chars(aText.data(), aText.data() + aText.size(), *aValue);
    return !aText.empty() && error == std::errc() && end == aText.data() + aText.size();
}

bool ParseFloats(std::string_view aText, int aCount, float* aValues) {
    for (int i = 0; i < aCount; ++i) {
        const size_t comma = aText.find(',');
        if ((comma == aText.npos) != (i == aCount - 1)) return false;
        if (!ParseFloat(aText.substr(0, comma), &aValues[i])) return false;
        aText.remove_prefix(comma == aText.npos ? aText.size() : comma + 1);
    }
    return true;
}

bool ParseBool(std::string_view aText, bool* aValue) {
    std::string lower(Trim(aText));
    std::transform(lower.begin(), lower.end(), lower.begin(), [](unsigned char c) { return char(std::tolower(c)); });
    if (lower == "true" || lower == "1")
        *aValue = true;
    else if (lower == "false" || lower == "0")
        *aValue = false;
    else
        return false;
    return true;
}

bool ParseClassId(std::string_view aText, GUID* aValue) {
    aText = Trim(aText);
    return ParseGuid(aText, *aValue) || ClassIdFromName(std::string(aText), aValue);
}

std::string KeyList(const std::vector<ConfigItemInfo>& aItems, const std::string& aPrefix) {
    std::string list;
    for (const ConfigItemInfo& item : aItems) list += (list.empty() ? "" : ", ") + aPrefix + Utf16ToUtf8(item.key);
    return list.empty() ? "(none)" : list;
}

std::string OptionList(const ConfigItemInfo& aItem) {
    std::string list;
    for (const ConfigOption* option : aItem.options) {
        std::string value = ConfigValueToString(option->value);
        if (option->value.eTypeID == ECVTGUID && !ShortNameOf(option->value.guidVal).empty())
            value = ShortNameOf(option->value.guidVal);
        const std::string name = option->name ? TextOf(option->name, Language()) : std::string();
        list += (list.empty() ? "" : ", ") + value + (name.empty() ? "" : " (" + name + ")");
    }
    return list.empty() ? "(none)" : list;
}

// aTextForm: a line of the text form, whose strings are escaped and whose pick-one values
// stand as they were stored, options or not.
HRESULT SetFromText(IConfig* aConfig, const std::string& aKey, const std::string& aValue, bool aTextForm,
                    std::string* aError) {
    auto fail = [&](const std::string& aMessage, HRESULT aResult = E_INVALIDARG) {
        if (aError) *aError = aMessage;
        return aResult;
    };
    if (!aConfig) return fail("no configuration", E_POINTER);

    // Down to the configuration that holds the item.
    std::u16string path = Utf8ToUtf16(aKey);
    std::replace(path.begin(), path.end(), u'/', u'\\');
    ComPtr<IConfig> level = aConfig;
    std::string prefix;
    std::vector<ConfigItemInfo> items;
    const ConfigItemInfo* item = nullptr;
    for (size_t start = 0;;) {
        const size_t end = path.find(u'\\', start);
        const std::u16string segment = path.substr(start, end == path.npos ? path.npos : end - start);
        items = DescribeConfig(level);
        auto found =
            std::find_if(items.begin(), items.end(), [&](const ConfigItemInfo& i) { return i.key == segment; });
        if (found == items.end()) return fail("unknown key \"" + aKey + "\"; known keys: " + KeyList(items, prefix));
        if (end == path.npos) {
            item = &*found;
            break;
        }
        prefix += Utf16ToUtf8(segment);
        ComPtr<IConfig> sub;
        if (FAILED(level->SubConfigGet(CZTStr(segment), sub.out())) || !sub)
            return fail("key \"" + prefix + "\" has no nested items");
        prefix += '\\';
        level = sub;
        start = end + 1;
    }

    const std::string quoted = "key \"" + aKey + "\": \"" + aValue + "\"";
    TConfigValue value = ConfigValueEmpty();
    value.eTypeID = item->defaultValue->eTypeID;
    std::u16string text;
    bool ok = false;
    std::string expected;
    switch (value.eTypeID) {
        case ECVTInteger:
            ok = ParseLong(aValue, &value.iVal);
            expected = "a long number (decimal or 0x-hex, 32 bits)";
            break;
        case ECVTFloat:
            ok = ParseFloat(aValue, &value.fVal);
            expected = "a float number";
            break;
        case ECVTBool:
            ok = ParseBool(aValue, &value.bVal);
            expected = "a bool (true, false, 1 or 0)";
            break;
        case ECVTString: {
            std::string unescaped;
            ok = !aTextForm || Unescape(aValue, &unescaped);
            text = Utf8ToUtf16(aTextForm ? unescaped : aValue);
            expected = "a text whose escapes are \\\\, \\n and \\r";
            break;
        }
        case ECVTGUID:
            ok = ParseClassId(aValue, &value.guidVal);
            expected = "a class id {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx} or the name of an operation";
            break;
        case ECVTFloatColor:
            ok = ParseFloats(aValue, 4, value.vecVal);
            expected = "a colour, four comma-separated floats r,g,b,a";
            break;
        case ECVTVector3:
            ok = ParseFloats(aValue, 3, value.vecVal);
            expected = "a vector, three comma-separated floats x,y,z";
            break;
    }
    if (!ok) return fail(quoted + " is not " + expected);

    if (!aTextForm && (item->kind == ConfigItemKind::pickOne || item->kind == ConfigItemKind::operation)) {
        const bool known = std::any_of(item->options.begin(), item->options.end(),
                                       [&](const ConfigOption* o) { return ConfigValuesEqual(o->value, value); });
        if (!known) return fail(quoted + " is not one of the allowed values: " + OptionList(*item));
    }

    CZTStr textValue(text);
    if (value.eTypeID == ECVTString) value.bstrVal = textValue;
    CZTStr key(path);
    const char16_t* keys[] = {key};
    const HRESULT hr = aConfig->ItemValuesSet(1, keys, &value);
    if (FAILED(hr)) {
        char code[16];
        std::snprintf(code, sizeof(code), "0x%08X", static_cast<uint32_t>(hr));
        return fail(quoted + " was refused by the configuration (" + code + ")", hr);
    }
    return S_OK;
}

void AppendText(std::string& aText, IConfig* aConfig, const std::string& aPrefix) {
    for (const ConfigItemInfo& item : DescribeConfig(aConfig)) {
        CZTStr key(item.key);
        TConfigValue value = ConfigValueEmpty();
        aConfig->ItemValueGet(key, &value);
        const std::string fullKey = aPrefix + Utf16ToUtf8(item.key);
        aText += fullKey + '=' + ConfigValueToString(value) + '\n';
        ConfigValueClear(value);
        ComPtr<IConfig> sub;
        if (SUCCEEDED(aConfig->SubConfigGet(key, sub.out())) && sub) AppendText(aText, sub, fullKey + '\\');
    }
}

}  // namespace

std::string ConfigValueToString(const TConfigValue& aValue) {
    switch (aValue.eTypeID) {
        case ECVTInteger: return std::to_string(aValue.iVal);
        case ECVTFloat: return FloatText(aValue.fVal);
        case ECVTBool: return aValue.bVal ? "true" : "false";
        case ECVTString: return Escape(Utf16ToUtf8(ZTStrView(aValue.bstrVal)));
        case ECVTGUID: return std::string("{").append(GuidToString(aValue.guidVal)).append("}");
        case ECVTFloatColor: return FloatsText(aValue.vecVal, 4);
        case ECVTVector3: return FloatsText(aValue.vecVal, 3);
        default: return std::string();
    }
}

std::string ConfigToText(IConfig* aConfig) {
    std::string text;
    if (aConfig) AppendText(text, aConfig, std::string());
    return text;
}

HRESULT ConfigSetFromString(IConfig* aConfig, const std::string& aKey, const std::string& aValue, std::string* aError) {
    return SetFromText(aConfig, aKey, aValue, false, aError);
}

// Read into a copy first, so that a bad line leaves the configuration as it was.
HRESULT ConfigFromText(IConfig* aConfig, const std::string& aText, std::string* aError) {
    if (!aConfig) {
        if (aError) *aError = "no configuration";
        return E_POINTER;
    }
    ComPtr<IConfig> draft;
    HRESULT hr = aConfig->DuplicateCreate(draft.out());
    if (FAILED(hr)) {
        if (aError) *aError = "the configuration cannot be copied";
        return hr;
    }
    size_t lineNumber = 0;
    for (size_t start = 0; start < aText.size();) {
        size_t end = aText.find('\n', start);
        if (end == aText.npos) end = aText.size();
        std::string_view line(aText.data() + start, end - start);
        start = end + 1;
        ++lineNumber;
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        if (Trim(line).empty()) continue;
        const std::string where = "line " + std::to_string(lineNumber) + ": ";
        const size_t equals = line.find('=');
        if (equals == line.npos) {
            if (aError) *aError = where + "\"" + std::string(line) + "\" is not of the form key=value";
            return E_INVALIDARG;
        }
        const std::string key(line.substr(0, equals)), value(line.substr(equals + 1));
        hr = SetFromText(draft, key, value, true, aError);
        if (FAILED(hr)) {
            if (aError) *aError = where + *aError;
            return hr;
        }
    }
    hr = aConfig->CopyFrom(draft, nullptr);
    if (FAILED(hr) && aError) *aError = "the values read cannot be taken over";
    return hr;
}

}  // namespace zthost

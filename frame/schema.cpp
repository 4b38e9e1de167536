#include "frame/schema.h"

#include <memory>
#include <stdexcept>

#include "frame/boundary.h"

namespace zt {

SSchemaValue SchemaValue(int32_t aValue) { return Long(aValue); }
SSchemaValue SchemaValue(float aValue) { return Float(aValue); }
SSchemaValue SchemaValue(bool aValue) { return Bool(aValue); }
SSchemaValue SchemaValue(const GUID& aValue) { return Guid(aValue); }
SSchemaValue SchemaValue(const char16_t* aValue) { return String(aValue); }
SSchemaValue SchemaValue(const SColorF& aValue) { return Color(aValue.r, aValue.g, aValue.b, aValue.a); }
SSchemaValue SchemaValue(const SVectorF& aValue) { return Vector(aValue.x, aValue.y, aValue.z); }

namespace {

bool SameValue(const SSchemaValue& aSchema, const TConfigValue& aValue) {
    if (aSchema.type != aValue.eTypeID) return false;
    switch (aSchema.type) {
        case ECVTInteger: return aSchema.i == aValue.iVal;
        case ECVTFloat: return aSchema.f[0] == aValue.fVal;
        case ECVTBool: return aSchema.b == aValue.bVal;
        case ECVTGUID: return aSchema.g == aValue.guidVal;
        default: return false;
    }
}

char Lower(char c) { return c >= 'A' && c <= 'Z' ? char(c - 'A' + 'a') : c; }

bool SameNickname(std::string_view a, std::string_view b) {
    if (a.size() != b.size()) return false;
    for (size_t i = 0; i < a.size(); ++i)
        if (Lower(a[i]) != Lower(b[i])) return false;
    return true;
}

bool WellFormedNickname(std::string_view aName) {
    if (aName.empty() || !(aName[0] >= 'a' && aName[0] <= 'z')) return false;
    for (char c : aName)
        if (!((c >= 'a' && c <= 'z') || (c >= '0' && c <= '9') || c == '-')) return false;
    return true;
}

// Reads aKey and checks its type; the empty value of a missing key fails the same way.
CConfigValue ReadTyped(IConfig* aConfig, const char16_t* aKey, uint32_t aType) {
    CConfigValue v;
    ReadItem(aConfig, aKey, v);
    if (v.TypeGet() != aType) throw CConfigValue::CCastException{aKey, aType, v.TypeGet()};
    return v;
}

}  // namespace

const SSchemaItem* CSchemaBase::Find(std::u16string_view aKey) const {
    for (const SSchemaItem& item : items_)
        if (aKey == item.key) return &item;
    return nullptr;
}

const char* CSchemaBase::OptionNickname(std::u16string_view aKey, const TConfigValue& aValue) const {
    if (const SSchemaItem* item = Find(aKey))
        for (const SSchemaOption& option : item->options)
            if (SameValue(option.value, aValue)) return option.nickname;
    return nullptr;
}

const SSchemaOption* CSchemaBase::OptionByNickname(std::u16string_view aKey, std::string_view aNickname) const {
    if (const SSchemaItem* item = Find(aKey))
        for (const SSchemaOption& option : item->options)
            if (option.nickname && SameNickname(option.nickname, aNickname)) return &option;
    return nullptr;
}

void CSchemaBase::Check() const {
    for (size_t i = 0; i < items_.size(); ++i) {
        const SSchemaItem& item = items_[i];
        for (size_t j = 0; j < i; ++j)
            if (std::u16string_view(items_[j].key) == item.key) throw std::logic_error("a key stands twice");
        auto checkConditions = [&](const std::vector<SSchemaCondition>& aConditions) {
            for (const SSchemaCondition& c : aConditions) {
                bool before = false;
                for (size_t j = 0; j < i; ++j) before = before || std::u16string_view(items_[j].key) == c.key;
                if (!before) throw std::logic_error("a condition refers to an item that does not stand before it");
            }
        };
        checkConditions(item.conditions);
        for (size_t k = 0; k < item.options.size(); ++k) {
            const SSchemaOption& option = item.options[k];
            checkConditions(option.conditions);
            if (option.value.type != item.defaultValue.type) throw std::logic_error("an option of another type");
            if (!option.nickname || !WellFormedNickname(option.nickname))
                throw std::logic_error("an option without a well-formed nickname");
            for (size_t m = 0; m < k; ++m)
                if (SameNickname(item.options[m].nickname, option.nickname))
                    throw std::logic_error("a nickname stands twice");
        }
    }
}

void ReadValue(IConfig* aConfig, const char16_t* aKey, int32_t& aValue) {
    aValue = ReadTyped(aConfig, aKey, ECVTInteger).AsLong();
}
void ReadValue(IConfig* aConfig, const char16_t* aKey, float& aValue) {
    aValue = ReadTyped(aConfig, aKey, ECVTFloat).AsFloat();
}
void ReadValue(IConfig* aConfig, const char16_t* aKey, bool& aValue) {
    aValue = ReadTyped(aConfig, aKey, ECVTBool).AsBool();
}
void ReadValue(IConfig* aConfig, const char16_t* aKey, GUID& aValue) {
    aValue = ReadTyped(aConfig, aKey, ECVTGUID).AsGUID();
}
void ReadValue(IConfig* aConfig, const char16_t* aKey, std::u16string& aValue) {
    aValue = ReadTyped(aConfig, aKey, ECVTString).AsString();
}
void ReadValue(IConfig* aConfig, const char16_t* aKey, SColorF& aValue) {
    const CConfigValue v = ReadTyped(aConfig, aKey, ECVTFloatColor);
    const float* c = v.AsColor();
    aValue = {c[0], c[1], c[2], c[3]};
}
// A vector item takes a colour value as well: both hold the numbers a vector needs.
void ReadValue(IConfig* aConfig, const char16_t* aKey, SVectorF& aValue) {
    CConfigValue v;
    ReadItem(aConfig, aKey, v);
    if (v.TypeGet() != ECVTVector3 && v.TypeGet() != ECVTFloatColor)
        throw CConfigValue::CCastException{aKey, ECVTVector3, v.TypeGet()};
    aValue = {v.Raw().vecVal[0], v.Raw().vecVal[1], v.Raw().vecVal[2]};
}
void ReadValue(IConfig* aConfig, const char16_t* aKey, SNestedOperation& aValue) {
    ReadItem(aConfig, aKey, aValue.id);
    CZTStr key(aKey);
    if (aConfig) aConfig->SubConfigGet(key, aValue.config.out());
}

void StoreValue(int32_t aValue, TConfigValue& aOut) {
    aOut.eTypeID = ECVTInteger;
    aOut.iVal = aValue;
}
void StoreValue(float aValue, TConfigValue& aOut) {
    aOut.eTypeID = ECVTFloat;
    aOut.fVal = aValue;
}
void StoreValue(bool aValue, TConfigValue& aOut) {
    aOut.eTypeID = ECVTBool;
    aOut.bVal = aValue;
}
void StoreValue(const GUID& aValue, TConfigValue& aOut) {
    aOut.eTypeID = ECVTGUID;
    aOut.guidVal = aValue;
}
void StoreValue(const std::u16string& aValue, TConfigValue& aOut) {
    aOut.bstrVal = ZTStrAlloc(aValue);
    if (!aOut.bstrVal) throw std::bad_alloc();
    aOut.eTypeID = ECVTString;
}
void StoreValue(const SColorF& aValue, TConfigValue& aOut) {
    aOut.eTypeID = ECVTFloatColor;
    aOut.vecVal[0] = aValue.r, aOut.vecVal[1] = aValue.g, aOut.vecVal[2] = aValue.b, aOut.vecVal[3] = aValue.a;
}
void StoreValue(const SVectorF& aValue, TConfigValue& aOut) {
    aOut.eTypeID = ECVTVector3;
    aOut.vecVal[0] = aValue.x, aOut.vecVal[1] = aValue.y, aOut.vecVal[2] = aValue.z;
}
void StoreValue(const SNestedOperation& aValue, TConfigValue& aOut) {
    if (!ConfigValueCopy(aOut, aValue.id.Raw())) throw std::bad_alloc();
}

HRESULT WriteValues(IConfig* aConfig, uint32_t aCount, const char16_t* const* aKeys, TConfigValue* aValues) {
    struct CClear {
        TConfigValue* values;
        uint32_t count;
        ~CClear() {
            for (uint32_t i = 0; i < count; ++i) ConfigValueClear(values[i]);
        }
    } clear{aValues, aCount};
    std::vector<std::unique_ptr<CZTStr>> owned;
    std::vector<const char16_t*> keys;
    for (uint32_t i = 0; i < aCount; ++i) {
        owned.push_back(std::make_unique<CZTStr>(aKeys[i]));
        keys.push_back(owned.back()->get());
    }
    if (!aConfig) return E_POINTER;
    return aConfig->ItemValuesSet(aCount, keys.data(), aValues);
}

}  // namespace zt

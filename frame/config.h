// Configuration values as the module reads them, and the declarative schema from which
// every operation's ConfigCreate emits its builder calls.
#pragma once

#include <string_view>
#include <vector>

#include "frame/operation.h"

namespace zt {

// Owns one TConfigValue; a conversion to a type other than the held one throws.
class CConfigValue {
public:
    // A value of another type than the reader wanted; key is set where the reader knows it.
    struct CCastException {
        const char16_t* key = nullptr;
        uint32_t expected = ECVTEmpty, found = ECVTEmpty;
    };

    CConfigValue() : v_(ConfigValueEmpty()) {}
    explicit CConfigValue(int32_t aValue) : CConfigValue() { Set(ECVTInteger).iVal = aValue; }
    explicit CConfigValue(float aValue) : CConfigValue() { Set(ECVTFloat).fVal = aValue; }
    explicit CConfigValue(bool aValue) : CConfigValue() { Set(ECVTBool).bVal = aValue; }
    explicit CConfigValue(const GUID& aValue) : CConfigValue() { Set(ECVTGUID).guidVal = aValue; }
    explicit CConfigValue(std::u16string_view aValue);
    CConfigValue(float aR, float aG, float aB, float aA);  // colour, linear floats
    CConfigValue(float aX, float aY, float aZ);            // vector
    CConfigValue(const CConfigValue&) = delete;
    CConfigValue& operator=(const CConfigValue&) = delete;
    CConfigValue(CConfigValue&& aOther) noexcept : v_(aOther.v_) { aOther.v_ = ConfigValueEmpty(); }
    ~CConfigValue() { ConfigValueClear(v_); }

    // Clears the value and gives it to a reader.
    CConfigValue* operator&() = delete;
    TConfigValue* out() {
        ConfigValueClear(v_);
        return &v_;
    }
    const TConfigValue& Raw() const { return v_; }
    uint32_t TypeGet() const { return v_.eTypeID; }

    int32_t AsLong() const { return Check(ECVTInteger).iVal; }
    float AsFloat() const { return Check(ECVTFloat).fVal; }
    bool AsBool() const { return Check(ECVTBool).bVal; }
    GUID AsGUID() const { return Check(ECVTGUID).guidVal; }
    std::u16string_view AsString() const { return ZTStrView(Check(ECVTString).bstrVal); }
    const float* AsColor() const { return Check(ECVTFloatColor).vecVal; }
    const float* AsVector() const { return Check(ECVTVector3).vecVal; }

private:
    TConfigValue& Set(uint32_t aType) {
        v_.eTypeID = aType;
        return v_;
    }
    const TConfigValue& Check(uint32_t aType) const {
        if (v_.eTypeID != aType) throw CCastException{nullptr, aType, v_.eTypeID};
        return v_;
    }
    TConfigValue v_;
};

// Reads one item; a missing key gives the empty value, which fails at the conversion.
void ReadItem(IConfig* aConfig, std::u16string_view aKey, CConfigValue& aValue);
int32_t ReadLong(IConfig* aConfig, std::u16string_view aKey);
float ReadFloat(IConfig* aConfig, std::u16string_view aKey);
bool ReadBool(IConfig* aConfig, std::u16string_view aKey);
GUID ReadGUID(IConfig* aConfig, std::u16string_view aKey);

// ---- schema

// A literal value of a schema table.
struct SSchemaValue {
    uint32_t type = ECVTEmpty;
    int32_t i = 0;
    float f[4] = {};
    bool b = false;
    GUID g{};
    const char16_t* s = nullptr;
};
inline SSchemaValue Long(int32_t v) {
    SSchemaValue r;
    r.type = ECVTInteger;
    r.i = v;
    return r;
}
inline SSchemaValue Float(float v) {
    SSchemaValue r;
    r.type = ECVTFloat;
    r.f[0] = v;
    return r;
}
inline SSchemaValue Bool(bool v) {
    SSchemaValue r;
    r.type = ECVTBool;
    r.b = v;
    return r;
}
inline SSchemaValue Guid(const GUID& v) {
    SSchemaValue r;
    r.type = ECVTGUID;
    r.g = v;
    return r;
}
inline SSchemaValue String(const char16_t* v) {
    SSchemaValue r;
    r.type = ECVTString;
    r.s = v;
    return r;
}
inline SSchemaValue Color(float red, float green, float blue, float alpha) {
    SSchemaValue r;
    r.type = ECVTFloatColor;
    r.f[0] = red;
    r.f[1] = green;
    r.f[2] = blue;
    r.f[3] = alpha;
    return r;
}
inline SSchemaValue Vector(float x, float y, float z) {
    SSchemaValue r;
    r.type = ECVTVector3;
    r.f[0] = x;
    r.f[1] = y;
    r.f[2] = z;
    return r;
}

struct SSchemaCondition {
    const char16_t* key;
    uint32_t code;  // EConditionType
    SSchemaValue value;
};

// Labels and help are tagged literals: "[0409]English[0405]Czech".
struct SSchemaOption {
    SSchemaValue value;
    const char16_t* label;
    std::vector<SSchemaCondition> conditions = {};
    const char* nickname = nullptr;
};

enum class ESchemaKind { pickOne, ranged, simple, operation };

struct SSchemaItem {
    ESchemaKind kind;
    const char16_t* key;
    const char16_t* label;
    const char16_t* help;  // may be null for pick-one items
    SSchemaValue defaultValue;
    SSchemaValue from, to, step;
    std::vector<SSchemaOption> options;
    std::vector<SSchemaCondition> conditions;
};

using SConfigSchema = std::vector<SSchemaItem>;

inline SSchemaItem PickOne(const char16_t* key, const char16_t* label, const char16_t* help, SSchemaValue def,
                           std::vector<SSchemaOption> options) {
    return {ESchemaKind::pickOne, key, label, help, def, {}, {}, {}, std::move(options), {}};
}
inline SSchemaItem Ranged(const char16_t* key, const char16_t* label, const char16_t* help, SSchemaValue def,
                          SSchemaValue from, SSchemaValue to, SSchemaValue step,
                          std::vector<SSchemaCondition> conditions = {}) {
    return {ESchemaKind::ranged, key, label, help, def, from, to, step, {}, std::move(conditions)};
}
inline SSchemaItem Simple(const char16_t* key, const char16_t* label, const char16_t* help, SSchemaValue def,
                          std::vector<SSchemaCondition> conditions = {}) {
    return {ESchemaKind::simple, key, label, help, def, {}, {}, {}, {}, std::move(conditions)};
}
// An item that selects an operation, with that operation's configuration below it.
inline SSchemaItem NestedOperation(const char16_t* key, const char16_t* label, const char16_t* help,
                                   std::vector<SSchemaCondition> conditions = {}) {
    return {ESchemaKind::operation, key, label, help, {}, {}, {}, {}, {}, std::move(conditions)};
}

// Makes the host's builder and emits the schema in order (options right after their item),
// then Finalize with aGUI. Throws on any failure.
ComPtr<IConfig> BuildConfig(IOperationManager* aManager, const SConfigSchema& aSchema, IConfigCustomGUI* aGUI);

// ConfigCreate of an operation without a custom window: the schema built and handed out,
// failures as results.
HRESULT ConfigFromSchema(IOperationManager* aManager, const SConfigSchema& aSchema, IConfig** aConfig);

}  // namespace zt

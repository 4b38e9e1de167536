// An operation's settings bound once: each schema item names the field of the operation's
// settings struct that holds its value. From that one table come the builder calls of
// ConfigCreate, the reading and writing of a run's settings, and the option nicknames.
#pragma once

#include <initializer_list>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <variant>
#include <vector>

#include "frame/config.h"

namespace zt {

// Values of the colour and vector items.
struct SColorF {
    float r, g, b, a;
};
struct SVectorF {
    float x, y, z;
};

// A nested operation item: the class id as stored (not checked here: the operation manager
// judges it) and the configuration below it.
struct SNestedOperation {
    CConfigValue id;
    ComPtr<IConfig> config;
};

// The configuration type of each field type.
template <class T>
constexpr uint32_t kConfigTypeOf = ECVTEmpty;
template <>
inline constexpr uint32_t kConfigTypeOf<int32_t> = ECVTInteger;
template <>
inline constexpr uint32_t kConfigTypeOf<float> = ECVTFloat;
template <>
inline constexpr uint32_t kConfigTypeOf<bool> = ECVTBool;
template <>
inline constexpr uint32_t kConfigTypeOf<GUID> = ECVTGUID;
template <>
inline constexpr uint32_t kConfigTypeOf<std::u16string> = ECVTString;
template <>
inline constexpr uint32_t kConfigTypeOf<SColorF> = ECVTFloatColor;
template <>
inline constexpr uint32_t kConfigTypeOf<SVectorF> = ECVTVector3;
template <>
inline constexpr uint32_t kConfigTypeOf<SNestedOperation> = ECVTGUID;

// How a schema table writes a literal of a field type: strings as literals.
template <class T>
struct SLiteralOf {
    using type = T;
};
template <>
struct SLiteralOf<std::u16string> {
    using type = const char16_t*;
};
template <class T>
using TLiteral = typename SLiteralOf<T>::type;

SSchemaValue SchemaValue(int32_t aValue);
SSchemaValue SchemaValue(float aValue);
SSchemaValue SchemaValue(bool aValue);
SSchemaValue SchemaValue(const GUID& aValue);
SSchemaValue SchemaValue(const char16_t* aValue);
SSchemaValue SchemaValue(const SColorF& aValue);
SSchemaValue SchemaValue(const SVectorF& aValue);

// One option of a pick-one item: its stored value, a short name for scripts and the command
// line (lower-case letters and digits), its label and its conditions.
template <class T>
struct SOption {
    T value;
    const char* nickname;
    const char16_t* label;
    std::vector<SSchemaCondition> conditions = {};
};

// The field of a settings struct S that an item binds to.
template <class S>
using TField = std::variant<int32_t S::*, float S::*, bool S::*, GUID S::*, std::u16string S::*, SColorF S::*,
                            SVectorF S::*, SNestedOperation S::*>;

template <class S>
struct SBoundItem {
    SSchemaItem item;
    TField<S> field;
};

// Item makers: the default, the limits and the option values are literals of the field's
// type, so a binding of the wrong type does not compile.
template <class S, class T>
SBoundItem<S> PickOne(const char16_t* aKey, T S::*aField, const char16_t* aLabel, const char16_t* aHelp,
                      std::type_identity_t<T> aDefault, std::vector<SOption<T>> aOptions) {
    std::vector<SSchemaOption> options;
    for (SOption<T>& o : aOptions)
        options.push_back({SchemaValue(o.value), o.label, std::move(o.conditions), o.nickname});
    return {{ESchemaKind::pickOne, aKey, aLabel, aHelp, SchemaValue(aDefault), {}, {}, {}, std::move(options), {}},
            aField};
}
template <class S, class T>
SBoundItem<S> Ranged(const char16_t* aKey, T S::*aField, const char16_t* aLabel, const char16_t* aHelp,
                     std::type_identity_t<T> aDefault, std::type_identity_t<T> aFrom, std::type_identity_t<T> aTo,
                     std::type_identity_t<T> aStep, std::vector<SSchemaCondition> aConditions = {}) {
    return {{ESchemaKind::ranged,
             aKey,
             aLabel,
             aHelp,
             SchemaValue(aDefault),
             SchemaValue(aFrom),
             SchemaValue(aTo),
             SchemaValue(aStep),
             {},
             std::move(aConditions)},
            aField};
}
template <class S, class T>
SBoundItem<S> Simple(const char16_t* aKey, T S::*aField, const char16_t* aLabel, const char16_t* aHelp,
                     TLiteral<T> aDefault, std::vector<SSchemaCondition> aConditions = {}) {
    return {{ESchemaKind::simple, aKey, aLabel, aHelp, SchemaValue(aDefault), {}, {}, {}, {}, std::move(aConditions)},
            aField};
}
// An item that selects an operation, with that operation's configuration below it.
template <class S>
SBoundItem<S> NestedOperation(const char16_t* aKey, SNestedOperation S::*aField, const char16_t* aLabel,
                              const char16_t* aHelp, std::vector<SSchemaCondition> aConditions = {}) {
    return {{ESchemaKind::operation, aKey, aLabel, aHelp, {}, {}, {}, {}, {}, std::move(aConditions)}, aField};
}

// What a schema is without its settings type: the items in order, and their nicknames.
class CSchemaBase {
public:
    const SConfigSchema& Items() const { return items_; }
    // The nickname of the option aValue of item aKey; null when it has none.
    const char* OptionNickname(std::u16string_view aKey, const TConfigValue& aValue) const;
    // The option of item aKey called aNickname (letter case aside); null when there is none.
    const SSchemaOption* OptionByNickname(std::u16string_view aKey, std::string_view aNickname) const;

protected:
    // Checks what the item makers cannot: keys are unique, a condition refers to an item
    // before it, nicknames are well formed and unique within their item. Throws
    // std::logic_error, which the schema tests turn into a failure.
    void Check() const;
    const SSchemaItem* Find(std::u16string_view aKey) const;
    SConfigSchema items_;
};

// Reads one value of a field's type from aConfig; a missing key or another type throws
// CConfigValue::CCastException naming the key.
void ReadValue(IConfig* aConfig, const char16_t* aKey, int32_t& aValue);
void ReadValue(IConfig* aConfig, const char16_t* aKey, float& aValue);
void ReadValue(IConfig* aConfig, const char16_t* aKey, bool& aValue);
void ReadValue(IConfig* aConfig, const char16_t* aKey, GUID& aValue);
void ReadValue(IConfig* aConfig, const char16_t* aKey, std::u16string& aValue);
void ReadValue(IConfig* aConfig, const char16_t* aKey, SColorF& aValue);
void ReadValue(IConfig* aConfig, const char16_t* aKey, SVectorF& aValue);
void ReadValue(IConfig* aConfig, const char16_t* aKey, SNestedOperation& aValue);

void StoreValue(int32_t aValue, TConfigValue& aOut);
void StoreValue(float aValue, TConfigValue& aOut);
void StoreValue(bool aValue, TConfigValue& aOut);
void StoreValue(const GUID& aValue, TConfigValue& aOut);
void StoreValue(const std::u16string& aValue, TConfigValue& aOut);
void StoreValue(const SColorF& aValue, TConfigValue& aOut);
void StoreValue(const SVectorF& aValue, TConfigValue& aOut);
void StoreValue(const SNestedOperation& aValue, TConfigValue& aOut);

// Writes aCount values under aKeys as one change; the values are cleared afterwards.
HRESULT WriteValues(IConfig* aConfig, uint32_t aCount, const char16_t* const* aKeys, TConfigValue* aValues);

template <class S>
class CSchema : public CSchemaBase {
public:
    CSchema(std::initializer_list<SBoundItem<S>> aItems) {
        for (const SBoundItem<S>& b : aItems) {
            items_.push_back(b.item);
            fields_.push_back(b.field);
        }
        Check();
    }

    // The named settings (all of them, in table order, when none are named); the others keep
    // their zero value. A run that reads an item only on some path names what it reads.
    template <class... T>
    S ReadSettings(IConfig* aConfig, T S::*... aFields) const {
        S settings{};
        if constexpr (sizeof...(aFields) == 0) {
            for (size_t i = 0; i < items_.size(); ++i)
                std::visit([&](auto aField) { ReadValue(aConfig, items_[i].key, settings.*aField); }, fields_[i]);
        } else {
            (ReadValue(aConfig, KeyOf(aFields), settings.*aFields), ...);
        }
        return settings;
    }

    // One setting, for runs that read an item only where it applies.
    template <class T>
    T Read(IConfig* aConfig, T S::*aField) const {
        T value{};
        ReadValue(aConfig, KeyOf(aField), value);
        return value;
    }

    // Writes the named fields of aSettings (all of them when none are named) as one change.
    template <class... T>
    HRESULT WriteSettings(IConfig* aConfig, const S& aSettings, T S::*... aFields) const {
        if constexpr (sizeof...(aFields) == 0) {
            std::vector<const char16_t*> keys;
            std::vector<TConfigValue> values(items_.size(), ConfigValueEmpty());
            for (size_t i = 0; i < items_.size(); ++i) {
                keys.push_back(items_[i].key);
                std::visit([&](auto aField) { StoreValue(aSettings.*aField, values[i]); }, fields_[i]);
            }
            return WriteValues(aConfig, uint32_t(keys.size()), keys.data(), values.data());
        } else {
            const char16_t* keys[] = {KeyOf(aFields)...};
            TConfigValue values[sizeof...(aFields)] = {};
            size_t i = 0;
            ((StoreValue(aSettings.*aFields, values[i++])), ...);
            return WriteValues(aConfig, uint32_t(sizeof...(aFields)), keys, values);
        }
    }

    // The key an item binds a field to.
    template <class T>
    const char16_t* KeyOf(T S::*aField) const {
        for (size_t i = 0; i < fields_.size(); ++i)
            if (const auto* f = std::get_if<T S::*>(&fields_[i]); f && *f == aField) return items_[i].key;
        throw std::logic_error("field without an item");
    }

private:
    std::vector<TField<S>> fields_;
};

}  // namespace zt

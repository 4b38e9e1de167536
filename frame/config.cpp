#include "frame/config.h"

#include <memory>
#include <new>

#include "frame/boundary.h"
#include "frame/classes.h"
#include "frame/text.h"

namespace zt {

CConfigValue::CConfigValue(std::u16string_view aValue) : CConfigValue() {
    v_.bstrVal = ZTStrAlloc(aValue);
    if (!v_.bstrVal) throw std::bad_alloc();
    v_.eTypeID = ECVTString;
}

CConfigValue::CConfigValue(float aR, float aG, float aB, float aA) : CConfigValue() {
    TConfigValue& v = Set(ECVTFloatColor);
    v.vecVal[0] = aR, v.vecVal[1] = aG, v.vecVal[2] = aB, v.vecVal[3] = aA;
}

CConfigValue::CConfigValue(float aX, float aY, float aZ) : CConfigValue() {
    TConfigValue& v = Set(ECVTVector3);
    v.vecVal[0] = aX, v.vecVal[1] = aY, v.vecVal[2] = aZ;
}

void ReadItem(IConfig* aConfig, std::u16string_view aKey, CConfigValue& aValue) {
    CZTStr key(aKey);
    TConfigValue* slot = aValue.out();
    if (aConfig) aConfig->ItemValueGet(key, slot);
}

int32_t ReadLong(IConfig* aConfig, std::u16string_view aKey) {
    CConfigValue v;
    ReadItem(aConfig, aKey, v);
    return v.AsLong();
}
float ReadFloat(IConfig* aConfig, std::u16string_view aKey) {
    CConfigValue v;
    ReadItem(aConfig, aKey, v);
    return v.AsFloat();
}
bool ReadBool(IConfig* aConfig, std::u16string_view aKey) {
    CConfigValue v;
    ReadItem(aConfig, aKey, v);
    return v.AsBool();
}
GUID ReadGUID(IConfig* aConfig, std::u16string_view aKey) {
    CConfigValue v;
    ReadItem(aConfig, aKey, v);
    return v.AsGUID();
}

namespace {

// A schema value as a TConfigValue that lives for one builder call.
struct CValue {
    explicit CValue(const SSchemaValue& s) : v(ConfigValueEmpty()) {
        v.eTypeID = s.type;
        switch (s.type) {
            case ECVTInteger: v.iVal = s.i; break;
            case ECVTFloat: v.fVal = s.f[0]; break;
            case ECVTBool: v.bVal = s.b; break;
            case ECVTGUID: v.guidVal = s.g; break;
            case ECVTString:
                v.bstrVal = ZTStrAlloc(s.s ? std::u16string_view(s.s) : std::u16string_view());
                if (!v.bstrVal) throw std::bad_alloc();
                break;
            case ECVTFloatColor:
            case ECVTVector3:
                for (int k = 0; k < 4; ++k) v.vecVal[k] = s.f[k];
                break;
            default: break;
        }
    }
    ~CValue() { ConfigValueClear(v); }
    CValue(const CValue&) = delete;
    TConfigValue v;
};

// The conditions of an item or option, with their keys and values made for the call.
struct CConditions {
    explicit CConditions(const std::vector<SSchemaCondition>& aConditions) {
        keys.reserve(aConditions.size());
        values.reserve(aConditions.size());
        for (const SSchemaCondition& c : aConditions) {
            keys.emplace_back(std::make_unique<CZTStr>(c.key));
            values.emplace_back(std::make_unique<CValue>(c.value));
            records.push_back({keys.back()->get(), c.code, values.back()->v});
        }
    }
    uint32_t Count() const { return static_cast<uint32_t>(records.size()); }
    const TConfigOptionCondition* Data() const { return records.empty() ? nullptr : records.data(); }
    std::vector<std::unique_ptr<CZTStr>> keys;
    std::vector<std::unique_ptr<CValue>> values;
    std::vector<TConfigOptionCondition> records;
};

ComPtr<ILocalizedString> Label(const char16_t* aText) {
    return aText ? MultiLanguage(aText) : ComPtr<ILocalizedString>();
}

}  // namespace

ComPtr<IConfig> BuildConfig(IOperationManager* aManager, const SConfigSchema& aSchema, IConfigCustomGUI* aGUI) {
    ComPtr<IConfigBuilder> builder = HostCreate<IConfigBuilder>(CLSID_ConfigBuilder);
    if (!builder) throw CHResultException{E_UNEXPECTED};
    for (const SSchemaItem& item : aSchema) {
        CZTStr key(item.key);
        ComPtr<ILocalizedString> name = Label(item.label), help = Label(item.help);
        CConditions conditions(item.conditions);
        switch (item.kind) {
            case ESchemaKind::pickOne: {
                CValue def(item.defaultValue);
                builder->ItemIns1ofN(key, name, help, &def.v, nullptr);
                for (const SSchemaOption& option : item.options) {
                    CValue value(option.value);
                    CConditions optionConditions(option.conditions);
                    builder->ItemOptionAdd(key, &value.v, Label(option.label), optionConditions.Count(),
                                           optionConditions.Data());
                }
                break;
            }
            case ESchemaKind::ranged: {
                CValue def(item.defaultValue), from(item.from), to(item.to), step(item.step);
                builder->ItemInsRanged(key, name, help, &def.v, nullptr, &from.v, &to.v, &step.v, conditions.Count(),
                                       conditions.Data());
                break;
            }
            case ESchemaKind::simple: {
                CValue def(item.defaultValue);
                builder->ItemInsSimple(key, name, help, &def.v, nullptr, conditions.Count(), conditions.Data());
                break;
            }
            case ESchemaKind::operation: {
                // Without a manager of the caller's, the host's own lists the operations.
                ComPtr<IOperationManager> manager = aManager ? ComPtr<IOperationManager>(aManager)
                                                             : HostCreate<IOperationManager>(CLSID_OperationManager);
                if (!manager) throw CHResultException{E_POINTER};
                ThrowIfFailed(manager->InsertIntoConfigAs(manager, builder, key, name, help, conditions.Count(),
                                                          conditions.Data()));
                break;
            }
        }
    }
    ThrowIfFailed(builder->Finalize(aGUI));
    return ComPtr<IConfig>::query(builder.get());
}

HRESULT ConfigFromSchema(IOperationManager* aManager, const SConfigSchema& aSchema, IConfig** aConfig) {
    return GuardOut(aConfig, [&] {
        *aConfig = BuildConfig(aManager, aSchema, nullptr).detach();
        return S_OK;
    });
}

}  // namespace zt

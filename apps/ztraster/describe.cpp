// ztraster describe: the settings of an operation, as text or JSON. The items are read once
// into a model that both forms render.
#include <cstdio>

#include "apps/ztraster/commands.h"
#include "apps/ztraster/module.h"

namespace ztcli {

namespace {

struct SDescribeSettings {
    bool json = false;
};

const std::vector<SOption<SDescribeSettings>> kOptions = {
    {{"--json", nullptr, {}, {"prints one JSON object instead of text", "vypíše jeden objekt JSON místo textu"}},
     [](SDescribeSettings& s, const std::string&, const std::string&) { s.json = true; }},
};

const SCommandText kText = {"describe",
                            {"OPERATION [OPTION]...", "OPERACE [VOLBA]..."},
                            {"the settings of an operation: keys, types, defaults, ranges, options, help",
                             "nastavení operace: klíče, typy, výchozí hodnoty, rozsahy, volby, nápověda"},
                            TextsOf(kOptions)};

// ------------------------------------------------------------ the model

struct SCondition {
    std::string key;
    uint32_t code;
    std::string value;
};

struct SOptionModel {
    std::string value, label, nickname;  // nickname "" for none
    std::vector<SCondition> conditions;
};

struct SItemModel {
    std::string key, kind, type, defaultValue, label;
    bool hasHelp = false;
    std::string help;
    bool ranged = false;
    std::string from, to, step;
    std::vector<SOptionModel> options;
    std::vector<SCondition> conditions;
    bool nested = false;  // an operation item with the selected operation's items below
    std::vector<SItemModel> items;
};

const char* KindName(zthost::ConfigItemKind aKind) {
    switch (aKind) {
        case zthost::ConfigItemKind::pickOne: return "pick-one";
        case zthost::ConfigItemKind::ranged: return "ranged";
        case zthost::ConfigItemKind::simple: return "simple";
        case zthost::ConfigItemKind::operation: return "operation";
    }
    return "";
}

const char* TypeName(uint32_t aType) {
    switch (aType) {
        case ECVTInteger: return "long";
        case ECVTFloat: return "float";
        case ECVTBool: return "bool";
        case ECVTString: return "string";
        case ECVTGUID: return "guid";
        case ECVTFloatColor: return "colour";
        case ECVTVector3: return "vector";
        default: return "empty";
    }
}

std::vector<SCondition> Conditions(const std::vector<TConfigOptionCondition>& aConditions) {
    std::vector<SCondition> out;
    for (const TConfigOptionCondition& c : aConditions)
        out.push_back({Utf16ToUtf8(ZTStrView(c.bstrID)), c.eConditionType, ValueText(c.tValue)});
    return out;
}

// The nicknames of the operation that item aKey of aConfig selects.
ComPtr<IOperationSchema> SelectedSchema(IConfig* aConfig, const std::u16string& aKey) {
    SValue selected;
    CZTStr key(aKey);
    if (FAILED(aConfig->ItemValueGet(key, &selected.v)) || selected.v.eTypeID != ECVTGUID) return nullptr;
    return SchemaOf(selected.v.guidVal);
}

std::vector<SItemModel> Model(IConfig* aConfig, IOperationSchema* aSchema) {
    std::vector<SItemModel> items;
    for (const zthost::ConfigItemInfo& info : zthost::DescribeConfig(aConfig)) {
        SItemModel item;
        item.key = Utf16ToUtf8(info.key);
        item.kind = KindName(info.kind);
        item.type = TypeName(info.defaultValue->eTypeID);
        item.defaultValue = ValueText(*info.defaultValue);
        item.label = Text(info.name);
        item.hasHelp = info.help != nullptr;
        item.help = Text(info.help);
        if (info.kind == zthost::ConfigItemKind::ranged) {
            item.ranged = true;
            item.from = ValueText(*info.from);
            item.to = ValueText(*info.to);
            item.step = ValueText(*info.step);
        }
        for (const zthost::ConfigOption* o : info.options)
            item.options.push_back({ValueText(o->value), Text(o->name), NicknameOf(aSchema, info.key, o->value),
                                    Conditions(o->conditions)});
        if (info.conditions) item.conditions = Conditions(*info.conditions);
        if (info.kind == zthost::ConfigItemKind::operation) {
            ComPtr<IConfig> sub;
            CZTStr subKey(info.key);
            if (SUCCEEDED(aConfig->SubConfigGet(subKey, sub.out())) && sub) {
                item.nested = true;
                item.items = Model(sub, SelectedSchema(aConfig, info.key));
            }
        }
        items.push_back(std::move(item));
    }
    return items;
}

// ------------------------------------------------------------ text

const char* ConditionName(uint32_t aCode) {
    static const char* names[] = {"==", "!=", "<", "<=", ">", ">="};
    return aCode < 6 ? names[aCode] : "?";
}

std::string ConditionsText(const std::vector<SCondition>& aConditions) {
    std::string s;
    for (const SCondition& c : aConditions)
        s += (s.empty() ? "" : " and ") + c.key + " " + ConditionName(c.code) + " " + c.value;
    return s;
}

void PrintText(const std::vector<SItemModel>& aItems, const std::string& aIndent) {
    for (const SItemModel& item : aItems) {
        const char* in = aIndent.c_str();
        std::printf("%s%s  (%s, %s)  %s %s\n", in, item.key.c_str(), item.kind.c_str(), item.type.c_str(),
                    T("default", "výchozí").c_str(), item.defaultValue.c_str());
        std::printf("%s    %s\n", in, item.label.c_str());
        if (item.hasHelp) std::printf("%s    %s\n", in, item.help.c_str());
        if (item.ranged)
            std::printf("%s    %s %s .. %s, %s %s\n", in, T("range", "rozsah").c_str(), item.from.c_str(),
                        item.to.c_str(), T("step", "krok").c_str(), item.step.c_str());
        for (const SOptionModel& o : item.options) {
            std::printf("%s    = %s  %s", in, o.value.c_str(), o.label.c_str());
            if (!o.nickname.empty()) std::printf("  [%s]", o.nickname.c_str());
            if (!o.conditions.empty())
                std::printf("  (%s %s)", T("when", "když").c_str(), ConditionsText(o.conditions).c_str());
            std::printf("\n");
        }
        if (!item.conditions.empty())
            std::printf("%s    %s %s\n", in, T("shown when", "zobrazeno, když").c_str(),
                        ConditionsText(item.conditions).c_str());
        if (item.nested) PrintText(item.items, aIndent + "    " + item.key + "/");
    }
}

// ------------------------------------------------------------ JSON

std::string ConditionsJson(const std::vector<SCondition>& aConditions) {
    std::string s = "[";
    for (const SCondition& c : aConditions) {
        if (s.size() > 1) s += ",";
        s += "{\"key\":" + JsonString(c.key) + ",\"code\":" + std::to_string(c.code) +
             ",\"value\":" + JsonString(c.value) + "}";
    }
    return s + "]";
}

std::string Json(const std::vector<SItemModel>& aItems) {
    std::string s = "[";
    for (const SItemModel& item : aItems) {
        if (s.size() > 1) s += ",";
        s += "{\"key\":" + JsonString(item.key) + ",\"kind\":" + JsonString(item.kind) +
             ",\"type\":" + JsonString(item.type) + ",\"default\":" + JsonString(item.defaultValue) +
             ",\"label\":" + JsonString(item.label) +
             ",\"help\":" + (item.hasHelp ? JsonString(item.help) : std::string("null"));
        if (item.ranged)
            s += ",\"from\":" + JsonString(item.from) + ",\"to\":" + JsonString(item.to) +
                 ",\"step\":" + JsonString(item.step);
        if (!item.options.empty()) {
            s += ",\"options\":[";
            for (size_t i = 0; i < item.options.size(); ++i) {
                const SOptionModel& o = item.options[i];
                s += std::string(i ? "," : "") + "{\"value\":" + JsonString(o.value) +
                     ",\"label\":" + JsonString(o.label) + ",\"conditions\":" + ConditionsJson(o.conditions) +
                     ",\"nickname\":" + (o.nickname.empty() ? std::string("null") : JsonString(o.nickname)) + "}";
            }
            s += "]";
        }
        s += ",\"conditions\":" + ConditionsJson(item.conditions);
        if (item.nested) s += ",\"items\":" + Json(item.items);
        s += "}";
    }
    return s + "]";
}

// ------------------------------------------------------------ the command

int Describe(const std::vector<std::string>& aArgs) {
    SDescribeSettings settings;
    const std::vector<std::string> operands = ParseOptions(kOptions, aArgs, settings);
    if (operands.empty()) Usage(T("describe needs OPERATION", "describe potřebuje OPERACI"));
    if (operands.size() > 1) Usage(T("describe takes one OPERATION", "describe bere jednu OPERACI"));
    auto module = LoadModule();
    const CLSID id = ResolveOperation(*module, operands[0]);
    const std::string shortName = zthost::ShortNameOf(id);
    ComPtr<IDocumentOperation> op = CreateOperation(id, shortName);
    ComPtr<IConfig> config;
    HRESULT hr = op->ConfigCreate(zthost::OperationManager(), config.out());
    if (!config) Failed(shortName + T(": ConfigCreate failed: ", ": ConfigCreate selhalo: ") + ResultText(hr));
    ComPtr<ILocalizedString> name;
    op->NameGet(zthost::OperationManager(), name.out());
    const std::vector<SItemModel> items = Model(config, SchemaOf(id));
    if (settings.json) {
        std::printf("{\"operation\":%s,\"class\":%s,\"className\":%s,\"name\":%s,\"items\":%s}\n",
                    JsonString(shortName).c_str(), JsonString(GuidToString(id)).c_str(),
                    JsonString(zthost::ClassNameOf(id)).c_str(), JsonString(Text(name)).c_str(), Json(items).c_str());
    } else {
        std::printf("%s  %s  {%s}\n%s\n\n", shortName.c_str(), zthost::ClassNameOf(id).c_str(),
                    GuidToString(id).c_str(), Text(name).c_str());
        PrintText(items, "  ");
    }
    return kExitOk;
}

}  // namespace

const SCommand kDescribeCommand = {kText, Describe};

}  // namespace ztcli

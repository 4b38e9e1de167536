// ztraster: lists, describes and applies the module's operations to image files.
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <climits>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cctype>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "apps/ztraster/cli.h"
#include "apps/ztraster/image_io.h"
#include "apps/ztraster/masks.h"
#include "apps/ztraster/layers.h"
#include "host/zthost.h"

using namespace ztcli;

namespace {

const char* kHelpEnglish =
    "Usage:\n"
    "  ztraster list [--lang en|cs]\n"
    "  ztraster describe OPERATION [--lang en|cs] [--json]\n"
    "  ztraster apply OPERATION [--set KEY=VALUE]... [--threads N] [--canvas W,H] [--origin X,Y]\n"
    "                 [--default 0xAARRGGBB] [--gamma G] [--region canvas|content] [--info]\n"
    "                 [--mask FILE[@X,Y]] [--mask-rect X,Y,W,H] [--repeat N] INPUT -o OUTPUT\n"
    "\n"
    "list      every operation of the module: short name, class id, categories and name\n"
    "describe  the settings of an operation: keys, types, defaults, ranges, options, help\n"
    "apply     runs an operation on an image file (PNG or JPEG) and writes the result\n"
    "\n"
    "OPERATION is a short name such as ShiftHue (case-insensitive) or a class id.\n"
    "Options of apply:\n"
    "  --set KEY=VALUE     sets a setting; nested keys with / (Operation/Angle=40); an option by its\n"
    "                      number or its name (Method=3 or Method=gaussian, see describe)\n"
    "  --threads N         number of worker threads (default: all hardware threads)\n"
    "  --canvas W,H        canvas size (default: the image size)\n"
    "  --origin X,Y        where the image stands on the canvas (default 0,0)\n"
    "  --default COLOUR    the pixel outside the image, 0xAARRGGBB (default 0)\n"
    "  --gamma G           the document's gamma attribute (default 2.2)\n"
    "  --region R          write the canvas (default) or the content rectangle\n"
    "  --info              print one JSON line with the result and the document's geometry\n"
    "  --mask, --mask-rect a selection mask for the operations that use one\n"
    "  --repeat N          run N times on fresh copies and print the median time of the run\n"
    "  --layer FILE[@X,Y]  a layer of a layered image (repeat; INPUT, if any, is the bottom one)\n"
    "  --flatten           write the layers composited into one image (else -o needs %d)\n"
    "  -o OUTPUT           output file; .png or .jpg\n"
    "Exit status: 0 done (or nothing to do), 1 the operation failed, 2 bad usage or input.\n"
    "The module is found next to ztraster, or at ZT_MODULE_PATH.\n";

const char* kHelpCzech =
    "Použití:\n"
    "  ztraster list [--lang en|cs]\n"
    "  ztraster describe OPERACE [--lang en|cs] [--json]\n"
    "  ztraster apply OPERACE [--set KLÍČ=HODNOTA]... [--threads N] [--canvas Š,V] [--origin X,Y]\n"
    "                 [--default 0xAARRGGBB] [--gamma G] [--region canvas|content] [--info]\n"
    "                 [--mask SOUBOR[@X,Y]] [--mask-rect X,Y,Š,V] [--repeat N] VSTUP -o VÝSTUP\n"
    "\n"
    "list      všechny operace modulu: krátké jméno, id třídy, kategorie a název\n"
    "describe  nastavení operace: klíče, typy, výchozí hodnoty, rozsahy, volby, nápověda\n"
    "apply     provede operaci na obrázku (PNG nebo JPEG) a zapíše výsledek\n"
    "\n"
    "OPERACE je krátké jméno, například ShiftHue (na velikosti písmen nezáleží), nebo id třídy.\n"
    "Volby příkazu apply:\n"
    "  --set KLÍČ=HODNOTA  nastaví hodnotu; vnořené klíče s / (Operation/Angle=40); možnost číslem\n"
    "                      nebo jménem (Method=3 nebo Method=gaussian, viz describe)\n"
    "  --threads N         počet pracovních vláken (výchozí: všechna vlákna procesoru)\n"
    "  --canvas Š,V        velikost plátna (výchozí: velikost obrázku)\n"
    "  --origin X,Y        kde obrázek leží na plátně (výchozí 0,0)\n"
    "  --default BARVA     pixel mimo obrázek, 0xAARRGGBB (výchozí 0)\n"
    "  --gamma G           atribut gama dokumentu (výchozí 2,2)\n"
    "  --region R          zapíše plátno (výchozí) nebo obdélník obsahu\n"
    "  --info              vypíše řádek JSON s výsledkem a geometrií dokumentu\n"
    "  --mask, --mask-rect výběrová maska pro operace, které ji používají\n"
    "  --repeat N          provede N běhů na čerstvých kopiích a vypíše medián doby běhu\n"
    "  --layer SOUBOR[@X,Y] vrstva vrstveného obrázku (opakujte; VSTUP, je-li zadán, je nejspodnější)\n"
    "  --flatten           zapíše vrstvy složené do jednoho obrázku (jinak -o potřebuje %d)\n"
    "  -o VÝSTUP           výstupní soubor; .png nebo .jpg\n"
    "Návratový kód: 0 hotovo (nebo nebylo co dělat), 1 operace selhala, 2 chybné použití nebo vstup.\n"
    "Modul se hledá vedle programu ztraster, nebo v ZT_MODULE_PATH.\n";

std::string Quote(const std::string& aText) { return "\"" + aText + "\""; }

// ------------------------------------------------------------ module

std::shared_ptr<zthost::Module> LoadModule() {
    std::string path;
    if (const char* env = std::getenv("ZT_MODULE_PATH"); env && *env) {
        path = env;
    } else {
        char self[PATH_MAX];
        ssize_t n = readlink("/proc/self/exe", self, sizeof self - 1);
        std::string dir = n > 0 ? std::string(self, n) : std::string(".");
        dir = dir.substr(0, dir.find_last_of('/') + 1);
        path = dir + "libZTOperationImageRaster.so";
    }
    std::string error;
    auto module = zthost::Module::Load(path, &error);
    if (!module) Failed(T("cannot load the module: ", "nelze načíst modul: ") + error);
    return module;
}

CLSID ResolveOperation(const zthost::Module& aModule, const std::string& aName) {
    CLSID id;
    bool known = zthost::ClassIdFromName(aName, &id);
    if (known) {
        for (const zthost::ClassInfo& c : aModule.Classes())
            if (c.id == id && !c.categories.empty()) return id;
    }
    std::string names;
    for (const zthost::ClassInfo& c : aModule.Classes())
        if (std::find(c.categories.begin(), c.categories.end(), category::operation) != c.categories.end())
            names += (names.empty() ? "" : ", ") + zthost::ShortNameOf(c.id);
    Usage(T("unknown operation ", "neznámá operace ") + Quote(aName) + T("; available: ", "; k dispozici: ") + names);
}

ComPtr<IDocumentOperation> CreateOperation(const CLSID& aClass, const std::string& aName) {
    ComPtr<IDocumentOperation> op;
    HRESULT hr = zthost::CreateInstance(aClass, IDocumentOperation::iid, op.out());
    if (!op) Failed(T("cannot create operation ", "nelze vytvořit operaci ") + aName + ": " + ResultText(hr));
    return op;
}

std::string CategoryName(const GUID& aId) {
    struct {
        const GUID* id;
        const char* name;
    } static const names[] = {
        {&category::operation, "operation"},   {&category::shadow, "shadow"},
        {&category::mask, "mask"},             {&category::background, "background"},
        {&category::filter, "filter"},         {&category::colour, "colour"},
        {&category::effect, "effect"},         {&category::surface, "surface"},
        {&category::geometry, "geometry"},     {&category::fade, "fade"},
        {&category::outline, "outline"},       {&category::script_operation, "script operation"},
        {&category::script_object, "script object"}, {&category::transformation, "transformation"},
        {&category::menu_commands, "menu commands"}, {&category::edit_tools, "edit tools"},
    };
    for (const auto& n : names)
        if (*n.id == aId) return n.name;
    return GuidToString(aId);
}

std::string ValueText(const TConfigValue& aValue);

// A configuration value read through an interface, cleared when it goes.
struct SValue {
    TConfigValue v = ConfigValueEmpty();
    SValue() = default;
    SValue(const SValue&) = delete;
    SValue& operator=(const SValue&) = delete;
    ~SValue() { ConfigValueClear(v); }
};

// The option nicknames of an operation class, or null when it answers none.
ComPtr<IOperationSchema> SchemaOf(const CLSID& aClass) {
    ComPtr<IDocumentOperation> op;
    zthost::CreateInstance(aClass, IDocumentOperation::iid, op.out());
    return op ? ComPtr<IOperationSchema>::query(op.get()) : nullptr;
}

// The class a nested key's item belongs to: the class for a plain key, else the class that
// the item above it selects (Operation/Method: the operation stored in "Operation").
CLSID OwnerOf(const CLSID& aClass, IConfig* aConfig, const std::string& aKey, std::string* aItem) {
    const size_t slash = aKey.rfind('/');
    *aItem = aKey.substr(slash == std::string::npos ? 0 : slash + 1);
    if (slash == std::string::npos) return aClass;
    SValue selected;
    CZTStr parent(Utf8ToUtf16(aKey.substr(0, slash)));
    if (FAILED(aConfig->ItemValueGet(parent, &selected.v)) || selected.v.eTypeID != ECVTGUID) return CLSID{};
    return selected.v.guidVal;
}

// The nickname of an option of item aKey, or "".
std::string NicknameOf(IOperationSchema* aSchema, const std::u16string& aKey, const TConfigValue& aValue) {
    if (!aSchema) return {};
    CZTStr key(aKey), nickname;
    if (aSchema->OptionNickname(key, &aValue, nickname.out()) != S_OK) return {};
    return Utf16ToUtf8(ZTStrView(nickname.get()));
}

// A nickname of a pick-one option (Method=gaussian) as the text of its value; the text itself
// when the item's operation knows no such nickname.
std::string OptionValueText(const CLSID& aClass, IConfig* aConfig, const std::string& aKey, const std::string& aValue) {
    std::string item;
    const CLSID owner = OwnerOf(aClass, aConfig, aKey, &item);
    ComPtr<IOperationSchema> schema = SchemaOf(owner);
    if (!schema || aValue.empty()) return aValue;
    CZTStr key(Utf8ToUtf16(item)), nickname(Utf8ToUtf16(aValue));
    SValue value;
    if (schema->OptionByNickname(key, nickname, &value.v) == S_OK) return zthost::ConfigValueToString(value.v);
    // A word where a pick-one item with nicknames wants its option: say which ones there are.
    if (!std::isalpha(static_cast<unsigned char>(aValue[0]))) return aValue;
    ComPtr<IConfig> items(aConfig);
    if (const size_t slash = aKey.rfind('/'); slash != std::string::npos) {
        CZTStr parent(Utf8ToUtf16(aKey.substr(0, slash)));
        items = nullptr;
        aConfig->SubConfigGet(parent, items.out());
    }
    if (!items) return aValue;
    for (const zthost::ConfigItemInfo& info : zthost::DescribeConfig(items)) {
        if (Utf16ToUtf8(info.key) != item || info.kind != zthost::ConfigItemKind::pickOne) continue;
        std::string options;
        for (const zthost::ConfigOption* o : info.options) {
            const std::string nick = NicknameOf(schema, info.key, o->value);
            options += (options.empty() ? "" : ", ") + ValueText(o->value) + (nick.empty() ? "" : " " + nick);
        }
        Usage("--set: " + T("key ", "klíč ") + Quote(aKey) + ": " + Quote(aValue) +
              T(" is none of its options: ", " není žádná z jeho možností: ") + options);
    }
    return aValue;
}

// ------------------------------------------------------------ list

int List() {
    auto module = LoadModule();
    for (const zthost::ClassInfo& c : module->Classes()) {
        if (c.categories.empty()) continue;  // made only by class id, never listed
        std::string categories;
        for (const GUID& g : c.categories) categories += (categories.empty() ? "" : ", ") + CategoryName(g);
        std::string name;
        ComPtr<IDocumentOperation> op;
        zthost::CreateInstance(c.id, IDocumentOperation::iid, op.out());
        if (op) {
            ComPtr<ILocalizedString> text;
            if (SUCCEEDED(op->NameGet(zthost::OperationManager(), text.out())) && text)
                name = zthost::TextOf(text, Language());
        }
        std::printf("%-22s {%s}  [%s]  %s\n", zthost::ShortNameOf(c.id).c_str(), GuidToString(c.id).c_str(),
                    categories.c_str(), name.c_str());
    }
    return kExitOk;
}

// ------------------------------------------------------------ describe

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

const char* ConditionName(uint32_t aCode) {
    static const char* names[] = {"==", "!=", "<", "<=", ">", ">="};
    return aCode < 6 ? names[aCode] : "?";
}

std::string Text(ILocalizedString* aText) { return aText ? zthost::TextOf(aText, Language()) : std::string(); }

std::string ValueText(const TConfigValue& aValue) {
    if (aValue.eTypeID == ECVTGUID) {
        std::string shortName = zthost::ShortNameOf(aValue.guidVal);
        if (!shortName.empty()) return shortName;
    }
    return zthost::ConfigValueToString(aValue);
}

std::string ConditionsText(const std::vector<TConfigOptionCondition>& aConditions) {
    std::string s;
    for (const TConfigOptionCondition& c : aConditions)
        s += (s.empty() ? "" : " and ") + Utf16ToUtf8(ZTStrView(c.bstrID)) + " " + ConditionName(c.eConditionType) +
             " " + ValueText(c.tValue);
    return s;
}

std::string ConditionsJson(const std::vector<TConfigOptionCondition>& aConditions) {
    std::string s = "[";
    for (const TConfigOptionCondition& c : aConditions) {
        if (s.size() > 1) s += ",";
        s += "{\"key\":" + JsonString(Utf16ToUtf8(ZTStrView(c.bstrID))) + ",\"code\":" +
             std::to_string(c.eConditionType) + ",\"value\":" + JsonString(ValueText(c.tValue)) + "}";
    }
    return s + "]";
}

// The nicknames of the operation that item aKey of aConfig selects.
ComPtr<IOperationSchema> SelectedSchema(IConfig* aConfig, const std::u16string& aKey) {
    SValue selected;
    CZTStr key(aKey);
    if (FAILED(aConfig->ItemValueGet(key, &selected.v)) || selected.v.eTypeID != ECVTGUID) return nullptr;
    return SchemaOf(selected.v.guidVal);
}

void DescribeText(IConfig* aConfig, IOperationSchema* aSchema, const std::string& aIndent) {
    for (const zthost::ConfigItemInfo& item : zthost::DescribeConfig(aConfig)) {
        const std::string key = Utf16ToUtf8(item.key);
        std::printf("%s%s  (%s, %s)  %s %s\n", aIndent.c_str(), key.c_str(), KindName(item.kind),
                    TypeName(item.defaultValue->eTypeID), T("default", "výchozí").c_str(),
                    ValueText(*item.defaultValue).c_str());
        std::printf("%s    %s\n", aIndent.c_str(), Text(item.name).c_str());
        if (item.help) std::printf("%s    %s\n", aIndent.c_str(), Text(item.help).c_str());
        if (item.kind == zthost::ConfigItemKind::ranged)
            std::printf("%s    %s %s .. %s, %s %s\n", aIndent.c_str(), T("range", "rozsah").c_str(),
                        ValueText(*item.from).c_str(), ValueText(*item.to).c_str(), T("step", "krok").c_str(),
                        ValueText(*item.step).c_str());
        for (const zthost::ConfigOption* option : item.options) {
            std::printf("%s    = %s  %s", aIndent.c_str(), ValueText(option->value).c_str(),
                        Text(option->name).c_str());
            const std::string nickname = NicknameOf(aSchema, item.key, option->value);
            if (!nickname.empty()) std::printf("  [%s]", nickname.c_str());
            if (!option->conditions.empty())
                std::printf("  (%s %s)", T("when", "když").c_str(), ConditionsText(option->conditions).c_str());
            std::printf("\n");
        }
        if (item.conditions && !item.conditions->empty())
            std::printf("%s    %s %s\n", aIndent.c_str(), T("shown when", "zobrazeno, když").c_str(),
                        ConditionsText(*item.conditions).c_str());
        if (item.kind == zthost::ConfigItemKind::operation) {
            ComPtr<IConfig> sub;
            CZTStr subKey(item.key);
            if (SUCCEEDED(aConfig->SubConfigGet(subKey, sub.out())) && sub)
                DescribeText(sub, SelectedSchema(aConfig, item.key), aIndent + "    " + key + "/");
        }
    }
}

std::string DescribeJson(IConfig* aConfig, IOperationSchema* aSchema) {
    std::string s = "[";
    for (const zthost::ConfigItemInfo& item : zthost::DescribeConfig(aConfig)) {
        if (s.size() > 1) s += ",";
        s += "{\"key\":" + JsonString(Utf16ToUtf8(item.key)) + ",\"kind\":" + JsonString(KindName(item.kind)) +
             ",\"type\":" + JsonString(TypeName(item.defaultValue->eTypeID)) +
             ",\"default\":" + JsonString(ValueText(*item.defaultValue)) + ",\"label\":" + JsonString(Text(item.name)) +
             ",\"help\":" + (item.help ? JsonString(Text(item.help)) : std::string("null"));
        if (item.kind == zthost::ConfigItemKind::ranged)
            s += ",\"from\":" + JsonString(ValueText(*item.from)) + ",\"to\":" + JsonString(ValueText(*item.to)) +
                 ",\"step\":" + JsonString(ValueText(*item.step));
        if (!item.options.empty()) {
            s += ",\"options\":[";
            for (size_t i = 0; i < item.options.size(); ++i) {
                const zthost::ConfigOption* o = item.options[i];
                s += std::string(i ? "," : "") + "{\"value\":" + JsonString(ValueText(o->value)) +
                     ",\"label\":" + JsonString(Text(o->name)) + ",\"conditions\":" + ConditionsJson(o->conditions);
                const std::string nickname = NicknameOf(aSchema, item.key, o->value);
                s += ",\"nickname\":" + (nickname.empty() ? std::string("null") : JsonString(nickname)) + "}";
            }
            s += "]";
        }
        s += ",\"conditions\":" + (item.conditions ? ConditionsJson(*item.conditions) : std::string("[]"));
        if (item.kind == zthost::ConfigItemKind::operation) {
            ComPtr<IConfig> sub;
            CZTStr subKey(item.key);
            if (SUCCEEDED(aConfig->SubConfigGet(subKey, sub.out())) && sub)
                s += ",\"items\":" + DescribeJson(sub, SelectedSchema(aConfig, item.key));
        }
        s += "}";
    }
    return s + "]";
}

int Describe(const std::string& aOperation, bool aJson) {
    auto module = LoadModule();
    const CLSID id = ResolveOperation(*module, aOperation);
    const std::string shortName = zthost::ShortNameOf(id);
    ComPtr<IDocumentOperation> op = CreateOperation(id, shortName);
    ComPtr<IConfig> config;
    HRESULT hr = op->ConfigCreate(zthost::OperationManager(), config.out());
    if (!config) Failed(shortName + T(": ConfigCreate failed: ", ": ConfigCreate selhalo: ") + ResultText(hr));
    ComPtr<ILocalizedString> name;
    op->NameGet(zthost::OperationManager(), name.out());
    if (aJson) {
        std::printf("{\"operation\":%s,\"class\":%s,\"className\":%s,\"name\":%s,\"items\":%s}\n",
                    JsonString(shortName).c_str(), JsonString(GuidToString(id)).c_str(),
                    JsonString(zthost::ClassNameOf(id)).c_str(), JsonString(Text(name)).c_str(),
                    DescribeJson(config, SchemaOf(id)).c_str());
    } else {
        std::printf("%s  %s  {%s}\n%s\n\n", shortName.c_str(), zthost::ClassNameOf(id).c_str(),
                    GuidToString(id).c_str(), Text(name).c_str());
        DescribeText(config, SchemaOf(id), "  ");
    }
    return kExitOk;
}

// ------------------------------------------------------------ apply

struct ApplyOptions {
    std::string operation, input, output;
    std::vector<std::pair<std::string, std::string>> sets;
    uint32_t threads = 0;
    bool hasCanvas = false;
    TImageSize canvas{0, 0};
    TImagePoint origin{0, 0};
    TPixelChannel defaultPixel{};
    float gamma = 2.2f;
    bool contentRegion = false;
    bool info = false;
    uint32_t repeat = 0;
    std::vector<MaskOption> masks;  // the last one is the run's
    std::vector<LayerOption> layers;
    bool flatten = false;
};

long long ParseInteger(const std::string& aOption, const std::string& aText, long long aMin, long long aMax) {
    errno = 0;
    char* end = nullptr;
    long long v = std::strtoll(aText.c_str(), &end, 0);
    if (aText.empty() || *end || errno || v < aMin || v > aMax)
        Usage(aOption + ": " + Quote(aText) + T(" is not an integer from ", " není celé číslo od ") +
              std::to_string(aMin) + T(" to ", " do ") + std::to_string(aMax));
    return v;
}

std::vector<long long> ParseList(const std::string& aOption, const std::string& aText, size_t aCount, long long aMin,
                                 long long aMax, const char* aForm) {
    std::vector<long long> values;
    size_t start = 0;
    while (true) {
        size_t comma = aText.find(',', start);
        std::string part = aText.substr(start, comma == std::string::npos ? std::string::npos : comma - start);
        values.push_back(ParseInteger(aOption, part, aMin, aMax));
        if (comma == std::string::npos) break;
        start = comma + 1;
    }
    if (values.size() != aCount) Usage(aOption + ": " + Quote(aText) + T(" is not of the form ", " nemá tvar ") + aForm);
    return values;
}

ApplyOptions ParseApply(const std::vector<std::string>& aArgs) {
    ApplyOptions o;
    std::vector<std::string> positional;
    for (size_t i = 0; i < aArgs.size(); ++i) {
        const std::string& a = aArgs[i];
        auto value = [&]() -> const std::string& {
            if (i + 1 >= aArgs.size()) Usage(a + T(" needs a value", " potřebuje hodnotu"));
            return aArgs[++i];
        };
        if (a == "--set") {
            const std::string& kv = value();
            size_t eq = kv.find('=');
            if (eq == std::string::npos || eq == 0)
                Usage("--set: " + Quote(kv) + T(" is not of the form KEY=VALUE", " nemá tvar KLÍČ=HODNOTA"));
            o.sets.emplace_back(kv.substr(0, eq), kv.substr(eq + 1));
        } else if (a == "--threads") {
            o.threads = static_cast<uint32_t>(ParseInteger(a, value(), 1, 256));
        } else if (a == "--canvas") {
            auto v = ParseList(a, value(), 2, 1, UINT32_MAX, "W,H");
            o.canvas = {uint32_t(v[0]), uint32_t(v[1])};
            o.hasCanvas = true;
        } else if (a == "--origin") {
            auto v = ParseList(a, value(), 2, INT32_MIN, INT32_MAX, "X,Y");
            o.origin = {int32_t(v[0]), int32_t(v[1])};
        } else if (a == "--default") {
            o.defaultPixel.n = static_cast<uint32_t>(ParseInteger(a, value(), 0, UINT32_MAX));
        } else if (a == "--gamma") {
            const std::string& g = value();
            char* end = nullptr;
            double v = std::strtod(g.c_str(), &end);
            if (g.empty() || *end || !(v > 0.0) || v > 100.0)
                Usage("--gamma: " + Quote(g) + T(" is not a number above 0", " není číslo větší než 0"));
            o.gamma = static_cast<float>(v);
        } else if (a == "--region") {
            const std::string& r = value();
            if (r != "canvas" && r != "content")
                Usage("--region: " + Quote(r) + T(" is neither canvas nor content", " není canvas ani content"));
            o.contentRegion = r == "content";
        } else if (a == "--info") {
            o.info = true;
        } else if (a == "--mask") {
            o.masks.push_back(ParseMaskFile(value()));
        } else if (a == "--mask-rect") {
            o.masks.push_back(ParseMaskRect(value()));
        } else if (a == "--layer") {
            o.layers.push_back(ParseLayer(value()));
        } else if (a == "--flatten") {
            o.flatten = true;
        } else if (a == "--repeat") {
            o.repeat = static_cast<uint32_t>(ParseInteger(a, value(), 1, 100000));
        } else if (a == "-o" || a == "--output") {
            o.output = value();
        } else if (a.size() > 1 && a[0] == '-') {
            Usage(T("unknown option ", "neznámá volba ") + Quote(a));
        } else {
            positional.push_back(a);
        }
    }
    if (positional.size() != 2 && !(positional.size() == 1 && !o.layers.empty()))
        Usage(T("apply needs OPERATION and INPUT (see ztraster --help)", "apply potřebuje OPERACI a VSTUP (viz ztraster --help)"));
    o.operation = positional[0];
    if (positional.size() == 2) o.input = positional[1];
    if (o.output.empty()) Usage(T("apply needs -o OUTPUT", "apply potřebuje -o VÝSTUP"));
    if (!o.layers.empty() && (o.info || o.repeat))
        Usage(T("--info and --repeat work on one image, not with --layer",
                "--info a --repeat pracují s jedním obrázkem, ne s --layer"));
    if (!o.layers.empty() && !o.flatten && o.output.find("%d") == std::string::npos)
        Usage(T("a layered result needs -o with %d (one file per layer) or --flatten",
                "vrstvený výsledek potřebuje -o s %d (soubor pro každou vrstvu) nebo --flatten"));
    return o;
}

// The input image as a document: content at the origin, canvas given or the image's size.
ComPtr<IDocument> MakeDocument(const ApplyOptions& o, const ztio::Image& aImage) {
    zthost::RasterImageInit init;
    init.canvas = o.hasCanvas ? o.canvas : TImageSize{aImage.width, aImage.height};
    if (uint64_t(init.canvas.nX) * init.canvas.nY > (uint64_t(1) << 31))
        Usage(T("the canvas ", "plátno ") + std::to_string(init.canvas.nX) + "x" + std::to_string(init.canvas.nY) +
              T(" has more than 2^31 pixels", " má víc než 2^31 pixelů"));
    init.contentOrigin = o.origin;
    init.contentSize = {aImage.width, aImage.height};
    std::vector<TPixelChannel> pixels(aImage.pixels.size());
    std::memcpy(pixels.data(), aImage.pixels.data(), pixels.size() * 4);
    init.pixels = pixels.data();
    init.defaultPixel = o.defaultPixel;
    init.gamma = o.gamma;
    if (aImage.hasResolution) {
        // Pixels per metre over 10000 is pixels per tenth of a millimetre, the document's unit.
        init.resolution = {uint32_t(std::lround(aImage.dpiX / 0.0254)), 10000,
                           uint32_t(std::lround(aImage.dpiY / 0.0254)), 10000};
    }
    ComPtr<IDocument> doc = zthost::CreateRasterDocument(init);
    if (!doc) Failed(T("there is not enough memory for the document", "na dokument není dost paměti"));
    return doc;
}

// Shows how long the run takes, on a terminal, once it has taken half a second.
class ProgressLine {
public:
    explicit ProgressLine(std::string aWhat) : what_(std::move(aWhat)) {
        if (isatty(STDERR_FILENO)) thread_ = std::thread([this] { Run(); });
    }
    ~ProgressLine() {
        {
            std::lock_guard<std::mutex> lock(mutex_);
            done_ = true;
        }
        wake_.notify_all();
        if (thread_.joinable()) thread_.join();
    }

private:
    void Run() {
        const auto start = std::chrono::steady_clock::now();
        std::unique_lock<std::mutex> lock(mutex_);
        if (wake_.wait_for(lock, std::chrono::milliseconds(500), [this] { return done_; })) return;
        static const char spin[] = "|/-\\";
        for (int i = 0; !wake_.wait_for(lock, std::chrono::milliseconds(100), [this] { return done_; }); ++i) {
            double s = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
            std::fprintf(stderr, "\r%c %s %.1f s ", spin[i % 4], what_.c_str(), s);
            std::fflush(stderr);
        }
        std::fprintf(stderr, "\r%*s\r", int(what_.size() + 16), "");
        std::fflush(stderr);
    }
    std::string what_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool done_ = false;
    std::thread thread_;
};

void WriteResult(const ApplyOptions& o, IDocument* aDocument) {
    ComPtr<IDocumentImage> image;
    aDocument->QueryFeatureInterface(IDocumentImage::iid, image.out());
    if (!image) Failed(T("the document has no image", "dokument nemá obrázek"));
    TImageSize canvas{1, 1}, size{0, 0};
    TImagePoint origin{0, 0};
    TImageResolution res{100, 254, 100, 254};
    image->CanvasGet(&canvas, &res, &origin, &size, nullptr);
    TImagePoint from = o.contentRegion ? origin : TImagePoint{0, 0};
    TImageSize extent = o.contentRegion ? size : canvas;
    if (extent.nX == 0 || extent.nY == 0)
        Failed(T("the result is empty: nothing to write", "výsledek je prázdný: není co zapsat"));
    if (uint64_t(extent.nX) * extent.nY > (uint64_t(1) << 31))
        Failed(T("the result has more than 2^31 pixels", "výsledek má víc než 2^31 pixelů"));
    ztio::Image out;
    out.width = extent.nX;
    out.height = extent.nY;
    out.pixels.resize(size_t(extent.nX) * extent.nY);
    HRESULT hr = image->TileGet(CHANNEL_COLOR, &from, &extent, nullptr, uint32_t(out.pixels.size()),
                                reinterpret_cast<TPixelChannel*>(out.pixels.data()), nullptr, ACCESS_MODE);
    if (FAILED(hr)) Failed(T("reading the result failed: ", "čtení výsledku selhalo: ") + ResultText(hr));
    if (res.nDenominatorX && res.nDenominatorY) {
        out.hasResolution = true;
        out.dpiX = double(res.nNumeratorX) / res.nDenominatorX * 254.0;
        out.dpiY = double(res.nNumeratorY) / res.nDenominatorY * 254.0;
    }
    std::string error;
    if (!ztio::WriteImage(o.output, out, &error)) Failed(error);
}

void PrintInfo(HRESULT aResult, IDocument* aDocument) {
    ComPtr<IDocumentImage> image;
    aDocument->QueryFeatureInterface(IDocumentImage::iid, image.out());
    TImageSize canvas{1, 1}, size{0, 0};
    TImagePoint origin{0, 0};
    TImageResolution res{100, 254, 100, 254};
    TPixelChannel def{};
    if (image) {
        image->CanvasGet(&canvas, &res, &origin, &size, nullptr);
        zthost::RasterImageState state;
        if (zthost::InspectRasterDocument(aDocument, &state)) def = state.defaultPixel;
    }
    auto dpi = [](uint32_t n, uint32_t d) { return d ? double(n) / d * 254.0 : 0.0; };
    char hex[16], code[16];
    std::snprintf(hex, sizeof hex, "0x%08X", def.n);
    std::snprintf(code, sizeof code, "0x%08X", uint32_t(aResult));
    std::string name = ResultText(aResult);
    name = name.substr(0, name.find(' '));
    std::printf("{\"result\":%s,\"code\":\"%s\",\"canvas\":[%u,%u],\"contentOrigin\":[%d,%d],\"contentSize\":[%u,%u],"
                "\"default\":\"%s\",\"resolution\":[%.6g,%.6g]}\n",
                JsonString(name).c_str(), code, canvas.nX, canvas.nY, origin.nX, origin.nY, size.nX, size.nY, hex,
                dpi(res.nNumeratorX, res.nDenominatorX), dpi(res.nNumeratorY, res.nDenominatorY));
}

// The result code, and the reason the run left with the host where it left one.
std::string FailureText(HRESULT aResult) {
    const std::string reason = zthost::TakeFailureReason(aResult);
    return ResultText(aResult) + (reason.empty() ? "" : ": " + reason);
}

// A layered image from INPUT and the --layer files, written per layer or flattened.
int ApplyLayered(const ApplyOptions& o, IDocumentOperation* aOp, const std::string& aName, IConfig* aConfig) {
    std::vector<LayerOption> all = o.layers;
    if (!o.input.empty()) all.insert(all.begin(), LayerOption{o.input, o.origin.nX, o.origin.nY});
    const LayeredInput in = MakeLayeredInput(all, o.hasCanvas ? &o.canvas : nullptr, o.defaultPixel, o.gamma);
    ComPtr<IOperationManager> manager = zthost::OperationManager();
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    InstallMasks(o.masks, aConfig, context);
    HRESULT hr = aOp->CanActivate(manager, in.document, aConfig, context);
    if (hr != S_OK)
        Failed(aName + T(" cannot run on a layered image (CanActivate answered ",
                         " nemůže běžet na vrstveném obrázku (CanActivate odpovědělo ") + ResultText(hr) + ")");
    zthost::ForgetFailureReason();
    hr = aOp->Activate(manager, in.document, aConfig, context, nullptr, Language());
    if (FAILED(hr)) Failed(aName + T(" failed: ", " selhala: ") + FailureText(hr));
    WriteLayers(o.output, in.layers, o.flatten, o.contentRegion);
    std::printf("%s -> %s\n", aName.c_str(), o.output.c_str());
    return kExitOk;
}

int Apply(const std::vector<std::string>& aArgs) {
    const ApplyOptions o = ParseApply(aArgs);
    auto module = LoadModule();
    const CLSID id = ResolveOperation(*module, o.operation);
    const std::string shortName = zthost::ShortNameOf(id);
    if (o.threads) zthost::SetThreadCount(o.threads);
    // Lets a test (or a careful user) make large runs fail as if memory were short.
    if (const char* limit = std::getenv("ZT_HOST_BUFFER_LIMIT"))
        zthost::SetBufferLimit(static_cast<uint64_t>(ParseInteger("ZT_HOST_BUFFER_LIMIT", limit, 0, LLONG_MAX)));
    ComPtr<IOperationManager> manager = zthost::OperationManager();
    ComPtr<IDocumentOperation> op = CreateOperation(id, shortName);

    ComPtr<IConfig> config;
    HRESULT hr = op->ConfigCreate(manager, config.out());
    if (!config) Failed(shortName + T(": ConfigCreate failed: ", ": ConfigCreate selhalo: ") + ResultText(hr));
    for (const auto& [key, value] : o.sets) {
        std::string error;
        if (FAILED(zthost::ConfigSetFromString(config, key, OptionValueText(id, config, key, value), &error)))
            Usage("--set: " + error);
    }

    if (!o.layers.empty()) return ApplyLayered(o, op, shortName, config);
    ztio::Image input;
    std::string error;
    if (!ztio::ReadImage(o.input, &input, &error)) Usage(error);
    ComPtr<IDocument> source = MakeDocument(o, input);
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    InstallMasks(o.masks, config, context);

    hr = op->CanActivate(manager, source, config, context);
    if (hr != S_OK)
        Failed(shortName + T(" cannot run on this document (CanActivate answered ",
                             " nemůže běžet na tomto dokumentu (CanActivate odpovědělo ") +
               ResultText(hr) + ")");

    ComPtr<IDocument> document = source;
    std::vector<double> times;
    const uint32_t runs = o.repeat ? o.repeat : 1;
    {
        ProgressLine progress(shortName);
        for (uint32_t i = 0; i < runs; ++i) {
            if (o.repeat) document = zthost::CopyRasterDocument(source);
            if (!document) Failed(T("there is not enough memory for the document", "na dokument není dost paměti"));
            const auto start = std::chrono::steady_clock::now();
            zthost::ForgetFailureReason();
            hr = op->Activate(manager, document, config, context, nullptr, Language());
            times.push_back(std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - start).count());
            if (FAILED(hr)) break;
        }
    }
    if (FAILED(hr)) {
        if (o.info) PrintInfo(hr, document);
        Failed(shortName + T(" failed: ", " selhala: ") + FailureText(hr));
    }

    ComPtr<IConfigDescriptor> descriptor = ComPtr<IConfigDescriptor>::query(op.get());
    ComPtr<ILocalizedString> done;
    if (descriptor) descriptor->Name(manager, config, done.out());
    if (!done) op->NameGet(manager, done.out());

    WriteResult(o, document);
    std::printf("%s -> %s\n", Text(done).c_str(), o.output.c_str());
    if (o.repeat) {
        std::vector<double> sorted = times;
        std::sort(sorted.begin(), sorted.end());
        std::printf("%s: %s %.3f ms, min %.3f ms, max %.3f ms (%u %s)\n", T("Activate", "Activate").c_str(),
                    T("median", "medián").c_str(), sorted[sorted.size() / 2], sorted.front(), sorted.back(), runs,
                    T("runs", "běhů").c_str());
    }
    if (o.info) PrintInfo(hr, document);
    return kExitOk;
}

// Takes --lang wherever it stands.
std::vector<std::string> TakeLanguage(int argc, char** argv) {
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        std::string a = argv[i];
        if (a == "--lang") {
            if (i + 1 >= argc) Usage("--lang needs en or cs");
            std::string l = argv[++i];
            if (l != "en" && l != "cs") Usage("--lang: " + Quote(l) + " is neither en nor cs");
            SetLanguage(l == "cs" ? LANG_CZECH : LANG_ENGLISH);
        } else {
            args.push_back(a);
        }
    }
    return args;
}

int Run(int argc, char** argv) {
    std::vector<std::string> args = TakeLanguage(argc, argv);
    zthost::SetLanguage(Language());
    if (args.empty() || args[0] == "--help" || args[0] == "-h" || args[0] == "help") {
        std::fputs(Language() == LANG_CZECH ? kHelpCzech : kHelpEnglish, args.empty() ? stderr : stdout);
        return args.empty() ? kExitUsage : kExitOk;
    }
    const std::string command = args[0];
    args.erase(args.begin());
    if (command == "list") {
        if (!args.empty()) Usage(T("list takes no arguments besides --lang", "list nebere kromě --lang žádné argumenty"));
        return List();
    }
    if (command == "describe") {
        bool json = false;
        std::string operation;
        for (const std::string& a : args) {
            if (a == "--json") json = true;
            else if (a.size() > 1 && a[0] == '-') Usage(T("unknown option ", "neznámá volba ") + Quote(a));
            else if (operation.empty()) operation = a;
            else Usage(T("describe takes one OPERATION", "describe bere jednu OPERACI"));
        }
        if (operation.empty()) Usage(T("describe needs OPERATION", "describe potřebuje OPERACI"));
        return Describe(operation, json);
    }
    if (command == "apply") return Apply(args);
    Usage(T("unknown command ", "neznámý příkaz ") + Quote(command) + T(" (list, describe, apply)", " (list, describe, apply)"));
}

}  // namespace

int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const Error& e) {
        std::fprintf(stderr, "ztraster: %s\n", e.what());
        return e.status;
    } catch (const std::bad_alloc&) {
        std::fprintf(stderr, "ztraster: %s\n", T("out of memory", "nedostatek paměti").c_str());
        return kExitFailed;
    }
}

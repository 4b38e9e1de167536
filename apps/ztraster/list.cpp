// ztraster list: every operation of the module with its short name, class id, categories and name.
#include <cstdio>

#include "apps/ztraster/commands.h"
#include "apps/ztraster/module.h"

namespace ztcli {

namespace {

struct SListSettings {};

const std::vector<SOption<SListSettings>> kOptions = {};

const SCommandText kText = {"list",
                            {nullptr, nullptr},
                            {"every operation of the module: short name, class id, categories and name",
                             "všechny operace modulu: krátké jméno, id třídy, kategorie a název"},
                            TextsOf(kOptions)};

std::string CategoryName(const GUID& aId) {
    struct {
        const GUID* id;
        const char* name;
    } static const names[] = {
        {&category::operation, "operation"},
        {&category::shadow, "shadow"},
        {&category::mask, "mask"},
        {&category::background, "background"},
        {&category::filter, "filter"},
        {&category::colour, "colour"},
        {&category::effect, "effect"},
        {&category::surface, "surface"},
        {&category::geometry, "geometry"},
        {&category::fade, "fade"},
        {&category::outline, "outline"},
        {&category::script_operation, "script operation"},
        {&category::script_object, "script object"},
        {&category::transformation, "transformation"},
        {&category::menu_commands, "menu commands"},
        {&category::edit_tools, "edit tools"},
    };
    for (const auto& n : names)
        if (*n.id == aId) return n.name;
    return GuidToString(aId);
}

int List(const std::vector<std::string>& aArgs) {
    SListSettings settings;
    if (!ParseOptions(kOptions, aArgs, settings).empty())
        Usage(T("list takes no arguments besides --lang", "list nebere kromě --lang žádné argumenty"));
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
            if (SUCCEEDED(op->NameGet(zthost::OperationManager(), text.out())) && text) name = Text(text);
        }
        std::printf("%-22s {%s}  [%s]  %s\n", zthost::ShortNameOf(c.id).c_str(), GuidToString(c.id).c_str(),
                    categories.c_str(), name.c_str());
    }
    return kExitOk;
}

}  // namespace

const SCommand kListCommand = {kText, List};

}  // namespace ztcli

#include "apps/ztraster/options.h"

#include <algorithm>

namespace ztcli {

namespace {

// "  --canvas W,H" as the help shows it.
std::string Form(const SOptionText& aOption) {
    std::string s = aOption.name;
    if (aOption.alias) s += std::string(", ") + aOption.alias;
    if (aOption.value.en) s += " " + aOption.value();
    return s;
}

// Columns count characters, not the bytes of their UTF-8.
size_t Width(const std::string& aText) {
    size_t n = 0;
    for (unsigned char c : aText) n += (c & 0xC0) != 0x80;
    return n;
}

// The options in two columns: form, then help with its continuation lines aligned.
std::string OptionLines(const std::vector<const SOptionText*>& aOptions) {
    size_t width = 0;
    for (const SOptionText* o : aOptions) width = std::max(width, Width(Form(*o)));
    std::string s;
    for (const SOptionText* o : aOptions) {
        std::string form = Form(*o);
        const std::string help = o->help();
        s += "  " + form + std::string(width + 2 - Width(form), ' ');
        for (char c : help) s += c == '\n' ? "\n" + std::string(width + 4, ' ') : std::string(1, c);
        s += "\n";
    }
    return s;
}

std::string UsageLine(const SCommandText& aCommand) {
    return std::string("  ztraster ") + aCommand.name + (aCommand.operands.en ? " " + aCommand.operands() : "") + "\n";
}

}  // namespace

const std::vector<SOptionText>& CommonOptions() {
    static const std::vector<SOptionText> options = {
        {"--lang",
         nullptr,
         {"en|cs", "en|cs"},
         {"the language of messages and texts (default: from LC_ALL, LC_MESSAGES or LANG)",
          "jazyk zpráv a textů (výchozí: podle LC_ALL, LC_MESSAGES nebo LANG)"}},
        {"--help", "-h", {}, {"prints the help of the command", "vypíše nápovědu k příkazu"}},
    };
    return options;
}

std::string HelpText(const std::vector<const SCommandText*>& aCommands, const SCommandText* aCommand) {
    std::vector<const SOptionText*> common;
    for (const SOptionText& o : CommonOptions()) common.push_back(&o);
    std::string s = T("Usage:\n", "Použití:\n");
    if (aCommand) {
        s += UsageLine(*aCommand) + "\n" + aCommand->summary() + "\n";
        if (!aCommand->options.empty()) s += T("\nOptions:\n", "\nVolby:\n") + OptionLines(aCommand->options);
    } else {
        for (const SCommandText* c : aCommands) s += UsageLine(*c);
        s += T("  ztraster help [COMMAND]\n\n", "  ztraster help [PŘÍKAZ]\n\n");
        for (const SCommandText* c : aCommands) {
            const std::string name = c->name;
            s += name + std::string(name.size() < 10 ? 10 - name.size() : 1, ' ') + c->summary() + "\n";
        }
        s += T("\nOPERATION is a short name such as ShiftHue (case-insensitive) or a class id.\n",
               "\nOPERACE je krátké jméno, například ShiftHue (na velikosti písmen nezáleží), nebo id třídy.\n");
        for (const SCommandText* c : aCommands)
            if (!c->options.empty())
                s += T("Options of ", "Volby příkazu ") + std::string(c->name) + ":\n" + OptionLines(c->options);
    }
    s += T("Options of every command:\n", "Volby všech příkazů:\n") + OptionLines(common);
    s +=
        T("Exit status: 0 done (or nothing to do), 1 the operation failed, 2 bad usage or input.\n"
          "The module is found next to ztraster, or at ZT_MODULE_PATH.\n",
          "Návratový kód: 0 hotovo (nebo nebylo co dělat), 1 operace selhala, 2 chybné použití nebo vstup.\n"
          "Modul se hledá vedle programu ztraster, nebo v ZT_MODULE_PATH.\n");
    return s;
}

}  // namespace ztcli

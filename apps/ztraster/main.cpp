// ztraster: lists, describes and applies the module's operations to image files.
#include <cstdio>
#include <new>
#include <string>
#include <vector>

#include "apps/ztraster/commands.h"
#include "apps/ztraster/module.h"

using namespace ztcli;

namespace {

const std::vector<const SCommand*>& Commands() {
    static const std::vector<const SCommand*> commands = {&kListCommand, &kDescribeCommand, &kApplyCommand};
    return commands;
}

std::string Help(const SCommand* aCommand) {
    std::vector<const SCommandText*> texts;
    for (const SCommand* c : Commands()) texts.push_back(&c->text);
    return HelpText(texts, aCommand ? &aCommand->text : nullptr);
}

const SCommand* Find(const std::string& aName) {
    for (const SCommand* c : Commands())
        if (aName == c->text.name) return c;
    std::string names;
    for (const SCommand* c : Commands()) names += (names.empty() ? "" : ", ") + std::string(c->text.name);
    Usage(T("unknown command ", "neznámý příkaz ") + Quote(aName) + " (" + names + ")");
}

// Takes the options every command has wherever they stand: --lang sets the language, --help
// and -h ask for help.
std::vector<std::string> TakeCommonOptions(int argc, char** argv, bool* aHelp) {
    std::vector<std::string> args;
    for (int i = 1; i < argc; ++i) {
        const std::string a = argv[i];
        if (a == "--lang") {
            if (i + 1 >= argc) Usage("--lang needs en or cs");
            const std::string l = argv[++i];
            if (l != "en" && l != "cs") Usage("--lang: " + Quote(l) + " is neither en nor cs");
            SetLanguage(l == "cs" ? LANG_CZECH : LANG_ENGLISH);
        } else if (a == "--help" || a == "-h") {
            *aHelp = true;
        } else {
            args.push_back(a);
        }
    }
    return args;
}

int Run(int argc, char** argv) {
    bool help = false;
    std::vector<std::string> args = TakeCommonOptions(argc, argv, &help);
    zthost::SetLanguage(Language());
    if (args.empty()) {
        std::fputs(Help(nullptr).c_str(), help ? stdout : stderr);
        return help ? kExitOk : kExitUsage;
    }
    if (args[0] == "help") {
        if (args.size() > 2) Usage(T("help takes one COMMAND", "help bere jeden PŘÍKAZ"));
        std::fputs(Help(args.size() == 2 ? Find(args[1]) : nullptr).c_str(), stdout);
        return kExitOk;
    }
    const SCommand* command = Find(args[0]);
    if (help) {
        std::fputs(Help(command).c_str(), stdout);
        return kExitOk;
    }
    args.erase(args.begin());
    return command->run(args);
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

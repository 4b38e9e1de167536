// Command options as tables: each command's table gives, per option, its name, the form of
// its value, its help in both languages and what it does, so that parsing and help come from
// the same lines and no option is accepted that the help does not show.
#pragma once

#include <string>
#include <vector>

#include "apps/ztraster/cli.h"

namespace ztcli {

// A text in English and Czech.
struct SText {
    const char* en;
    const char* cs;
    std::string operator()() const { return T(en, cs); }
};

// What the help shows of an option.
struct SOptionText {
    const char* name;   // "--threads"
    const char* alias;  // another spelling ("--output" beside "-o"), or null
    SText value;        // the form of its value ("N"); {} for a flag
    SText help;         // '\n' starts a continuation line
};

// An option of a command whose settings are O.
template <class O>
struct SOption : SOptionText {
    void (*take)(O& aSettings, const std::string& aName, const std::string& aValue);
};

// What the help shows of a command.
struct SCommandText {
    const char* name;
    SText operands;  // what follows the name in the usage line
    SText summary;
    std::vector<const SOptionText*> options;
};

// The options every command takes.
const std::vector<SOptionText>& CommonOptions();

// The help of one command, or (aCommand null) of all of them.
std::string HelpText(const std::vector<const SCommandText*>& aCommands, const SCommandText* aCommand);

template <class O>
std::vector<const SOptionText*> TextsOf(const std::vector<SOption<O>>& aOptions) {
    std::vector<const SOptionText*> texts;
    for (const SOption<O>& o : aOptions) texts.push_back(&o);
    return texts;
}

// Applies the options of aArgs to aSettings by the table; the other arguments are the
// operands, in order. An unknown option or a missing value is a usage error.
template <class O>
std::vector<std::string> ParseOptions(const std::vector<SOption<O>>& aTable, const std::vector<std::string>& aArgs,
                                      O& aSettings) {
    std::vector<std::string> operands;
    for (size_t i = 0; i < aArgs.size(); ++i) {
        const std::string& a = aArgs[i];
        if (a.size() < 2 || a[0] != '-') {
            operands.push_back(a);
            continue;
        }
        const SOption<O>* option = nullptr;
        for (const SOption<O>& o : aTable)
            if (a == o.name || (o.alias && a == o.alias)) option = &o;
        if (!option) Usage(T("unknown option ", "neznámá volba ") + "\"" + a + "\"");
        std::string value;
        if (option->value.en) {
            if (i + 1 >= aArgs.size()) Usage(a + T(" needs a value", " potřebuje hodnotu"));
            value = aArgs[++i];
        }
        option->take(aSettings, a, value);
    }
    return operands;
}

}  // namespace ztcli

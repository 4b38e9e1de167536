// What the commands share about the module: loading it, finding an operation by name, and
// showing configuration values and texts.
#pragma once

#include <memory>
#include <string>

#include "host/zthost.h"

namespace ztcli {

// The module next to ztraster, or at ZT_MODULE_PATH; a failure ends the command.
std::shared_ptr<zthost::Module> LoadModule();

// The class of an operation given by short name or class id; an unknown one is a usage error
// that lists the operations there are.
CLSID ResolveOperation(const zthost::Module& aModule, const std::string& aName);
ComPtr<IDocumentOperation> CreateOperation(const CLSID& aClass, const std::string& aName);

// A configuration value read through an interface, cleared when it goes.
struct SValue {
    TConfigValue v = ConfigValueEmpty();
    SValue() = default;
    SValue(const SValue&) = delete;
    SValue& operator=(const SValue&) = delete;
    ~SValue() { ConfigValueClear(v); }
};

// A value as the command line writes it: an operation by its short name.
std::string ValueText(const TConfigValue& aValue);
// A text in the language of the command; "" for none.
std::string Text(ILocalizedString* aText);
std::string Quote(const std::string& aText);

// The option nicknames of an operation class, or null when it answers none.
ComPtr<IOperationSchema> SchemaOf(const CLSID& aClass);
// The nickname of an option of item aKey, or "".
std::string NicknameOf(IOperationSchema* aSchema, const std::u16string& aKey, const TConfigValue& aValue);

}  // namespace ztcli

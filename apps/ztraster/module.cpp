#include "apps/ztraster/module.h"

#include <unistd.h>

#include <algorithm>
#include <climits>
#include <cstdlib>

#include "apps/ztraster/cli.h"

namespace ztcli {

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
    if (zthost::ClassIdFromName(aName, &id)) {
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

std::string ValueText(const TConfigValue& aValue) {
    if (aValue.eTypeID == ECVTGUID) {
        std::string shortName = zthost::ShortNameOf(aValue.guidVal);
        if (!shortName.empty()) return shortName;
    }
    return zthost::ConfigValueToString(aValue);
}

std::string Text(ILocalizedString* aText) { return aText ? zthost::TextOf(aText, Language()) : std::string(); }

std::string Quote(const std::string& aText) { return "\"" + aText + "\""; }

ComPtr<IOperationSchema> SchemaOf(const CLSID& aClass) {
    ComPtr<IDocumentOperation> op;
    zthost::CreateInstance(aClass, IDocumentOperation::iid, op.out());
    return op ? ComPtr<IOperationSchema>::query(op.get()) : nullptr;
}

std::string NicknameOf(IOperationSchema* aSchema, const std::u16string& aKey, const TConfigValue& aValue) {
    if (!aSchema) return {};
    CZTStr key(aKey), nickname;
    if (aSchema->OptionNickname(key, &aValue, nickname.out()) != S_OK) return {};
    return Utf16ToUtf8(ZTStrView(nickname.get()));
}

}  // namespace ztcli

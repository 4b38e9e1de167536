// Host activation: the registry of host classes, the loaded modules and their classes, the
// class names of the module's table, and the language that text is shown in.
#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <cctype>
#include <cstdio>
#include <map>
#include <mutex>

#include "frame/host_masks.h"
#include "frame/host_quantizer.h"
#include "host/registry.h"
#include "host/zthost.h"

namespace zthost {
namespace {

using HostClassFactory = std::function<HRESULT(const IID&, void**)>;

struct Registry {
    std::mutex mutex;
    std::map<CLSID, HostClassFactory> hostClasses;
    std::vector<std::weak_ptr<Module>> modules;  // in the order of registration
};

// Built on first use with every built-in service, and never destroyed, so that modules released during program exit can
// still unregister.
Registry& TheRegistry() {
    static Registry* registry = [] {
        auto* r = new Registry;
        r->hostClasses[CLSID_ThreadPool] = CreateThreadPool;
        r->hostClasses[CLSID_GammaTableCache] = CreateGammaTableCache;
        r->hostClasses[CLSID_ColorNameProvider] = CreateColorNameProvider;
        r->hostClasses[CLSID_ConfigBuilder] = CreateConfigBuilder;
        r->hostClasses[CLSID_OperationManager] = CreateOperationManager;
        r->hostClasses[CLSID_ColorQuantizer] = CreateColorQuantizer;
        r->hostClasses[CLSID_SharedStateImageMask] = CreateImageMaskState;
        r->hostClasses[CLSID_DocumentBase] = CreateDocumentBaseObject;
        r->hostClasses[CLSID_DocumentFactoryRasterImage] = CreateRasterDocumentFactory;
        r->hostClasses[CLSID_FailureReason] = CreateFailureReason;
        return r;
    }();
    return *registry;
}

// Modules still alive, held for the length of a call so that none unloads under it.
std::vector<std::shared_ptr<Module>> LiveModules() {
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mutex);
    std::vector<std::shared_ptr<Module>> live;
    for (const auto& weak : r.modules)
        if (auto module = weak.lock()) live.push_back(std::move(module));
    return live;
}

void RegisterModule(const std::shared_ptr<Module>& aModule) {
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mutex);
    r.modules.push_back(aModule);
}

struct ClassName {
    const char* name;
    CLSID id;
};

// Every class of the module's table, in table order.
constexpr ClassName kClassNames[] = {
    {"CDocumentOperationLongShadow", MakeGuid("6c85431b-87f2-4d07-8a1d-fdea836165ba")},
    {"CDocumentOperationRasterImageAutoMask", MakeGuid("1b3b2d28-0c2c-4105-82ce-f0e868661c72")},
    {"CDocumentOperationRasterImageBackgroundBlend", MakeGuid("bcd0fd69-a4bd-46b0-a7da-8b48f18e8820")},
    {"CDocumentOperationRasterImageBlur", MakeGuid("4dd76d14-45a2-4fe5-9870-0dc94a53df75")},
    {"CDocumentOperationRasterImageCanvasSize", MakeGuid("8b4c0e3f-af8e-493d-b44b-8c692dbe0893")},
    {"CDocumentOperationRasterImageColorize", MakeGuid("5118b993-1b94-4c31-ae7c-e09a14ef6c02")},
    {"CDocumentOperationRasterImageColorTransformations", MakeGuid("0daf0f19-0e19-4295-b648-8f7dce2e19a6")},
    {"CDocumentOperationRasterImageConvolution", MakeGuid("6b506239-51b0-4416-8b1a-341c516a0f0c")},
    {"CDocumentOperationRasterImageDropShadow", MakeGuid("179fed75-a48f-4708-af14-56bfb2a2adbc")},
    {"CDocumentOperationRasterImageFade", MakeGuid("e22803b2-143b-45d6-812c-ed1472b10460")},
    {"CDocumentOperationRasterImageModifyMask", MakeGuid("ed962e6a-7335-4bf0-9005-1a9af7d8fbbf")},
    {"CDocumentOperationRasterImageOutlines", MakeGuid("8092b240-8ae7-418f-ae49-047d790cdfb8")},
    {"CDocumentOperationRasterImagePerspective", MakeGuid("a13ec2d9-d8f7-4c05-a998-1e43061f3efc")},
    {"CTransformHelperTransform", MakeGuid("7d22d397-d956-491e-9b55-652021dd6bac")},
    {"CDocumentOperationRasterImageReduceColors", MakeGuid("19f9fa9a-3f1c-4b8b-b5f0-31a10310af93")},
    {"CDocumentOperationRasterImageRemoveBorder", MakeGuid("c6001a7d-4d4e-4431-baa9-6311f9593a31")},
    {"CDocumentOperationRasterImageResample", MakeGuid("04f9937c-4135-474c-ad27-e414e14dce7a")},
    {"CDocumentOperationRasterImageRotate", MakeGuid("c1cfeee0-0e2e-44aa-94e2-7041f8f0c7ae")},
    {"CDocumentOperationRasterImageSatin", MakeGuid("70b52eb0-39f7-4754-8f7d-f0a738488612")},
    {"CRasterImagePolarTransformation", MakeGuid("46f6ecdf-1b48-494c-a27d-4a50020f3959")},
    {"CDocumentOperationRasterImageShiftHue", MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee")},
    {"CRasterImageBevel", MakeGuid("bc29f53a-6940-4c6d-abc9-ebe5536d07ed")},
    {"CDocumentOperationRasterImageScript", MakeGuid("8e4a04fd-3b30-4fe9-8edf-d60055a97b5b")},
    {"CRasterImageFill", MakeGuid("76f44ed2-d0b4-4047-985d-2fa6356a1bf9")},
    {"CDocumentTransformationToRasterImage", MakeGuid("80cce9df-840e-4d1b-881b-7842961832e5")},
    {"CMenuCommandsInsertOperator", MakeGuid("390bacaa-f8e2-487e-a845-c1533b228870")},
    {"CRasterImageContourGradient", MakeGuid("20f5be48-08d2-4b8f-8dfc-5de8576e1a3f")},
    {"CRasterImageEditToolsEffect", MakeGuid("308c3732-cc24-4729-b6e8-736c4160cc61")},
    {"CSharedStateEffect", MakeGuid("3369238c-99e0-496a-84be-c185bb26de0d")},
    {"CRasterImageProjectedShadow", MakeGuid("3c18a690-5565-41d6-90af-4da75dedd2f3")},
};

std::string ShortName(const std::string& aName) {
    // Longest prefix first: "CDocumentOperation" is a prefix of the first.
    for (const char* prefix : {"CDocumentOperationRasterImage", "CDocumentOperation", "CRasterImage"}) {
        std::string p = prefix;
        if (aName.size() > p.size() && aName.compare(0, p.size(), p) == 0) return aName.substr(p.size());
    }
    return aName;
}

bool EqualNoCase(const std::string& a, const std::string& b) {
    return a.size() == b.size() && std::equal(a.begin(), a.end(), b.begin(), [](char x, char y) {
               return std::tolower(static_cast<unsigned char>(x)) == std::tolower(static_cast<unsigned char>(y));
           });
}

std::string HexResult(HRESULT aResult) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%08x", static_cast<unsigned>(aResult));
    return text;
}

HRESULT CollectClass(void* aContext, const CLSID& aClassID, uint32_t aCategoryCount, const GUID* aCategories) {
    auto* classes = static_cast<std::vector<ClassInfo>*>(aContext);
    classes->push_back({aClassID, std::vector<GUID>(aCategories, aCategories + aCategoryCount)});
    return S_OK;
}

std::atomic<uint32_t> gLanguage{LANG_ENGLISH};

}  // namespace

void RegisterHostClass(const CLSID& aClassID, std::function<HRESULT(const IID&, void**)> aCreate) {
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mutex);
    r.hostClasses[aClassID] = std::move(aCreate);
}

void UnregisterHostClass(const CLSID& aClassID) {
    Registry& r = TheRegistry();
    std::lock_guard lock(r.mutex);
    r.hostClasses.erase(aClassID);
}

HRESULT CreateInstance(const CLSID& aClassID, const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    HostClassFactory create;
    {
        Registry& r = TheRegistry();
        std::lock_guard lock(r.mutex);
        auto found = r.hostClasses.find(aClassID);
        if (found != r.hostClasses.end()) create = found->second;
    }
    // Called outside the lock: a class may create other classes while it is made.
    if (create) return create(aIID, aOut);

    for (const auto& module : LiveModules()) {
        ComPtr<IClassFactory> factory;
        HRESULT hr = module->GetClassObject(aClassID, IClassFactory::iid, factory.out());
        if (hr == CLASS_E_CLASSNOTAVAILABLE) continue;
        if (FAILED(hr)) return hr;
        if (!factory) return CLASS_E_CLASSNOTAVAILABLE;
        return factory->CreateInstance(nullptr, aIID, aOut);
    }
    return CLASS_E_CLASSNOTAVAILABLE;
}

std::shared_ptr<Module> Module::Load(const std::string& aPath, std::string* aError) {
    std::string error;
    void* handle = dlopen(aPath.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        error = "cannot load module '" + aPath + "': " + (why ? why : "unknown error");
    }
    ModuleFunctions functions;
    auto symbol = [&](const char* aName, bool aRequired) -> void* {
        if (!handle || !error.empty()) return nullptr;
        dlerror();
        void* address = dlsym(handle, aName);
        if (!address && aRequired) {
            const char* why = dlerror();
            error = "module '" + aPath + "' has no entry point " + aName + (why ? std::string(": ") + why : "");
        }
        return address;
    };
    functions.getClassObject = reinterpret_cast<DllGetClassObjectFn>(symbol("DllGetClassObject", true));
    functions.enumClasses = reinterpret_cast<DllEnumClassesFn>(symbol("DllEnumClasses", true));
    functions.canUnloadNow = reinterpret_cast<DllCanUnloadNowFn>(symbol("DllCanUnloadNow", false));
    functions.setHostCreateInstance =
        reinterpret_cast<ZTSetHostCreateInstanceFn>(symbol("ZTSetHostCreateInstance", false));
    if (!error.empty()) {
        if (handle) dlclose(handle);
        if (aError) *aError = error;
        return nullptr;
    }

    std::shared_ptr<Module> module(new Module);
    module->handle_ = handle;
    module->functions_ = functions;
    if (functions.setHostCreateInstance) functions.setHostCreateInstance(&ZTCoCreateInstance);
    HRESULT hr = functions.enumClasses(&module->classes_, &CollectClass);
    if (FAILED(hr)) {
        if (aError) *aError = "module '" + aPath + "' failed to list its classes (" + HexResult(hr) + ")";
        return nullptr;
    }
    RegisterModule(module);
    return module;
}

std::shared_ptr<Module> Module::FromFunctions(const ModuleFunctions& aFunctions) {
    if (!aFunctions.getClassObject || !aFunctions.enumClasses) return nullptr;
    std::shared_ptr<Module> module(new Module);
    module->functions_ = aFunctions;
    if (aFunctions.setHostCreateInstance) aFunctions.setHostCreateInstance(&ZTCoCreateInstance);
    if (FAILED(aFunctions.enumClasses(&module->classes_, &CollectClass))) return nullptr;
    RegisterModule(module);
    return module;
}

Module::~Module() {
    {
        Registry& r = TheRegistry();
        std::lock_guard lock(r.mutex);
        std::erase_if(r.modules, [](const std::weak_ptr<Module>& m) { return m.expired(); });
    }
    // Objects of the module may outlive it; then its code has to stay mapped.
    if (handle_ && CanUnloadNow() == S_OK) dlclose(handle_);
}

HRESULT Module::GetClassObject(const CLSID& aClassID, const IID& aIID, void** aOut) const {
    return functions_.getClassObject(aClassID, aIID, aOut);
}

HRESULT Module::CanUnloadNow() const { return functions_.canUnloadNow ? functions_.canUnloadNow() : S_FALSE; }

std::vector<ClassInfo> RegisteredClasses() {
    std::vector<ClassInfo> classes;
    for (const auto& module : LiveModules())
        classes.insert(classes.end(), module->Classes().begin(), module->Classes().end());
    return classes;
}

std::string ClassNameOf(const CLSID& aClassID) {
    for (const auto& c : kClassNames)
        if (c.id == aClassID) return c.name;
    return {};
}

std::string ShortNameOf(const CLSID& aClassID) {
    std::string name = ClassNameOf(aClassID);
    return name.empty() ? name : ShortName(name);
}

bool ClassIdFromName(const std::string& aName, CLSID* aClassID) {
    CLSID id{};
    if (!ParseGuid(aName, id)) {
        auto match = std::find_if(std::begin(kClassNames), std::end(kClassNames), [&](const ClassName& c) {
            return EqualNoCase(aName, ShortName(c.name)) || EqualNoCase(aName, c.name);
        });
        if (match == std::end(kClassNames)) return false;
        id = match->id;
    }
    if (aClassID) *aClassID = id;
    return true;
}

void SetLanguage(uint32_t aLanguage) { gLanguage = aLanguage; }

uint32_t Language() { return gLanguage; }

std::string TextOf(ILocalizedString* aText, uint32_t aLanguage) {
    if (!aText) return {};
    CZTStr text;
    if (FAILED(aText->GetLocalized(aLanguage, text.out()))) return {};
    return Utf16ToUtf8(text.view());
}

}  // namespace zthost

// The one door through which the module reaches host classes; looked up by name in the program.
extern "C" __attribute__((visibility("default"))) HRESULT ZTCoCreateInstance(const CLSID& aClassID, IUnknown* aOuter,
                                                                             uint32_t aContext, const IID& aIID,
                                                                             void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    if (aOuter) return CLASS_E_NOAGGREGATION;
    try {
        return zthost::CreateInstance(aClassID, aIID, aOut);
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

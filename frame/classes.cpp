// Module state, the exported entry points and host activation.
#include "frame/classes.h"

#include <dlfcn.h>

#include "frame/class_table.h"

namespace zt {

namespace {
std::atomic<long> g_lockCount{0};
std::atomic<bool> g_initialised{false};
std::mutex g_moduleLock;  // guards the creation of factories
std::atomic<ZTCreateInstanceFn> g_hostCreateInstance{nullptr};
}  // namespace

void ModuleLock() { ++g_lockCount; }
void ModuleUnlock() { --g_lockCount; }
long ModuleLockCount() { return g_lockCount.load(); }

HRESULT GetClassObjectFrom(const SClassEntry* aTable, size_t aCount, const CLSID& aClassID, const IID& aIID,
                           void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    if (!g_initialised.load()) return E_UNEXPECTED;
    const SClassEntry* entry = nullptr;
    for (size_t i = 0; i < aCount && !entry; ++i)
        if (*aTable[i].classId == aClassID && aTable[i].getFactory) entry = &aTable[i];
    if (!entry) return CLASS_E_CLASSNOTAVAILABLE;

    HRESULT failure = S_OK;
    if (!entry->factorySlot->load(std::memory_order_acquire)) {
        std::lock_guard<std::mutex> lock(g_moduleLock);
        if (!entry->factorySlot->load()) {
            CFactoryBase* factory = nullptr;
            failure = GuardEntry([&] { return entry->getFactory(entry->create, &factory); });
            if (SUCCEEDED(failure) && factory) entry->factorySlot->store(factory, std::memory_order_release);
        }
    }
    CFactoryBase* factory = entry->factorySlot->load(std::memory_order_acquire);
    if (!factory) return FAILED(failure) ? failure : CLASS_E_CLASSNOTAVAILABLE;
    HRESULT hr = factory->QueryInterface(aIID, aOut);
    if (!*aOut && SUCCEEDED(hr)) return CLASS_E_CLASSNOTAVAILABLE;
    return hr;
}

HRESULT EnumClassesFrom(const SClassEntry* aTable, size_t aCount, void* aContext, ZTEnumClassesFn aCallback) {
    if (!aCallback) return E_POINTER;
    for (size_t i = 0; i < aCount; ++i) {
        const SClassEntry& entry = aTable[i];
        if (!entry.classId) continue;
        GUID categories[16];
        uint32_t count = 0;
        if (entry.categoryMap) {
            for (const SCategoryEntry* c = entry.categoryMap(); c && c->kind != 0 && c->id && count < 16; ++c)
                if (c->kind == 1) categories[count++] = *c->id;
        }
        HRESULT hr = aCallback(aContext, *entry.classId, count, categories);
        if (FAILED(hr)) return hr;
    }
    return S_OK;
}

void ReleaseFactories(const SClassEntry* aTable, size_t aCount) {
    for (size_t i = 0; i < aCount; ++i) delete aTable[i].factorySlot->exchange(nullptr);
}

HRESULT HostCreateInstance(const CLSID& aClassID, const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    ZTCreateInstanceFn create = g_hostCreateInstance.load();
    if (!create) {
        // The host's main program exports the activation function. Two threads that race
        // here find and store the same value.
        if (void* self = dlopen(nullptr, RTLD_NOW)) {
            create = reinterpret_cast<ZTCreateInstanceFn>(dlsym(self, "ZTCoCreateInstance"));
            dlclose(self);
        }
        if (!create) return CLASS_E_CLASSNOTAVAILABLE;
        g_hostCreateInstance.store(create);
    }
    return create(aClassID, nullptr, ZT_CREATE_CONTEXT, aIID, aOut);
}

namespace {
// Module start and stop, run when the library is loaded and unloaded.
struct CModuleLifetime {
    CModuleLifetime() {
        g_initialised = true;
        for (const SClassEntry& e : ClassTable())
            if (e.classInit) e.classInit(true);
    }
    ~CModuleLifetime() {
        for (const SClassEntry& e : ClassTable())
            if (e.classInit) e.classInit(false);
        ReleaseFactories(ClassTable().data(), ClassTable().size());
        g_initialised = false;
    }
};
CModuleLifetime g_lifetime;
}  // namespace

}  // namespace zt

#define ZT_EXPORT extern "C" __attribute__((visibility("default")))

ZT_EXPORT HRESULT DllGetClassObject(const CLSID& aClassID, const IID& aIID, void** aOut) {
    const auto& table = zt::ClassTable();
    return zt::GetClassObjectFrom(table.data(), table.size(), aClassID, aIID, aOut);
}

ZT_EXPORT HRESULT DllEnumClasses(void* aContext, ZTEnumClassesFn aCallback) {
    const auto& table = zt::ClassTable();
    return zt::EnumClassesFrom(table.data(), table.size(), aContext, aCallback);
}

ZT_EXPORT HRESULT DllCanUnloadNow() { return zt::ModuleLockCount() == 0 ? S_OK : S_FALSE; }

// This platform has no registry of classes: hosts enumerate with DllEnumClasses.
ZT_EXPORT HRESULT DllRegisterServer() { return S_OK; }
ZT_EXPORT HRESULT DllUnregisterServer() { return S_OK; }

ZT_EXPORT void ZTSetHostCreateInstance(ZTCreateInstanceFn aFunction) { zt::g_hostCreateInstance.store(aFunction); }

// The class table, the three kinds of factory, and host activation.
#pragma once

#include <atomic>
#include <cstddef>
#include <mutex>
#include <new>
#include <type_traits>

#include "frame/boundary.h"
#include "frame/object.h"
#include "frame/operation.h"

namespace zt {

// Creates a plain instance, or one aggregated into aOuter.
using CreateRoutine = HRESULT (*)(IUnknown* aOuter, const IID& aIID, void** aOut);

// Every factory is owned by its slot and deleted at module stop.
class CFactoryBase : public IClassFactory {
public:
    virtual ~CFactoryBase() = default;
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IClassFactory>(this, aIID); }
    HRESULT LockServer(int32_t aLock) override {
        if (aLock)
            ModuleLock();
        else
            ModuleUnlock();
        return S_OK;
    }
};

using GetFactoryRoutine = HRESULT (*)(CreateRoutine aCreate, CFactoryBase** aFactory);

// Kind 1: the class implements the category; kind 0 ends the list.
struct SCategoryEntry {
    uint32_t kind;
    const GUID* id;
};

struct SClassEntry {
    const CLSID* classId;
    HRESULT (*updateRegistry)(bool aRegister);
    GetFactoryRoutine getFactory;
    CreateRoutine create;
    std::atomic<CFactoryBase*>* factorySlot;
    const char16_t* (*description)();
    const SCategoryEntry* (*categoryMap)();
    void (*classInit)(bool aStart);
};

// The table-driven halves of DllGetClassObject and DllEnumClasses, so that tests can run
// them on tables of their own.
HRESULT GetClassObjectFrom(const SClassEntry* aTable, size_t aCount, const CLSID& aClassID, const IID& aIID,
                           void** aOut);
HRESULT EnumClassesFrom(const SClassEntry* aTable, size_t aCount, void* aContext, ZTEnumClassesFn aCallback);
// Deletes the factories of a table (module stop).
void ReleaseFactories(const SClassEntry* aTable, size_t aCount);

// Calls a class's optional FinalConstruct after it is made.
template <class T>
HRESULT FinalConstructOf(T* aObject) {
    if constexpr (requires { aObject->FinalConstruct(); })
        return aObject->FinalConstruct();
    else
        return S_OK;
}

// Plain factory: a new instance per request.
template <class T>
class CComClassFactory : public CFactoryBase {
public:
    static HRESULT Get(CreateRoutine, CFactoryBase** aFactory) {
        *aFactory = new CComObjectGlobal<CComClassFactory>();
        return S_OK;
    }
    HRESULT CreateInstance(IUnknown* aOuter, const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = nullptr;
        if (aOuter) return CLASS_E_NOAGGREGATION;
        return GuardEntry([&] {
            auto* object = new CComObject<T>();
            object->AddRef();
            HRESULT hr = FinalConstructOf<T>(object);
            if (SUCCEEDED(hr)) hr = object->QueryInterface(aIID, aOut);
            object->Release();
            return hr;
        });
    }
};

// Singleton: one instance per module, made at the first request; a failure is stored and
// returned from then on.
template <class T>
class CComClassFactorySingleton : public CFactoryBase {
public:
    static HRESULT Get(CreateRoutine, CFactoryBase** aFactory) {
        *aFactory = new CComObjectGlobal<CComClassFactorySingleton>();
        return S_OK;
    }
    ~CComClassFactorySingleton() override { delete instance_.load(); }

    HRESULT CreateInstance(IUnknown* aOuter, const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = nullptr;
        if (aOuter) return CLASS_E_NOAGGREGATION;
        if (!instance_.load(std::memory_order_acquire) && failure_.load(std::memory_order_acquire) == S_OK) {
            std::lock_guard<std::mutex> lock(mutex_);
            if (!instance_.load() && failure_.load() == S_OK) Make();
        }
        HRESULT failure = failure_.load(std::memory_order_acquire);
        if (FAILED(failure)) return failure;
        return instance_.load(std::memory_order_acquire)->QueryInterface(aIID, aOut);
    }

private:
    void Make() {
        CComObjectGlobal<T>* object = nullptr;
        HRESULT hr = GuardEntry([&] {
            object = new CComObjectGlobal<T>();
            return FinalConstructOf<T>(object);
        });
        if (FAILED(hr)) {
            delete object;
            failure_.store(hr, std::memory_order_release);
        } else {
            instance_.store(object, std::memory_order_release);
        }
    }

    std::mutex mutex_;
    std::atomic<CComObjectGlobal<T>*> instance_{nullptr};
    std::atomic<HRESULT> failure_{S_OK};
};

// Weak singleton: hands out the living instance, without keeping it alive; the instance
// clears the factory's pointer when it dies, and the next request makes a new one.
template <class T>
class CComClassFactoryWeakSingleton : public CFactoryBase {
public:
    static HRESULT Get(CreateRoutine, CFactoryBase** aFactory) {
        *aFactory = new CComObjectGlobal<CComClassFactoryWeakSingleton>();
        return S_OK;
    }

    HRESULT CreateInstance(IUnknown* aOuter, const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = nullptr;
        if (aOuter) return CLASS_E_NOAGGREGATION;
        std::lock_guard<std::mutex> lock(mutex_);
        if (instance_) return instance_->QueryInterface(aIID, aOut);
        return GuardEntry([&] {
            auto* object = new CWeakObject(this);
            object->AddRef();
            HRESULT hr = FinalConstructOf<T>(object);
            if (SUCCEEDED(hr)) hr = object->QueryInterface(aIID, aOut);
            if (SUCCEEDED(hr)) instance_ = object;
            object->ReleaseLocked();
            return hr;
        });
    }

private:
    class CWeakObject final : public T {
    public:
        explicit CWeakObject(CComClassFactoryWeakSingleton* aFactory) : factory_(aFactory) { ModuleLock(); }
        ~CWeakObject() { ModuleUnlock(); }
        uint32_t AddRef() override { return ++refs_; }
        uint32_t Release() override {
            std::lock_guard<std::mutex> lock(factory_->mutex_);
            return ReleaseLocked();
        }
        // Called with the factory's lock held, so that a request cannot revive a dying object.
        uint32_t ReleaseLocked() {
            uint32_t r = --refs_;
            if (r == 0) {
                if (factory_->instance_ == this) factory_->instance_ = nullptr;
                delete this;
            }
            return r;
        }
        HRESULT QueryInterface(const IID& aIID, void** aOut) override {
            if (!aOut) return E_POINTER;
            *aOut = this->FindInterfaceImpl(aIID);
            if (!*aOut) return E_NOINTERFACE;
            ++refs_;
            return S_OK;
        }

    private:
        CComClassFactoryWeakSingleton* factory_;
        std::atomic<uint32_t> refs_{0};
    };

    std::mutex mutex_;
    CWeakObject* instance_ = nullptr;
};

// Host activation: the module reaches every host class (and its own classes by id) here.
// Outer is always null and the context flags 23. The out pointer stays null when the host
// has no activation function.
HRESULT HostCreateInstance(const CLSID& aClassID, const IID& aIID, void** aOut);

template <class I>
ComPtr<I> HostCreate(const CLSID& aClassID) {
    ComPtr<I> p;
    HostCreateInstance(aClassID, I::iid, p.out());
    return p;
}

}  // namespace zt

// Object bases of the module: heap objects that keep the module loaded while they live,
// module-owned objects (factories, singletons) whose references only count for the module,
// and stack objects whose reference counts do nothing.
#pragma once

#include <atomic>
#include <utility>

#include "frame/abi.h"

namespace zt {

// The module's count of live objects and server locks; DllCanUnloadNow answers from it.
void ModuleLock();
void ModuleUnlock();
long ModuleLockCount();

// A reference-counted heap object. T lists its interfaces in FindInterfaceImpl.
template <class T>
class CComObject final : public T {
public:
    template <class... A>
    explicit CComObject(A&&... a) : T(std::forward<A>(a)...) {
        ModuleLock();
    }
    ~CComObject() { ModuleUnlock(); }

    uint32_t AddRef() override { return ++refs_; }
    uint32_t Release() override {
        uint32_t r = --refs_;
        if (r == 0) delete this;
        return r;
    }
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = this->FindInterfaceImpl(aIID);
        if (!*aOut) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }

    // Makes an object and hands out its first reference; throws std::bad_alloc.
    template <class I = T, class... A>
    static I* Create(A&&... a) {
        auto* o = new CComObject(std::forward<A>(a)...);
        o->refs_ = 1;
        return static_cast<I*>(o);
    }

private:
    std::atomic<uint32_t> refs_{0};
};

// An object owned by the module itself (a factory, a singleton). References handed out
// hold the module, not the object; the owner deletes it at module stop.
template <class T>
class CComObjectGlobal final : public T {
public:
    uint32_t AddRef() override {
        ModuleLock();
        return 2;
    }
    uint32_t Release() override {
        ModuleUnlock();
        return 1;
    }
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = this->FindInterfaceImpl(aIID);
        if (!*aOut) return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
};

// A stack-bound implementation of one interface: counts do nothing, so nobody may keep it.
template <class I>
class CStackUnknown : public I {
public:
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = FindInterface<I>(static_cast<I*>(this), aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
};

}  // namespace zt

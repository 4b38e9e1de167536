// Reference counting for the host's own objects. T implements the methods of its interfaces
// and lists the interfaces in FindInterfaceImpl; these wrappers add IUnknown.
#pragma once

#include <atomic>
#include <utility>

#include "frame/abi.h"

namespace zthost {

template <class T>
HRESULT QueryFrom(T* aObject, const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = aObject->FindInterfaceImpl(aIID);
    if (!*aOut) return E_NOINTERFACE;
    aObject->AddRef();
    return S_OK;
}

// A heap object, born with one reference (its creator's) and deleted with the last one.
template <class T>
class HeapObject final : public T {
public:
    template <class... A>
    explicit HeapObject(A&&... a) : T(std::forward<A>(a)...) {}

    uint32_t AddRef() override { return ++refs_; }
    uint32_t Release() override {
        uint32_t r = --refs_;
        if (r == 0) delete this;
        return r;
    }
    HRESULT QueryInterface(const IID& aIID, void** aOut) override { return QueryFrom(this, aIID, aOut); }

private:
    std::atomic<uint32_t> refs_{1};
};

// A shared service that lives as long as the program: counting would change nothing.
template <class T>
class StaticObject final : public T {
public:
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT QueryInterface(const IID& aIID, void** aOut) override { return QueryFrom(this, aIID, aOut); }
};

}  // namespace zthost

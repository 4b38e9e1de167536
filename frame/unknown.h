// IUnknown, the reference holder and the interface lookup every object answers queries with.
#pragma once

#include <tuple>

#include "frame/guid.h"
#include "frame/result.h"

// Every interface names its id as a static member, which does not touch the object layout.
#define ZT_IID(text) static constexpr IID iid = MakeGuid(text)

struct IUnknown {
    ZT_IID("00000000-0000-0000-c000-000000000046");
    virtual HRESULT QueryInterface(const IID& aIID, void** aOut) = 0;
    virtual uint32_t AddRef() = 0;
    virtual uint32_t Release() = 0;
};

struct IClassFactory : IUnknown {
    ZT_IID("00000001-0000-0000-c000-000000000046");
    virtual HRESULT CreateInstance(IUnknown* aOuter, const IID& aIID, void** aOut) = 0;
    virtual HRESULT LockServer(int32_t aLock) = 0;
};

// Holds one reference. Attach() adopts a reference handed out by a call.
template <class T>
class ComPtr {
public:
    ComPtr() = default;
    ComPtr(T* p) : p_(p) {
        if (p_) p_->AddRef();
    }
    ComPtr(const ComPtr& o) : ComPtr(o.p_) {}
    ComPtr(ComPtr&& o) noexcept : p_(o.p_) { o.p_ = nullptr; }
    ~ComPtr() {
        if (p_) p_->Release();
    }
    ComPtr& operator=(const ComPtr& o) {
        ComPtr(o).swap(*this);
        return *this;
    }
    ComPtr& operator=(ComPtr&& o) noexcept {
        ComPtr(std::move(o)).swap(*this);
        return *this;
    }
    ComPtr& operator=(T* p) {
        ComPtr(p).swap(*this);
        return *this;
    }
    void swap(ComPtr& o) noexcept {
        T* t = p_;
        p_ = o.p_;
        o.p_ = t;
    }

    T* operator->() const { return p_; }
    T& operator*() const { return *p_; }
    T* get() const { return p_; }
    operator T*() const { return p_; }
    explicit operator bool() const { return p_ != nullptr; }

    // Releases what is held and gives the slot for an out argument, typed or untyped
    // (QueryInterface and factories take void**).
    struct COutSlot {
        T** slot;
        operator T**() const { return slot; }
        operator void**() const { return reinterpret_cast<void**>(slot); }
    };
    COutSlot out() {
        reset();
        return {&p_};
    }
    ComPtr* operator&() = delete;  // an address of the holder is never what a call wants
    void reset() {
        if (p_) {
            T* t = p_;
            p_ = nullptr;
            t->Release();
        }
    }
    void attach(T* p) {
        reset();
        p_ = p;
    }
    T* detach() {
        T* t = p_;
        p_ = nullptr;
        return t;
    }

    // Asks any object for this interface; the result holds null when it is not there.
    template <class U>
    static ComPtr query(U* from) {
        ComPtr r;
        if (from) from->QueryInterface(T::iid, r.out());
        return r;
    }

private:
    T* p_ = nullptr;
};

// Answers an interface query from a list of interfaces the object implements (bases included).
// IUnknown maps to the first one. Does not add a reference.
template <class... Ifaces, class T>
void* FindInterface(T* self, const IID& aIID) {
    void* p = nullptr;
    ((p == nullptr && aIID == Ifaces::iid ? (p = static_cast<Ifaces*>(self), true) : false), ...);
    if (!p && aIID == IUnknown::iid) {
        using First = std::tuple_element_t<0, std::tuple<Ifaces...>>;
        p = static_cast<IUnknown*>(static_cast<First*>(self));
    }
    return p;
}

// Where exceptions end: every call the host makes into the module passes through one of
// these, so no exception crosses the interface.
#pragma once

#include <new>

#include "frame/abi.h"

namespace zt {

// A failure result carried by an exception inside a run (a failed Finalize, say).
struct CHResultException {
    HRESULT hr;
};

// Throws CHResultException for a failure result; passes success through.
inline HRESULT ThrowIfFailed(HRESULT aResult) {
    if (FAILED(aResult)) throw CHResultException{aResult};
    return aResult;
}

// Operation boundary: any exception (wrong configuration type, no memory, a thrown
// failure) becomes E_UNEXPECTED.
template <class F>
HRESULT Guard(F&& aBody) noexcept {
    try {
        return aBody();
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// The out-pointer family (NameGet, Name, PreviewIcon, text): a null out pointer is
// E_POINTER, the out pointer is cleared first, exceptions become E_UNEXPECTED.
template <class T, class F>
HRESULT GuardOut(T** aOut, F&& aBody) noexcept {
    if (!aOut) return E_POINTER;
    *aOut = nullptr;
    return Guard(aBody);
}

// Entry points and factories: no memory is E_OUTOFMEMORY, any other exception E_UNEXPECTED.
template <class F>
HRESULT GuardEntry(F&& aBody) noexcept {
    try {
        return aBody();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (const CHResultException& e) {
        return e.hr;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

}  // namespace zt

// Where exceptions end: every call the host makes into the module passes through one of
// these, so no exception crosses the interface. Each failure leaves its reason with the
// host's failure-reason service, so that a bare result code is not all a caller learns.
#pragma once

#include <new>

#include "frame/abi.h"

namespace zt {

// A failure result carried by an exception inside a run (a failed Finalize, say), with a
// tagged reason ("[0409]English[0405]Czech") where the thrower knows one.
struct CHResultException {
    HRESULT hr;
    const char16_t* reason = nullptr;
};

// Throws CHResultException for a failure result; passes success through.
inline HRESULT ThrowIfFailed(HRESULT aResult) {
    if (FAILED(aResult)) throw CHResultException{aResult};
    return aResult;
}

// Leaves a tagged reason for aResult with the host and gives aResult back.
HRESULT Fail(HRESULT aResult, const char16_t* aReason) noexcept;

// Leaves the reason of the exception being handled (a setting of the wrong type names its
// key) for aResult; called only inside a catch block.
HRESULT FailFromException(HRESULT aResult) noexcept;

// Operation boundary: any exception (wrong configuration type, no memory, a thrown
// failure) becomes E_UNEXPECTED.
template <class F>
HRESULT Guard(F&& aBody) noexcept {
    try {
        return aBody();
    } catch (...) {
        return FailFromException(E_UNEXPECTED);
    }
}

// Runs of an operation: no memory is E_OUTOFMEMORY (a large image is not a bug), any
// other exception E_UNEXPECTED.
template <class F>
HRESULT GuardRun(F&& aBody) noexcept {
    try {
        return aBody();
    } catch (const std::bad_alloc&) {
        return FailFromException(E_OUTOFMEMORY);
    } catch (...) {
        return FailFromException(E_UNEXPECTED);
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

// Entry points and factories: no memory is E_OUTOFMEMORY, a thrown failure its own result,
// any other exception E_UNEXPECTED.
template <class F>
HRESULT GuardEntry(F&& aBody) noexcept {
    try {
        return aBody();
    } catch (const std::bad_alloc&) {
        return FailFromException(E_OUTOFMEMORY);
    } catch (const CHResultException& e) {
        return FailFromException(e.hr);
    } catch (...) {
        return FailFromException(E_UNEXPECTED);
    }
}

}  // namespace zt

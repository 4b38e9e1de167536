// The context of one run: named states, cancellation, and the error message of the run.
#include <atomic>
#include <map>
#include <mutex>
#include <new>
#include <string>

#include "host/object.h"
#include "host/operation_context.h"

namespace zthost {
namespace {

class OperationContext : public IOperationContext {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IOperationContext>(this, aIID); }

    HRESULT StateGet(const char16_t* aName, const IID& aIID, void** aState) override {
        if (!aState) return E_POINTER;
        *aState = nullptr;
        if (!aName) return E_POINTER;
        ComPtr<IUnknown> state;
        {
            std::lock_guard lock(mutex_);
            auto found = states_.find(std::u16string_view(aName));
            if (found == states_.end()) return E_HOST_ITEM_NOT_FOUND;
            state = found->second;
        }
        return state->QueryInterface(aIID, aState);
    }

    HRESULT StateSet(const char16_t* aName, IUnknown* aState) override {
        if (!aName) return E_POINTER;
        std::lock_guard lock(mutex_);
        if (!aState) {
            if (auto found = states_.find(std::u16string_view(aName)); found != states_.end()) states_.erase(found);
            return S_OK;
        }
        try {
            states_[aName] = aState;
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
        return S_OK;
    }

    HRESULT IsCancelled() override { return cancelled_ ? S_OK : S_FALSE; }

    HRESULT GetOperationInfo(uint32_t* aItemIndex, uint32_t* aItemsRemaining, uint32_t* aStepIndex,
                             uint32_t* aStepsRemaining) override {
        // A run of this host is always a single item of a single step.
        for (uint32_t* value : {aItemIndex, aItemsRemaining, aStepIndex, aStepsRemaining})
            if (value) *value = 0;
        return S_OK;
    }

    HRESULT SetErrorMessage(ILocalizedString* aMessage) override {
        std::lock_guard lock(mutex_);
        message_ = aMessage;
        return S_OK;
    }

    ComPtr<ILocalizedString> Message() {
        std::lock_guard lock(mutex_);
        return message_;
    }

    void Cancel() { cancelled_ = true; }

private:
    std::mutex mutex_;
    std::map<std::u16string, ComPtr<IUnknown>, std::less<>> states_;  // ordered by name
    ComPtr<ILocalizedString> message_;
    std::atomic<bool> cancelled_{false};
};

}  // namespace

ComPtr<IOperationContext> CreateOperationContext() {
    ComPtr<IOperationContext> context;
    context.attach(new (std::nothrow) HeapObject<OperationContext>());
    return context;
}

ComPtr<ILocalizedString> LastErrorMessage(IOperationContext* aContext) {
    auto* context = dynamic_cast<OperationContext*>(aContext);
    return context ? context->Message() : nullptr;
}

bool CancelOperation(IOperationContext* aContext) {
    auto* context = dynamic_cast<OperationContext*>(aContext);
    if (context) context->Cancel();
    return context != nullptr;
}

}  // namespace zthost

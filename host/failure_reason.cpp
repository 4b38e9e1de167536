// Why the last call on a thread failed: one record per thread, set by the module where it
// knows the cause and taken by whoever called it (ztraster prints it beside the result code).
#include "host/object.h"
#include "host/registry.h"
#include "host/zthost.h"

namespace zthost {
namespace {

struct Record {
    HRESULT result = S_OK;
    ComPtr<ILocalizedString> reason;
};
thread_local Record t_record;

class FailureReason : public IFailureReason {
public:
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<IFailureReason>(this, aIID); }
    HRESULT SetReason(HRESULT aResult, ILocalizedString* aReason) override {
        t_record.result = aResult;
        t_record.reason = aReason;
        return S_OK;
    }
    HRESULT TakeReason(HRESULT* aResult, ILocalizedString** aReason) override {
        if (!aResult || !aReason) return E_POINTER;
        *aResult = t_record.result;
        *aReason = t_record.reason.detach();
        t_record.result = S_OK;
        return *aReason ? S_OK : S_FALSE;
    }
};

}  // namespace

HRESULT CreateFailureReason(const IID& aIID, void** aOut) {
    static StaticObject<FailureReason> service;
    return service.QueryInterface(aIID, aOut);
}

std::string TakeFailureReason(HRESULT aResult) {
    HRESULT result = S_OK;
    ComPtr<ILocalizedString> reason;
    ComPtr<IFailureReason> service;
    CreateFailureReason(IFailureReason::iid, service.out());
    if (service->TakeReason(&result, reason.out()) != S_OK || result != aResult) return {};
    return TextOf(reason, Language());
}

void ForgetFailureReason() { TakeFailureReason(S_OK); }

}  // namespace zthost

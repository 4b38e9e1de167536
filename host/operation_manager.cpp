#include <algorithm>

#include "host/config.h"
#include "host/registry.h"

namespace zthost {
namespace {

ComPtr<IDocumentOperation> CreateOperation(const GUID& aClassID) {
    ComPtr<IDocumentOperation> operation;
    CreateInstance(aClassID, IDocumentOperation::iid, operation.out());
    return operation;
}

// One object for the whole program; references cost nothing.
class COperationManager final : public IOperationManager {
public:
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        if (!aOut) return E_POINTER;
        *aOut = FindInterface<IOperationManager>(this, aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }

    HRESULT InsertIntoConfigAs(IOperationManager* aManager, IConfigBuilder* aConfig, const char16_t* aKey,
                               ILocalizedString* aName, ILocalizedString* aHelp, uint32_t aConditionCount,
                               const TConfigOptionCondition* aConditions) override {
        ComPtr<CConfig> config = CConfig::From(aConfig);
        if (!config) return E_INVALIDARG;
        try {
            ComPtr<IOperationManager> manager = aManager ? aManager : this;
            std::vector<OperationChoice> choices;
            for (const ClassInfo& info : RegisteredClasses()) {
                if (std::find(info.categories.begin(), info.categories.end(), category::operation) ==
                    info.categories.end())
                    continue;
                ComPtr<IDocumentOperation> operation = CreateOperation(info.id);
                ComPtr<ILocalizedString> name;
                if (operation && SUCCEEDED(operation->NameGet(manager, name.out())) && name)
                    choices.push_back({info.id, name});
            }
            // Configurations of chosen classes are made through this manager: most choices come
            // after this call, when a manager handed in (maybe a wrapper of the call) is gone.
            SubConfigFactory factory = [this](const GUID& aClassID) {
                ComPtr<IConfig> sub;
                // An operation that nests operations may be the default choice of its own nested
                // item: a class already being configured on this thread gets no sub-configuration.
                thread_local std::vector<GUID> building;
                if (std::find(building.begin(), building.end(), aClassID) != building.end()) return sub;
                building.push_back(aClassID);
                struct Pop {
                    ~Pop() { building.pop_back(); }
                } pop;
                if (ComPtr<IDocumentOperation> operation = CreateOperation(aClassID))
                    operation->ConfigCreate(this, sub.out());
                return sub;
            };
            return config->ItemInsOperation(aKey, aName, aHelp, choices, aConditionCount, aConditions, factory);
        } catch (const std::bad_alloc&) {
            return E_OUTOFMEMORY;
        }
    }

    HRESULT CanActivate(IOperationManager* aManager, IDocument* aDocument, const TConfigValue* aOperationID,
                        IConfig* aConfig, IOperationContext* aContext) override {
        ComPtr<IDocumentOperation> operation;
        HRESULT hr = Resolve(aOperationID, operation);
        if (FAILED(hr)) return hr;
        return operation->CanActivate(aManager ? aManager : this, aDocument, aConfig, aContext);
    }

    HRESULT Activate(IOperationManager* aManager, IDocument* aDocument, const TConfigValue* aOperationID,
                     IConfig* aConfig, IOperationContext* aContext, ZTHWND aParentWindow, uint32_t aLanguage) override {
        ComPtr<IDocumentOperation> operation;
        HRESULT hr = Resolve(aOperationID, operation);
        if (FAILED(hr)) return hr;
        return operation->Activate(aManager ? aManager : this, aDocument, aConfig, aContext, aParentWindow, aLanguage);
    }

private:
    static HRESULT Resolve(const TConfigValue* aOperationID, ComPtr<IDocumentOperation>& aOperation) {
        if (!aOperationID || aOperationID->eTypeID != ECVTGUID) return E_INVALIDARG;
        return CreateInstance(aOperationID->guidVal, IDocumentOperation::iid, aOperation.out());
    }
};

COperationManager theManager;

}  // namespace

ComPtr<IOperationManager> OperationManager() { return &theManager; }

HRESULT CreateOperationManager(const IID& aIID, void** aOut) { return theManager.QueryInterface(aIID, aOut); }

}  // namespace zthost

// The host's configuration: the builder that operations fill in ConfigCreate, which then
// serves as the configuration itself. Made by class id CLSID_ConfigBuilder.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "host/zthost.h"

namespace zthost {

// Makes the configuration of the operation aClassID; null when it has none.
using SubConfigFactory = std::function<ComPtr<IConfig>(const GUID& aClassID)>;

// One choice of a nested operation item.
struct OperationChoice {
    GUID classId;
    ComPtr<ILocalizedString> name;
};

// Same type and same payload (floats compared as numbers, strings by their text).
bool ConfigValuesEqual(const TConfigValue& a, const TConfigValue& b);

class CConfig final : public IConfigBuilder, public IConfig {
public:
    static ComPtr<CConfig> Create();
    // The host's configuration behind an interface pointer; null when the object is not one.
    static ComPtr<CConfig> From(IUnknown* aObject);

    // IUnknown
    HRESULT QueryInterface(const IID& aIID, void** aOut) override;
    uint32_t AddRef() override;
    uint32_t Release() override;

    // IConfigBuilder
    HRESULT ItemIns1ofN(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                        const TConfigValue* aDefault, void* aReserved) override;
    HRESULT ItemOptionAdd(const char16_t* aKey, const TConfigValue* aValue, ILocalizedString* aName,
                          uint32_t aConditionCount, const TConfigOptionCondition* aConditions) override;
    HRESULT ItemInsRanged(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                          const TConfigValue* aDefault, void* aReserved, const TConfigValue* aFrom,
                          const TConfigValue* aTo, const TConfigValue* aStep, uint32_t aConditionCount,
                          const TConfigOptionCondition* aConditions) override;
    HRESULT ItemInsSimple(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                          const TConfigValue* aDefault, void* aReserved, uint32_t aConditionCount,
                          const TConfigOptionCondition* aConditions) override;
    HRESULT SubConfigInsert(const char16_t* aKey, IConfig* aSubConfig) override;
    HRESULT Finalize(IConfigCustomGUI* aGUI) override;

    // IConfig. Keys of nested items are joined by '\'.
    HRESULT ItemValueGet(const char16_t* aKey, TConfigValue* aValue) override;
    HRESULT ItemValuesSet(uint32_t aCount, const char16_t* const* aKeys, const TConfigValue* aValues) override;
    HRESULT ItemGetUIInfo(const char16_t* aKey, const IID& aIID, void** aInfo) override;
    HRESULT SubConfigGet(const char16_t* aKey, IConfig** aSubConfig) override;
    HRESULT DuplicateCreate(IConfig** aCopy) override;
    // Takes the value of every item (nested ones too) whose key, prefixed by aPrefix, the source
    // has with a value of the item's type; the rest stays.
    HRESULT CopyFrom(IConfig* aSource, const char16_t* aPrefix) override;
    HRESULT ObserverIns(IConfigObserver* aObserver) override;
    HRESULT ObserverDel(IConfigObserver* aObserver) override;

    // A nested operation item: a pick-one of class ids (the default is the first choice, or
    // GUID_NULL without choices) whose chosen operation's configuration, made by aFactory, is
    // the item's sub-configuration. Choosing another class replaces that configuration.
    HRESULT ItemInsOperation(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                             const std::vector<OperationChoice>& aChoices, uint32_t aConditionCount,
                             const TConfigOptionCondition* aConditions, SubConfigFactory aFactory);

    // The items in order; the pointers stay valid while this configuration lives.
    std::vector<ConfigItemInfo> Describe() const;
    // What Finalize was given.
    IConfigCustomGUI* CustomGUI() const { return gui_.get(); }

private:
    struct Item;
    class Transaction;

    CConfig();
    ~CConfig();

    Item* Find(std::u16string_view aKey) const;
    // The item that a nested key names, through the current sub-configurations.
    Item* FindPath(std::u16string_view aPath) const;
    ComPtr<CConfig> Duplicate() const;
    bool IsActive(const Item& aItem) const;
    HRESULT CheckConditions(const Item* aOwnItem, uint32_t aCount, const TConfigOptionCondition* aConditions) const;
    HRESULT CheckNewItem(const char16_t* aKey, ILocalizedString* aName, const TConfigValue* aDefault) const;
    HRESULT InsertItem(std::unique_ptr<Item> aItem, uint32_t aConditionCount,
                       const TConfigOptionCondition* aConditions);
    void Notify(const std::vector<std::u16string>& aKeys);

    std::atomic<uint32_t> refs_{0};
    std::vector<std::unique_ptr<Item>> items_;
    std::vector<ComPtr<IConfigObserver>> observers_;
    ComPtr<IConfigCustomGUI> gui_;
    bool finalized_ = false;
};

}  // namespace zthost

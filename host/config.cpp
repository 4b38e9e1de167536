#include "host/config.h"

#include <algorithm>
#include <deque>
#include <new>
#include <utility>

#include "host/registry.h"

namespace zthost {

bool ConfigValuesEqual(const TConfigValue& a, const TConfigValue& b) {
    if (a.eTypeID != b.eTypeID) return false;
    switch (a.eTypeID) {
        case ECVTEmpty: return true;
        case ECVTInteger: return a.iVal == b.iVal;
        case ECVTFloat: return a.fVal == b.fVal;
        case ECVTBool: return a.bVal == b.bVal;
        case ECVTString: return ZTStrView(a.bstrVal) == ZTStrView(b.bstrVal);
        case ECVTGUID: return a.guidVal == b.guidVal;
        case ECVTFloatColor: return std::equal(a.vecVal, a.vecVal + 4, b.vecVal);
        case ECVTVector3: return std::equal(a.vecVal, a.vecVal + 3, b.vecVal);
        default: return false;
    }
}

namespace {

// Answered only by this host's configurations, so that the host can reach its own object
// behind any of its interfaces.
constexpr IID IID_HostConfig = MakeGuid("5cf088ca-2cf9-4f5a-a52d-714260d3891d");

// A TConfigValue that frees its string.
struct OwnedValue {
    TConfigValue v = ConfigValueEmpty();

    OwnedValue() = default;
    OwnedValue(OwnedValue&& o) noexcept : v(o.v) { o.v = ConfigValueEmpty(); }
    OwnedValue(const OwnedValue&) = delete;
    OwnedValue& operator=(const OwnedValue&) = delete;
    ~OwnedValue() { ConfigValueClear(v); }
};

void CopyValue(TConfigValue& aDst, const TConfigValue& aSrc) {
    if (!ConfigValueCopy(aDst, aSrc)) throw std::bad_alloc();
}

template <class F>
HRESULT Guard(F aBody) {
    try {
        return aBody();
    } catch (const std::bad_alloc&) {
        return E_OUTOFMEMORY;
    } catch (...) {
        return E_UNEXPECTED;
    }
}

// Keys arrive as zero-terminated text (a ZTBSTR is one too).
std::u16string_view KeyView(const char16_t* aKey) { return aKey ? std::u16string_view(aKey) : std::u16string_view(); }

// '\' joins nested keys, '/' is its other spelling on the command line, '=' ends a key in the text form.
bool IsValidKey(std::u16string_view aKey) { return !aKey.empty() && aKey.find_first_of(u"\\/=\r\n") == aKey.npos; }

bool IsValueType(uint32_t aType) {
    switch (aType) {
        case ECVTInteger:
        case ECVTFloat:
        case ECVTBool:
        case ECVTString:
        case ECVTGUID:
        case ECVTFloatColor:
        case ECVTVector3: return true;
        default: return false;
    }
}

template <class T>
bool Compare(const T& a, uint32_t aCode, const T& b) {
    switch (aCode) {
        case ECOCEqual: return a == b;
        case ECOCNotEqual: return a != b;
        case ECOCLess: return a < b;
        case ECOCLessEqual: return a <= b;
        case ECOCGreater: return a > b;
        case ECOCGreaterEqual: return a >= b;
        default: return false;
    }
}

bool ConditionHolds(const TConfigValue& aValue, const TConfigOptionCondition& aCondition) {
    const TConfigValue& ref = aCondition.tValue;
    const uint32_t code = aCondition.eConditionType;
    if (aValue.eTypeID != ref.eTypeID) return false;
    switch (aValue.eTypeID) {
        case ECVTInteger: return Compare(aValue.iVal, code, ref.iVal);
        case ECVTFloat: return Compare(aValue.fVal, code, ref.fVal);
        case ECVTBool: return Compare(aValue.bVal, code, ref.bVal);
        case ECVTString: return Compare(ZTStrView(aValue.bstrVal), code, ZTStrView(ref.bstrVal));
        default: {  // class ids, colours and vectors have no order
            const bool equal = ConfigValuesEqual(aValue, ref);
            return code == ECOCEqual ? equal : code == ECOCNotEqual && !equal;
        }
    }
}

void FreeConditions(std::vector<TConfigOptionCondition>& aList) {
    for (TConfigOptionCondition& c : aList) {
        ZTStrFree(const_cast<char16_t*>(c.bstrID));
        ConfigValueClear(c.tValue);
    }
    aList.clear();
}

// Copies into aList, which owns keys and values from then on.
void AppendConditions(std::vector<TConfigOptionCondition>& aList, uint32_t aCount,
                      const TConfigOptionCondition* aConditions) {
    aList.reserve(aList.size() + aCount);
    for (uint32_t i = 0; i < aCount; ++i) {
        TConfigOptionCondition c;
        c.eConditionType = aConditions[i].eConditionType;
        c.tValue = ConfigValueEmpty();
        c.bstrID = ZTStrAlloc(KeyView(aConditions[i].bstrID));
        if (!c.bstrID) throw std::bad_alloc();
        if (!ConfigValueCopy(c.tValue, aConditions[i].tValue)) {
            ZTStrFree(const_cast<char16_t*>(c.bstrID));
            throw std::bad_alloc();
        }
        aList.push_back(c);
    }
}

ComPtr<CConfig> MakeSubConfig(const SubConfigFactory& aFactory, const GUID& aClassID) {
    if (aClassID == GUID_NULL) return {};
    return CConfig::From(aFactory(aClassID));
}

}  // namespace

struct CConfig::Item {
    std::u16string key;
    ConfigItemKind kind = ConfigItemKind::simple;
    ComPtr<ILocalizedString> name;
    ComPtr<ILocalizedString> help;
    OwnedValue defaultValue, from, to, step, value;
    std::vector<ConfigOption> options;
    std::vector<TConfigOptionCondition> conditions;
    ComPtr<CConfig> sub;
    SubConfigFactory factory;  // operation items: the configuration of a newly chosen class

    Item(std::u16string_view aKey, ConfigItemKind aKind, ILocalizedString* aName, ILocalizedString* aHelp,
         const TConfigValue& aDefault)
        : key(aKey), kind(aKind), name(aName), help(aHelp) {
        CopyValue(defaultValue.v, aDefault);
        CopyValue(value.v, aDefault);
    }
    Item(const Item&) = delete;
    Item& operator=(const Item&) = delete;
    ~Item() {
        for (ConfigOption& o : options) {
            ConfigValueClear(o.value);
            FreeConditions(o.conditions);
        }
        FreeConditions(conditions);
    }

    uint32_t Type() const { return defaultValue.v.eTypeID; }

    void AddOption(const TConfigValue& aValue, ILocalizedString* aName, uint32_t aConditionCount,
                   const TConfigOptionCondition* aConditions) {
        ConfigOption& o = options.emplace_back();
        o.value = ConfigValueEmpty();
        o.name = aName;
        CopyValue(o.value, aValue);
        AppendConditions(o.conditions, aConditionCount, aConditions);
    }

    std::unique_ptr<Item> Clone() const {
        auto copy = std::make_unique<Item>(key, kind, name, help, defaultValue.v);
        CopyValue(copy->from.v, from.v);
        CopyValue(copy->to.v, to.v);
        CopyValue(copy->step.v, step.v);
        CopyValue(copy->value.v, value.v);
        for (const ConfigOption& o : options)
            copy->AddOption(o.value, o.name, static_cast<uint32_t>(o.conditions.size()), o.conditions.data());
        AppendConditions(copy->conditions, static_cast<uint32_t>(conditions.size()), conditions.data());
        if (sub) copy->sub = sub->Duplicate();
        copy->factory = factory;
        return copy;
    }
};

// The writes of one ItemValuesSet or CopyFrom: checked and prepared first, so that a failure
// leaves everything as it was, then written together and announced once.
class CConfig::Transaction {
public:
    explicit Transaction(CConfig& aRoot) : root_(aRoot) {}

    HRESULT Set(std::u16string_view aPath, const TConfigValue& aValue) {
        CConfig* level = &root_;
        size_t start = 0;
        for (;;) {
            const size_t end = aPath.find(u'\\', start);
            Item* item = level->Find(aPath.substr(start, end == aPath.npos ? aPath.npos : end - start));
            if (!item) return E_INVALIDARG;
            if (end == aPath.npos) return Record(*level, *item, aPath, aValue);
            if (const Change* change = Find(*item); change && change->replacesSub) {
                // The configuration of a class chosen in this change is nobody else's yet.
                if (!change->sub) return E_INVALIDARG;
                CZTStr rest(aPath.substr(end + 1));
                const char16_t* key = rest;
                return change->sub->ItemValuesSet(1, &key, &aValue);
            }
            if (!item->sub) return E_INVALIDARG;
            level = item->sub.get();
            start = end + 1;
        }
    }

    // Takes the matching values of aSource for aLevel and what lies below it.
    HRESULT Copy(CConfig& aLevel, IConfig* aSource, const std::u16string& aSourcePrefix, const std::u16string& aPath) {
        for (const auto& item : aLevel.items_) {
            const std::u16string sourceKey = aSourcePrefix + item->key;
            OwnedValue value;
            aSource->ItemValueGet(CZTStr(sourceKey), &value.v);
            HRESULT hr = S_OK;
            if (value.v.eTypeID == item->Type()) hr = Set(aPath + item->key, value.v);
            if (FAILED(hr)) return hr;
            const std::u16string below = sourceKey + u'\\';
            if (const Change* change = Find(*item); change && change->replacesSub) {
                if (change->sub) hr = change->sub->CopyFrom(aSource, CZTStr(below));
            } else if (item->sub) {
                hr = Copy(*item->sub, aSource, below, aPath + item->key + u'\\');
            }
            if (FAILED(hr)) return hr;
        }
        return S_OK;
    }

    void Commit() {
        std::vector<Change*> effective;
        std::vector<std::u16string> rootKeys;
        std::vector<std::pair<CConfig*, std::vector<std::u16string>>> levelKeys;
        for (Change& c : changes_) {
            if (ConfigValuesEqual(c.value.v, c.item->value.v)) continue;
            effective.push_back(&c);
            rootKeys.push_back(c.path);
            if (c.owner.get() == &root_) continue;
            auto level = std::find_if(levelKeys.begin(), levelKeys.end(),
                                      [&](const auto& l) { return l.first == c.owner.get(); });
            if (level == levelKeys.end()) {
                levelKeys.emplace_back(c.owner.get(), std::vector<std::u16string>());
                level = levelKeys.end() - 1;
            }
            level->second.push_back(c.item->key);
        }
        for (Change* c : effective) {
            std::swap(c->item->value.v, c->value.v);
            if (c->replacesSub) c->item->sub = c->sub;
        }
        root_.Notify(rootKeys);
        for (const auto& [level, keys] : levelKeys) level->Notify(keys);
    }

private:
    struct Change {
        ComPtr<CConfig> owner;  // keeps the item alive when its configuration is replaced meanwhile
        Item* item = nullptr;
        std::u16string path;  // as seen from the root
        OwnedValue value;
        bool replacesSub = false;  // an operation item gets the configuration of another class
        ComPtr<CConfig> sub;
    };

    Change* Find(const Item& aItem) {
        for (Change& c : changes_)
            if (c.item == &aItem) return &c;
        return nullptr;
    }

    HRESULT Record(CConfig& aOwner, Item& aItem, std::u16string_view aPath, const TConfigValue& aValue) {
        if (aValue.eTypeID != aItem.Type()) return E_INVALIDARG;
        Change* change = Find(aItem);
        if (ConfigValuesEqual(change ? change->value.v : aItem.value.v, aValue)) return S_OK;
        if (!change) {
            change = &changes_.emplace_back();
            change->owner = &aOwner;
            change->item = &aItem;
            change->path = aPath;
        }
        CopyValue(change->value.v, aValue);
        if (aItem.factory) {
            // Back to the class the item holds now: its configuration stays.
            change->replacesSub = !ConfigValuesEqual(aValue, aItem.value.v);
            change->sub = change->replacesSub ? MakeSubConfig(aItem.factory, aValue.guidVal) : nullptr;
        }
        return S_OK;
    }

    CConfig& root_;
    std::vector<Change> changes_;
};

CConfig::CConfig() = default;
CConfig::~CConfig() = default;

ComPtr<CConfig> CConfig::Create() { return ComPtr<CConfig>(new CConfig); }

ComPtr<CConfig> CConfig::From(IUnknown* aObject) {
    ComPtr<CConfig> config;
    if (aObject) aObject->QueryInterface(IID_HostConfig, config.out());
    return config;
}

HRESULT CConfig::QueryInterface(const IID& aIID, void** aOut) {
    if (!aOut) return E_POINTER;
    *aOut = aIID == IID_HostConfig ? this : FindInterface<IConfigBuilder, IConfig>(this, aIID);
    if (!*aOut) return E_NOINTERFACE;
    AddRef();
    return S_OK;
}

uint32_t CConfig::AddRef() { return ++refs_; }

uint32_t CConfig::Release() {
    uint32_t r = --refs_;
    if (r == 0) delete this;
    return r;
}

CConfig::Item* CConfig::Find(std::u16string_view aKey) const {
    for (const auto& item : items_)
        if (item->key == aKey) return item.get();
    return nullptr;
}

CConfig::Item* CConfig::FindPath(std::u16string_view aPath) const {
    const CConfig* level = this;
    for (;;) {
        const size_t end = aPath.find(u'\\');
        Item* item = level->Find(aPath.substr(0, end));
        if (!item || end == aPath.npos) return item;
        if (!item->sub) return nullptr;
        level = item->sub.get();
        aPath.remove_prefix(end + 1);
    }
}

bool CConfig::IsActive(const Item& aItem) const {
    for (const TConfigOptionCondition& c : aItem.conditions) {
        const Item* tested = Find(KeyView(c.bstrID));
        if (!tested || !ConditionHolds(tested->value.v, c)) return false;
    }
    return true;
}

// A condition names an item that stands before aOwnItem (before the new item when null), and
// compares with a value of that item's type.
HRESULT CConfig::CheckConditions(const Item* aOwnItem, uint32_t aCount,
                                 const TConfigOptionCondition* aConditions) const {
    if (aCount && !aConditions) return E_POINTER;
    for (uint32_t i = 0; i < aCount; ++i) {
        const TConfigOptionCondition& c = aConditions[i];
        if (!c.bstrID) return E_POINTER;
        const Item* tested = nullptr;
        for (const auto& item : items_) {
            if (item.get() == aOwnItem) break;
            if (item->key == KeyView(c.bstrID)) tested = item.get();
        }
        if (!tested || c.eConditionType > ECOCGreaterEqual || c.tValue.eTypeID != tested->Type()) return E_INVALIDARG;
    }
    return S_OK;
}

HRESULT CConfig::CheckNewItem(const char16_t* aKey, ILocalizedString* aName, const TConfigValue* aDefault) const {
    if (finalized_) return E_UNEXPECTED;
    if (!aKey || !aName || !aDefault) return E_POINTER;
    if (!IsValidKey(KeyView(aKey)) || Find(KeyView(aKey)) || !IsValueType(aDefault->eTypeID)) return E_INVALIDARG;
    return S_OK;
}

HRESULT CConfig::InsertItem(std::unique_ptr<Item> aItem, uint32_t aConditionCount,
                            const TConfigOptionCondition* aConditions) {
    HRESULT hr = CheckConditions(nullptr, aConditionCount, aConditions);
    if (FAILED(hr)) return hr;
    AppendConditions(aItem->conditions, aConditionCount, aConditions);
    items_.push_back(std::move(aItem));
    return S_OK;
}

HRESULT CConfig::ItemIns1ofN(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                             const TConfigValue* aDefault, void*) {
    return Guard([&] {
        HRESULT hr = CheckNewItem(aKey, aName, aDefault);
        if (FAILED(hr)) return hr;
        return InsertItem(std::make_unique<Item>(KeyView(aKey), ConfigItemKind::pickOne, aName, aHelp, *aDefault), 0,
                          nullptr);
    });
}

HRESULT CConfig::ItemOptionAdd(const char16_t* aKey, const TConfigValue* aValue, ILocalizedString* aName,
                               uint32_t aConditionCount, const TConfigOptionCondition* aConditions) {
    return Guard([&] {
        if (finalized_) return E_UNEXPECTED;
        if (!aKey || !aValue || !aName) return E_POINTER;
        Item* item = Find(KeyView(aKey));
        if (!item || item->kind != ConfigItemKind::pickOne || aValue->eTypeID != item->Type()) return E_INVALIDARG;
        HRESULT hr = CheckConditions(item, aConditionCount, aConditions);
        if (FAILED(hr)) return hr;
        item->AddOption(*aValue, aName, aConditionCount, aConditions);
        return S_OK;
    });
}

HRESULT CConfig::ItemInsRanged(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                               const TConfigValue* aDefault, void*, const TConfigValue* aFrom, const TConfigValue* aTo,
                               const TConfigValue* aStep, uint32_t aConditionCount,
                               const TConfigOptionCondition* aConditions) {
    return Guard([&] {
        HRESULT hr = CheckNewItem(aKey, aName, aDefault);
        if (FAILED(hr)) return hr;
        if (!aFrom || !aTo || !aStep) return E_POINTER;
        const uint32_t type = aDefault->eTypeID;
        if ((type != ECVTInteger && type != ECVTFloat) || aFrom->eTypeID != type || aTo->eTypeID != type ||
            aStep->eTypeID != type)
            return E_INVALIDARG;
        auto item = std::make_unique<Item>(KeyView(aKey), ConfigItemKind::ranged, aName, aHelp, *aDefault);
        CopyValue(item->from.v, *aFrom);
        CopyValue(item->to.v, *aTo);
        CopyValue(item->step.v, *aStep);
        return InsertItem(std::move(item), aConditionCount, aConditions);
    });
}

HRESULT CConfig::ItemInsSimple(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                               const TConfigValue* aDefault, void*, uint32_t aConditionCount,
                               const TConfigOptionCondition* aConditions) {
    return Guard([&] {
        HRESULT hr = CheckNewItem(aKey, aName, aDefault);
        if (FAILED(hr)) return hr;
        return InsertItem(std::make_unique<Item>(KeyView(aKey), ConfigItemKind::simple, aName, aHelp, *aDefault),
                          aConditionCount, aConditions);
    });
}

HRESULT CConfig::ItemInsOperation(const char16_t* aKey, ILocalizedString* aName, ILocalizedString* aHelp,
                                  const std::vector<OperationChoice>& aChoices, uint32_t aConditionCount,
                                  const TConfigOptionCondition* aConditions, SubConfigFactory aFactory) {
    return Guard([&] {
        TConfigValue first = ConfigValueEmpty();
        first.eTypeID = ECVTGUID;
        if (!aChoices.empty()) first.guidVal = aChoices.front().classId;
        HRESULT hr = CheckNewItem(aKey, aName, &first);
        if (FAILED(hr)) return hr;
        auto item = std::make_unique<Item>(KeyView(aKey), ConfigItemKind::operation, aName, aHelp, first);
        TConfigValue option = first;
        for (const OperationChoice& choice : aChoices) {
            option.guidVal = choice.classId;
            item->AddOption(option, choice.name, 0, nullptr);
        }
        item->sub = MakeSubConfig(aFactory, first.guidVal);
        item->factory = std::move(aFactory);
        return InsertItem(std::move(item), aConditionCount, aConditions);
    });
}

HRESULT CConfig::SubConfigInsert(const char16_t* aKey, IConfig* aSubConfig) {
    if (finalized_) return E_UNEXPECTED;
    if (!aKey) return E_POINTER;
    Item* item = Find(KeyView(aKey));
    ComPtr<CConfig> sub = From(aSubConfig);
    if (!item || (aSubConfig && !sub)) return E_INVALIDARG;
    item->sub = sub;
    return S_OK;
}

HRESULT CConfig::Finalize(IConfigCustomGUI* aGUI) {
    if (finalized_) return E_UNEXPECTED;
    gui_ = aGUI;
    finalized_ = true;
    return S_OK;
}

HRESULT CConfig::ItemValueGet(const char16_t* aKey, TConfigValue* aValue) {
    if (!aValue) return E_POINTER;
    *aValue = ConfigValueEmpty();
    if (!aKey) return E_POINTER;
    const Item* item = FindPath(KeyView(aKey));
    if (!item) return E_HOST_ITEM_NOT_FOUND;
    return ConfigValueCopy(*aValue, item->value.v) ? S_OK : E_OUTOFMEMORY;
}

HRESULT CConfig::ItemValuesSet(uint32_t aCount, const char16_t* const* aKeys, const TConfigValue* aValues) {
    if (aCount && (!aKeys || !aValues)) return E_POINTER;
    return Guard([&] {
        Transaction change(*this);
        for (uint32_t i = 0; i < aCount; ++i) {
            if (!aKeys[i]) return E_POINTER;
            HRESULT hr = change.Set(KeyView(aKeys[i]), aValues[i]);
            if (FAILED(hr)) return hr;
        }
        change.Commit();
        return S_OK;
    });
}

HRESULT CConfig::ItemGetUIInfo(const char16_t*, const IID&, void** aInfo) {
    if (aInfo) *aInfo = nullptr;
    return E_NOTIMPL;
}

HRESULT CConfig::SubConfigGet(const char16_t* aKey, IConfig** aSubConfig) {
    if (!aSubConfig) return E_POINTER;
    *aSubConfig = nullptr;
    if (!aKey) return E_POINTER;
    const Item* item = FindPath(KeyView(aKey));
    if (!item || !item->sub) return E_HOST_ITEM_NOT_FOUND;
    *aSubConfig = item->sub.get();
    (*aSubConfig)->AddRef();
    return S_OK;
}

ComPtr<CConfig> CConfig::Duplicate() const {
    ComPtr<CConfig> copy = Create();
    for (const auto& item : items_) copy->items_.push_back(item->Clone());
    copy->gui_ = gui_;
    copy->finalized_ = finalized_;
    return copy;
}

HRESULT CConfig::DuplicateCreate(IConfig** aCopy) {
    if (!aCopy) return E_POINTER;
    *aCopy = nullptr;
    return Guard([&] {
        *aCopy = Duplicate().detach();
        return S_OK;
    });
}

HRESULT CConfig::CopyFrom(IConfig* aSource, const char16_t* aPrefix) {
    if (!aSource) return E_POINTER;
    return Guard([&] {
        Transaction change(*this);
        HRESULT hr = change.Copy(*this, aSource, std::u16string(KeyView(aPrefix)), u"");
        if (FAILED(hr)) return hr;
        change.Commit();
        return S_OK;
    });
}

HRESULT CConfig::ObserverIns(IConfigObserver* aObserver) {
    if (!aObserver) return E_POINTER;
    return Guard([&] {
        if (std::find(observers_.begin(), observers_.end(), aObserver) != observers_.end()) return S_FALSE;
        observers_.emplace_back(aObserver);
        return S_OK;
    });
}

HRESULT CConfig::ObserverDel(IConfigObserver* aObserver) {
    auto found = std::find(observers_.begin(), observers_.end(), aObserver);
    if (found == observers_.end()) return S_FALSE;
    observers_.erase(found);
    return S_OK;
}

void CConfig::Notify(const std::vector<std::u16string>& aKeys) {
    if (aKeys.empty() || observers_.empty()) return;
    std::deque<CZTStr> keys;
    std::vector<const char16_t*> pointers;
    for (const std::u16string& key : aKeys) pointers.push_back(keys.emplace_back(key));
    // An observer may leave during its call.
    const std::vector<ComPtr<IConfigObserver>> observers = observers_;
    for (const auto& observer : observers)
        observer->Notify(this, static_cast<uint32_t>(pointers.size()), pointers.data());
}

std::vector<ConfigItemInfo> CConfig::Describe() const {
    std::vector<ConfigItemInfo> items;
    items.reserve(items_.size());
    for (const auto& item : items_) {
        const bool ranged = item->kind == ConfigItemKind::ranged;
        ConfigItemInfo& info = items.emplace_back();
        info.key = item->key;
        info.kind = item->kind;
        info.name = item->name;
        info.help = item->help;
        info.defaultValue = &item->defaultValue.v;
        info.from = ranged ? &item->from.v : nullptr;
        info.to = ranged ? &item->to.v : nullptr;
        info.step = ranged ? &item->step.v : nullptr;
        for (const ConfigOption& o : item->options) info.options.push_back(&o);
        info.conditions = &item->conditions;
        info.active = IsActive(*item);
    }
    return items;
}

std::vector<ConfigItemInfo> DescribeConfig(IConfig* aConfig) {
    ComPtr<CConfig> config = CConfig::From(aConfig);
    return config ? config->Describe() : std::vector<ConfigItemInfo>();
}

HRESULT CreateConfigBuilder(const IID& aIID, void** aOut) {
    return Guard([&] { return CConfig::Create()->QueryInterface(aIID, aOut); });
}

}  // namespace zthost

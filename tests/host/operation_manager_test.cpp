#include <gtest/gtest.h>

#include "tests/host/config_test_support.h"

using namespace zttest;
using zthost::CConfig;

namespace {

// The fake operations take the class ids of two real ones, so that their short names resolve.
constexpr CLSID CLSID_ShiftHue = MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee");
constexpr CLSID CLSID_Blur = MakeGuid("4dd76d14-45a2-4fe5-9870-0dc94a53df75");
constexpr CLSID CLSID_NotAnOperation = MakeGuid("0f3b6a52-9d41-4c7e-8a25-6e1d9b7c3f80");

// An operation with one float item; it remembers what it was called with.
class FakeOperation final : public IDocumentOperation {
public:
    FakeOperation(const char16_t* aName, const char16_t* aKey, float aDefault)
        : name_(aName), key_(aKey), default_(aDefault) {}

    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        *aOut = FindInterface<IDocumentOperation>(this, aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }

    HRESULT NameGet(IOperationManager*, ILocalizedString** aName) override {
        *aName = Text(name_).detach();
        return S_OK;
    }
    HRESULT ConfigCreate(IOperationManager*, IConfig** aConfig) override {
        ComPtr<IConfigBuilder> builder = zthost::Create<IConfigBuilder>(CLSID_ConfigBuilder);
        TConfigValue value = Float(default_);
        builder->ItemInsSimple(key_, Text(key_), nullptr, &value, nullptr, 0, nullptr);
        builder->Finalize(nullptr);
        return builder->QueryInterface(IConfig::iid, reinterpret_cast<void**>(aConfig));
    }
    HRESULT CanActivate(IOperationManager* aManager, IDocument*, IConfig* aConfig, IOperationContext*) override {
        Remember(aManager, aConfig, 0);
        return S_FALSE;
    }
    HRESULT Activate(IOperationManager* aManager, IDocument*, IConfig* aConfig, IOperationContext*, ZTHWND,
                     uint32_t aLanguage) override {
        Remember(aManager, aConfig, aLanguage);
        return S_OK;
    }

    int calls = 0;
    IOperationManager* lastManager = nullptr;
    IConfig* lastConfig = nullptr;
    uint32_t lastLanguage = 0;

private:
    void Remember(IOperationManager* aManager, IConfig* aConfig, uint32_t aLanguage) {
        ++calls;
        lastManager = aManager;
        lastConfig = aConfig;
        lastLanguage = aLanguage;
    }

    const char16_t* name_;
    const char16_t* key_;
    float default_;
};

FakeOperation shiftHue(u"Raster Image - Shift Hue", u"Angle", 0.0f);
FakeOperation blur(u"Raster Image - Blur", u"Radius", 5.0f);

class FakeFactory final : public IClassFactory {
public:
    explicit FakeFactory(FakeOperation& aOperation) : operation_(aOperation) {}
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        *aOut = FindInterface<IClassFactory>(this, aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT CreateInstance(IUnknown*, const IID& aIID, void** aOut) override {
        return operation_.QueryInterface(aIID, aOut);
    }
    HRESULT LockServer(int32_t) override { return S_OK; }

private:
    FakeOperation& operation_;
};

FakeFactory shiftHueFactory(shiftHue), blurFactory(blur);

HRESULT FakeGetClassObject(const CLSID& aClassID, const IID& aIID, void** aOut) {
    if (aClassID == CLSID_ShiftHue) return shiftHueFactory.QueryInterface(aIID, aOut);
    if (aClassID == CLSID_Blur) return blurFactory.QueryInterface(aIID, aOut);
    return CLASS_E_CLASSNOTAVAILABLE;
}

HRESULT FakeEnumClasses(void* aContext, ZTEnumClassesFn aCallback) {
    const GUID colourOperation[] = {category::colour, category::operation};
    aCallback(aContext, CLSID_ShiftHue, 2, colourOperation);
    aCallback(aContext, CLSID_NotAnOperation, 1, &category::transformation);
    aCallback(aContext, CLSID_Blur, 1, &category::operation);
    return S_OK;
}

// A wrapper of the kind an operation may hand on instead of the host's manager.
class StandInManager final : public IOperationManager {
public:
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        *aOut = FindInterface<IOperationManager>(this, aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
    HRESULT InsertIntoConfigAs(IOperationManager*, IConfigBuilder*, const char16_t*, ILocalizedString*,
                               ILocalizedString*, uint32_t, const TConfigOptionCondition*) override {
        return E_NOTIMPL;
    }
    HRESULT CanActivate(IOperationManager*, IDocument*, const TConfigValue*, IConfig*, IOperationContext*) override {
        return E_NOTIMPL;
    }
    HRESULT Activate(IOperationManager*, IDocument*, const TConfigValue*, IConfig*, IOperationContext*, ZTHWND,
                     uint32_t) override {
        return E_NOTIMPL;
    }
};

class OperationManagerTest : public testing::Test {
protected:
    void SetUp() override {
        module_ = zthost::Module::FromFunctions({FakeGetClassObject, FakeEnumClasses, nullptr, nullptr});
        ASSERT_TRUE(module_);
        shiftHue.calls = blur.calls = 0;
    }

    // A configuration with "Enabled" and the nested "Operation" item.
    ComPtr<CConfig> WithOperationItem() {
        ComPtr<CConfig> config = NewConfig();
        TConfigValue enabled = Bool(true);
        EXPECT_EQ(config->ItemInsSimple(u"Enabled", Text(u"Enabled"), nullptr, &enabled, nullptr, 0, nullptr), S_OK);
        TConfigOptionCondition whenEnabled{u"Enabled", ECOCEqual, Bool(true)};
        EXPECT_EQ(zthost::OperationManager()->InsertIntoConfigAs(nullptr, config, u"Operation", Text(u"Operation"),
                                                                 Text(u"Operation whose strength is adjusted"), 1,
                                                                 &whenEnabled),
                  S_OK);
        EXPECT_EQ(config->Finalize(nullptr), S_OK);
        return config;
    }

    std::shared_ptr<zthost::Module> module_;
};

std::vector<std::u16string> KeysOf(IConfig* aConfig) {
    std::vector<std::u16string> keys;
    for (const zthost::ConfigItemInfo& item : zthost::DescribeConfig(aConfig)) keys.push_back(item.key);
    return keys;
}

ComPtr<IConfig> SubOf(IConfig* aConfig, std::u16string_view aKey) {
    ComPtr<IConfig> sub;
    aConfig->SubConfigGet(CZTStr(aKey), sub.out());
    return sub;
}

}  // namespace

TEST_F(OperationManagerTest, ManagerIsOneSharedObjectAlsoMadeByClassId) {
    ComPtr<IOperationManager> byClass = zthost::Create<IOperationManager>(CLSID_OperationManager);
    EXPECT_EQ(byClass.get(), zthost::OperationManager().get());
}

TEST_F(OperationManagerTest, NestedItemListsEveryOperationClassAndStartsWithTheFirst) {
    ComPtr<CConfig> config = WithOperationItem();
    const std::vector<zthost::ConfigItemInfo> items = zthost::DescribeConfig(config);
    ASSERT_EQ(items.size(), 2u);
    const zthost::ConfigItemInfo& item = items[1];
    EXPECT_EQ(item.key, u"Operation");
    EXPECT_EQ(item.kind, zthost::ConfigItemKind::operation);
    ASSERT_EQ(item.options.size(), 2u);  // not the class of another category
    EXPECT_EQ(item.options[0]->value.guidVal, CLSID_ShiftHue);
    EXPECT_EQ(item.options[1]->value.guidVal, CLSID_Blur);
    EXPECT_EQ(zthost::TextOf(item.options[1]->name, LANG_ENGLISH), "Raster Image - Blur");
    EXPECT_EQ(zthost::TextOf(item.help, LANG_ENGLISH), "Operation whose strength is adjusted");
    EXPECT_EQ(item.defaultValue->guidVal, CLSID_ShiftHue);

    Current value(config, u"Operation");
    EXPECT_EQ(value.v.eTypeID, ECVTGUID);
    EXPECT_EQ(value.v.guidVal, CLSID_ShiftHue);
    EXPECT_EQ(KeysOf(SubOf(config, u"Operation")), std::vector<std::u16string>{u"Angle"});
    EXPECT_EQ(Current(config, u"Operation\\Angle").v.fVal, 0.0f);
}

TEST_F(OperationManagerTest, NestedItemFollowsItsConditions) {
    ComPtr<CConfig> config = WithOperationItem();
    EXPECT_TRUE(zthost::DescribeConfig(config)[1].active);
    ASSERT_EQ(SetOne(config, u"Enabled", Bool(false)), S_OK);
    EXPECT_FALSE(zthost::DescribeConfig(config)[1].active);

    ComPtr<CConfig> other = NewConfig();
    TConfigOptionCondition onNothing{u"Enabled", ECOCEqual, Bool(true)};
    EXPECT_EQ(zthost::OperationManager()->InsertIntoConfigAs(nullptr, other, u"Operation", Text(u"Operation"), nullptr,
                                                             1, &onNothing),
              E_INVALIDARG);
}

TEST_F(OperationManagerTest, ChoosingAnotherOperationReplacesTheSubConfiguration) {
    ComPtr<CConfig> config = WithOperationItem();
    ComPtr<RecordingObserver> observer = RecordingObserver::Create();
    config->ObserverIns(observer);
    ASSERT_EQ(SetOne(config, u"Operation\\Angle", Float(40)), S_OK);

    ASSERT_EQ(SetOne(config, u"Operation", Guid(CLSID_Blur)), S_OK);
    EXPECT_EQ(KeysOf(SubOf(config, u"Operation")), std::vector<std::u16string>{u"Radius"});
    EXPECT_EQ(Current(config, u"Operation\\Radius").v.fVal, 5.0f);
    EXPECT_EQ(Current(config, u"Operation\\Angle").v.eTypeID, ECVTEmpty);

    ASSERT_EQ(SetOne(config, u"Operation", Guid(CLSID_ShiftHue)), S_OK);
    EXPECT_EQ(Current(config, u"Operation\\Angle").v.fVal, 0.0f);  // a fresh configuration

    ASSERT_EQ(observer->calls.size(), 3u);
    EXPECT_EQ(observer->calls[1], std::vector<std::u16string>{u"Operation"});
}

TEST_F(OperationManagerTest, OperationAndItsNestedValueSetAsOneChange) {
    ComPtr<CConfig> config = WithOperationItem();
    ComPtr<IConfig> before = SubOf(config, u"Operation");
    ComPtr<RecordingObserver> observer = RecordingObserver::Create();
    config->ObserverIns(observer);

    CZTStr operation(u"Operation"), angle(u"Operation\\Angle"), radius(u"Operation\\Radius");
    const char16_t* wrongKeys[] = {operation, angle};  // Blur has no "Angle"
    const TConfigValue values[] = {Guid(CLSID_Blur), Float(9)};
    EXPECT_EQ(config->ItemValuesSet(2, wrongKeys, values), E_INVALIDARG);
    EXPECT_EQ(Current(config, u"Operation").v.guidVal, CLSID_ShiftHue);
    EXPECT_EQ(SubOf(config, u"Operation").get(), before.get());
    EXPECT_TRUE(observer->calls.empty());

    const char16_t* keys[] = {operation, radius};
    ASSERT_EQ(config->ItemValuesSet(2, keys, values), S_OK);
    EXPECT_EQ(Current(config, u"Operation").v.guidVal, CLSID_Blur);
    EXPECT_EQ(Current(config, u"Operation\\Radius").v.fVal, 9.0f);
    ASSERT_EQ(observer->calls.size(), 1u);
    EXPECT_EQ(observer->calls[0], std::vector<std::u16string>{u"Operation"});
}

TEST_F(OperationManagerTest, CommandLineChoosesByShortNameThenSetsTheNestedValue) {
    ComPtr<CConfig> config = WithOperationItem();
    std::string error;
    ASSERT_EQ(zthost::ConfigSetFromString(config, "Operation", "blur", &error), S_OK) << error;
    ASSERT_EQ(zthost::ConfigSetFromString(config, "Operation/Radius", "12", &error), S_OK) << error;
    EXPECT_EQ(Current(config, u"Operation\\Radius").v.fVal, 12.0f);

    EXPECT_EQ(zthost::ConfigSetFromString(config, "Operation", "Rotate", &error), E_INVALIDARG);
    EXPECT_EQ(error,
              "key \"Operation\": \"Rotate\" is not one of the allowed values: ShiftHue (Raster Image - Shift Hue), "
              "Blur (Raster Image - Blur)");
    EXPECT_EQ(zthost::ConfigSetFromString(config, "Operation/Angle", "1", &error), E_INVALIDARG);
    EXPECT_EQ(error, "unknown key \"Operation/Angle\"; known keys: Operation\\Radius");
}

TEST_F(OperationManagerTest, TextFormCarriesTheOperationAndItsSettings) {
    ComPtr<CConfig> config = WithOperationItem();
    std::string error;
    ASSERT_EQ(zthost::ConfigSetFromString(config, "Operation", "Blur", &error), S_OK) << error;
    ASSERT_EQ(zthost::ConfigSetFromString(config, "Operation/Radius", "3.5", &error), S_OK) << error;
    const std::string text = zthost::ConfigToText(config);
    EXPECT_EQ(text,
              "Enabled=true\n"
              "Operation={4dd76d14-45a2-4fe5-9870-0dc94a53df75}\n"
              "Operation\\Radius=3.5\n");

    ComPtr<CConfig> loaded = WithOperationItem();
    ASSERT_EQ(zthost::ConfigFromText(loaded, text, &error), S_OK) << error;
    EXPECT_EQ(Current(loaded, u"Operation").v.guidVal, CLSID_Blur);
    EXPECT_EQ(Current(loaded, u"Operation\\Radius").v.fVal, 3.5f);
}

TEST_F(OperationManagerTest, DuplicateChoosesItsOwnOperation) {
    ComPtr<CConfig> original = WithOperationItem();
    ComPtr<IConfig> copy;
    ASSERT_EQ(original->DuplicateCreate(copy.out()), S_OK);
    ASSERT_EQ(SetOne(copy, u"Operation", Guid(CLSID_Blur)), S_OK);
    EXPECT_EQ(KeysOf(SubOf(copy, u"Operation")), std::vector<std::u16string>{u"Radius"});
    EXPECT_EQ(KeysOf(SubOf(original, u"Operation")), std::vector<std::u16string>{u"Angle"});
}

TEST_F(OperationManagerTest, ActivateCreatesTheOperationByClassIdAndForwards) {
    ComPtr<CConfig> config = WithOperationItem();
    ComPtr<IConfig> sub = SubOf(config, u"Operation");
    IOperationManager* manager = zthost::OperationManager();
    const TConfigValue id = Guid(CLSID_Blur);

    EXPECT_EQ(manager->Activate(nullptr, nullptr, &id, sub, nullptr, nullptr, LANG_CZECH), S_OK);
    EXPECT_EQ(blur.calls, 1);
    EXPECT_EQ(blur.lastManager, manager);
    EXPECT_EQ(blur.lastConfig, sub.get());
    EXPECT_EQ(blur.lastLanguage, LANG_CZECH);

    // A manager handed in is the one passed on, so that a wrapper may stand in.
    StandInManager standIn;
    EXPECT_EQ(manager->CanActivate(&standIn, nullptr, &id, sub, nullptr), S_FALSE);
    EXPECT_EQ(blur.calls, 2);
    EXPECT_EQ(blur.lastManager, &standIn);
}

TEST_F(OperationManagerTest, OperationIdMustBeAClassIdOfAnOperation) {
    IOperationManager* manager = zthost::OperationManager();
    const TConfigValue notAnId = Long(3), unknown = Guid(CLSID_NotAnOperation);
    EXPECT_EQ(manager->Activate(nullptr, nullptr, &notAnId, nullptr, nullptr, nullptr, 0), E_INVALIDARG);
    EXPECT_EQ(manager->CanActivate(nullptr, nullptr, nullptr, nullptr, nullptr), E_INVALIDARG);
    EXPECT_TRUE(FAILED(manager->Activate(nullptr, nullptr, &unknown, nullptr, nullptr, nullptr, 0)));
    EXPECT_EQ(shiftHue.calls + blur.calls, 0);
}

TEST(OperationManager, WithoutOperationClassesTheItemHoldsNoOperation) {
    ComPtr<CConfig> config = NewConfig();
    ASSERT_EQ(zthost::OperationManager()->InsertIntoConfigAs(nullptr, config, u"Operation", Text(u"Operation"), nullptr,
                                                             0, nullptr),
              S_OK);
    EXPECT_EQ(Current(config, u"Operation").v.guidVal, GUID_NULL);
    EXPECT_TRUE(zthost::DescribeConfig(config)[0].options.empty());
    EXPECT_FALSE(SubOf(config, u"Operation"));
    EXPECT_EQ(
        zthost::OperationManager()->InsertIntoConfigAs(nullptr, nullptr, u"Other", Text(u"Other"), nullptr, 0, nullptr),
        E_INVALIDARG);
}

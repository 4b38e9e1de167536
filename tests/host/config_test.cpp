#include <gtest/gtest.h>

#include "tests/host/config_test_support.h"

using namespace zttest;
using zthost::CConfig;
using zthost::ConfigItemKind;

namespace {

// Blur-like schema: a pick-one, a ranged float shown only for one method, a simple string.
ComPtr<CConfig> ThreeKinds() {
    ComPtr<CConfig> config = NewConfig();
    TConfigValue method = Long(1);
    EXPECT_EQ(config->ItemIns1ofN(u"Method", Text(u"Method"), nullptr, &method, nullptr), S_OK);
    const char16_t* names[] = {u"Box", u"Gauss", u"Stack"};
    for (int32_t i = 0; i < 3; ++i) {
        TConfigValue option = Long(i * 2);  // option values may have gaps
        EXPECT_EQ(config->ItemOptionAdd(u"Method", &option, Text(names[i]), 0, nullptr), S_OK);
    }
    TConfigValue radius = Float(2.5f), from = Float(0), to = Float(100), step = Float(0.5f);
    TConfigOptionCondition onlyGauss{u"Method", ECOCEqual, Long(2)};
    EXPECT_EQ(config->ItemInsRanged(u"Radius", Text(u"Radius"), Text(u"Blur radius"), &radius, nullptr, &from, &to,
                                    &step, 1, &onlyGauss),
              S_OK);
    String name(u"abc");
    EXPECT_EQ(config->ItemInsSimple(u"Name", Text(u"Name"), nullptr, &name.v, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->Finalize(nullptr), S_OK);
    return config;
}

class TrivialGUI final : public IConfigCustomGUI {
public:
    HRESULT QueryInterface(const IID& aIID, void** aOut) override {
        *aOut = FindInterface<IConfigCustomGUI>(this, aIID);
        return *aOut ? S_OK : E_NOINTERFACE;
    }
    uint32_t AddRef() override { return 2; }
    uint32_t Release() override { return 1; }
};

}  // namespace

TEST(Config, BuilderClassMakesANewConfigurationEachTime) {
    ComPtr<CConfig> a = NewConfig(), b = NewConfig();
    ASSERT_TRUE(a);
    ASSERT_TRUE(b);
    EXPECT_NE(a.get(), b.get());
    ComPtr<IConfig> asConfig = ComPtr<IConfig>::query(static_cast<IConfigBuilder*>(a.get()));
    EXPECT_EQ(asConfig.get(), static_cast<IConfig*>(a.get()));
}

TEST(Config, ThreeItemKindsKeepTheirOrderDefaultsRangeAndOptions) {
    ComPtr<CConfig> config = ThreeKinds();
    std::vector<zthost::ConfigItemInfo> items = zthost::DescribeConfig(config.get());
    ASSERT_EQ(items.size(), 3u);

    EXPECT_EQ(items[0].key, u"Method");
    EXPECT_EQ(items[0].kind, ConfigItemKind::pickOne);
    EXPECT_EQ(items[0].defaultValue->iVal, 1);
    EXPECT_FALSE(items[0].help);
    ASSERT_EQ(items[0].options.size(), 3u);
    EXPECT_EQ(items[0].options[0]->value.iVal, 0);
    EXPECT_EQ(items[0].options[1]->value.iVal, 2);
    EXPECT_EQ(items[0].options[2]->value.iVal, 4);
    EXPECT_EQ(zthost::TextOf(items[0].options[2]->name, LANG_ENGLISH), "Stack");
    EXPECT_EQ(zthost::TextOf(items[0].options[2]->name, LANG_CZECH), "CZ Stack");

    EXPECT_EQ(items[1].key, u"Radius");
    EXPECT_EQ(items[1].kind, ConfigItemKind::ranged);
    EXPECT_EQ(items[1].defaultValue->fVal, 2.5f);
    EXPECT_EQ(items[1].from->fVal, 0.0f);
    EXPECT_EQ(items[1].to->fVal, 100.0f);
    EXPECT_EQ(items[1].step->fVal, 0.5f);
    EXPECT_EQ(zthost::TextOf(items[1].help, LANG_ENGLISH), "Blur radius");

    EXPECT_EQ(items[2].key, u"Name");
    EXPECT_EQ(items[2].kind, ConfigItemKind::simple);
    EXPECT_EQ(items[2].from, nullptr);
    EXPECT_TRUE(items[2].options.empty());

    EXPECT_EQ(Current(config, u"Method").v.iVal, 1);
    EXPECT_EQ(Current(config, u"Radius").v.fVal, 2.5f);
    EXPECT_EQ(Current(config, u"Name").text(), u"abc");
}

TEST(Config, EqualConditionMakesItemInactiveButItKeepsItsStoredValue) {
    ComPtr<CConfig> config = ThreeKinds();
    EXPECT_FALSE(zthost::DescribeConfig(config)[1].active);  // Method is 1, Radius wants 2

    ASSERT_EQ(SetOne(config, u"Radius", Float(7.0f)), S_OK);
    Current radius(config, u"Radius");
    EXPECT_EQ(radius.v.eTypeID, ECVTFloat);
    EXPECT_EQ(radius.v.fVal, 7.0f);

    ASSERT_EQ(SetOne(config, u"Method", Long(2)), S_OK);
    EXPECT_TRUE(zthost::DescribeConfig(config)[1].active);
    EXPECT_TRUE(zthost::DescribeConfig(config)[0].active);  // no conditions
}

TEST(Config, LessOrEqualConditionHoldsUpToAndIncludingItsValue) {
    ComPtr<CConfig> config = NewConfig();
    TConfigValue strength = Float(0.5f), from = Float(-5), to = Float(5), step = Float(0.05f);
    ASSERT_EQ(config->ItemInsRanged(u"Strength", Text(u"Strength"), nullptr, &strength, nullptr, &from, &to, &step, 0,
                                    nullptr),
              S_OK);
    TConfigOptionCondition atMostHalf{u"Strength", ECOCLessEqual, Float(0.5f)};
    TConfigValue detail = Bool(true);
    ASSERT_EQ(config->ItemInsSimple(u"Detail", Text(u"Detail"), nullptr, &detail, nullptr, 1, &atMostHalf), S_OK);

    EXPECT_TRUE(zthost::DescribeConfig(config)[1].active);
    SetOne(config, u"Strength", Float(0.55f));
    EXPECT_FALSE(zthost::DescribeConfig(config)[1].active);
    SetOne(config, u"Strength", Float(-3.0f));
    EXPECT_TRUE(zthost::DescribeConfig(config)[1].active);
}

TEST(Config, ConditionsCompareLongsStringsBoolsAndClassIds) {
    ComPtr<CConfig> config = NewConfig();
    TConfigValue count = Long(5), flag = Bool(false), id = Guid(CLSID_ThreadPool);
    String word(u"beta");
    ASSERT_EQ(config->ItemInsSimple(u"Count", Text(u"Count"), nullptr, &count, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"Word", Text(u"Word"), nullptr, &word.v, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"Flag", Text(u"Flag"), nullptr, &flag, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"Id", Text(u"Id"), nullptr, &id, nullptr, 0, nullptr), S_OK);

    String alpha(u"alpha");
    struct Case {
        const char16_t* key;
        uint32_t code;
        TConfigValue value;
        bool holds;
    } cases[] = {
        {u"Count", ECOCNotEqual, Long(4), true},
        {u"Count", ECOCNotEqual, Long(5), false},
        {u"Count", ECOCLess, Long(5), false},
        {u"Count", ECOCLess, Long(6), true},
        {u"Count", ECOCGreater, Long(4), true},
        {u"Count", ECOCGreaterEqual, Long(5), true},
        {u"Count", ECOCGreaterEqual, Long(6), false},
        {u"Word", ECOCGreater, alpha.v, true},
        {u"Word", ECOCEqual, alpha.v, false},
        {u"Flag", ECOCEqual, Bool(false), true},
        {u"Id", ECOCEqual, Guid(CLSID_ThreadPool), true},
        {u"Id", ECOCNotEqual, Guid(CLSID_ThreadPool), false},
        {u"Id", ECOCLessEqual, Guid(CLSID_ThreadPool), false},  // class ids have no order
    };
    int index = 0;
    for (const Case& c : cases) {
        TConfigOptionCondition condition{c.key, c.code, c.value};
        TConfigValue dependent = Long(0);
        const std::u16string key = u"Dependent" + Utf8ToUtf16(std::to_string(index++));
        ASSERT_EQ(config->ItemInsSimple(key.c_str(), Text(u"D"), nullptr, &dependent, nullptr, 1, &condition), S_OK);
        EXPECT_EQ(zthost::DescribeConfig(config).back().active, c.holds)
            << Utf16ToUtf8(c.key) << " code " << c.code << " against " << zthost::ConfigValueToString(c.value);
    }
}

TEST(Config, OptionCarriesItsConditions) {
    ComPtr<CConfig> config = NewConfig();
    TConfigValue mode = Long(0), shape = Long(0), square = Long(0), star = Long(1);
    ASSERT_EQ(config->ItemIns1ofN(u"Mode", Text(u"Mode"), nullptr, &mode, nullptr), S_OK);
    ASSERT_EQ(config->ItemIns1ofN(u"Shape", Text(u"Shape"), nullptr, &shape, nullptr), S_OK);
    ASSERT_EQ(config->ItemOptionAdd(u"Shape", &square, Text(u"Square"), 0, nullptr), S_OK);
    TConfigOptionCondition advanced{u"Mode", ECOCEqual, Long(1)};
    ASSERT_EQ(config->ItemOptionAdd(u"Shape", &star, Text(u"Star"), 1, &advanced), S_OK);

    const std::vector<zthost::ConfigItemInfo> items = zthost::DescribeConfig(config);
    ASSERT_EQ(items[1].options.size(), 2u);
    EXPECT_TRUE(items[1].options[0]->conditions.empty());
    ASSERT_EQ(items[1].options[1]->conditions.size(), 1u);
    const TConfigOptionCondition& stored = items[1].options[1]->conditions[0];
    EXPECT_EQ(ZTStrView(stored.bstrID), u"Mode");
    EXPECT_EQ(stored.eConditionType, ECOCEqual);
    EXPECT_EQ(stored.tValue.eTypeID, ECVTInteger);
    EXPECT_EQ(stored.tValue.iVal, 1);
    EXPECT_TRUE(items[1].conditions->empty());
}

TEST(Config, ConditionMayOnlyReferToAnEarlierItemOfTheSameType) {
    ComPtr<CConfig> config = NewConfig();
    TConfigValue mode = Long(0), option = Long(3), size = Float(1);
    ASSERT_EQ(config->ItemIns1ofN(u"Mode", Text(u"Mode"), nullptr, &mode, nullptr), S_OK);

    TConfigOptionCondition onItself{u"Mode", ECOCEqual, Long(1)};
    EXPECT_EQ(config->ItemOptionAdd(u"Mode", &option, Text(u"Three"), 1, &onItself), E_INVALIDARG);
    TConfigOptionCondition onLater{u"Later", ECOCEqual, Long(1)};
    EXPECT_EQ(config->ItemInsSimple(u"Size", Text(u"Size"), nullptr, &size, nullptr, 1, &onLater), E_INVALIDARG);
    TConfigOptionCondition wrongType{u"Mode", ECOCEqual, Float(1)};
    EXPECT_EQ(config->ItemInsSimple(u"Size", Text(u"Size"), nullptr, &size, nullptr, 1, &wrongType), E_INVALIDARG);
    TConfigOptionCondition unknownCode{u"Mode", 6, Long(1)};
    EXPECT_EQ(config->ItemInsSimple(u"Size", Text(u"Size"), nullptr, &size, nullptr, 1, &unknownCode), E_INVALIDARG);

    EXPECT_EQ(zthost::DescribeConfig(config).size(), 1u);
    EXPECT_TRUE(zthost::DescribeConfig(config)[0].options.empty());
}

TEST(Config, BuilderRefusesMalformedItems) {
    ComPtr<CConfig> config = NewConfig();
    TConfigValue value = Long(0), floatValue = Float(0), empty = ConfigValueEmpty();
    ASSERT_EQ(config->ItemInsSimple(u"A", Text(u"A"), nullptr, &value, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemInsSimple(u"A", Text(u"A"), nullptr, &value, nullptr, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(config->ItemInsSimple(u"B\\C", Text(u"B"), nullptr, &value, nullptr, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(config->ItemInsSimple(u"", Text(u"B"), nullptr, &value, nullptr, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(config->ItemInsSimple(u"B", Text(u"B"), nullptr, &empty, nullptr, 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(config->ItemInsSimple(u"B", Text(u"B"), nullptr, nullptr, nullptr, 0, nullptr), E_POINTER);
    EXPECT_EQ(config->ItemInsSimple(u"B", nullptr, nullptr, &value, nullptr, 0, nullptr), E_POINTER);
    EXPECT_EQ(
        config->ItemInsRanged(u"B", Text(u"B"), nullptr, &value, nullptr, &value, &floatValue, &value, 0, nullptr),
        E_INVALIDARG);
    EXPECT_EQ(config->ItemOptionAdd(u"A", &value, Text(u"Zero"), 0, nullptr), E_INVALIDARG);  // not a pick-one

    ASSERT_EQ(config->ItemIns1ofN(u"P", Text(u"P"), nullptr, &value, nullptr), S_OK);
    EXPECT_EQ(config->ItemOptionAdd(u"P", &floatValue, Text(u"Zero"), 0, nullptr), E_INVALIDARG);
    EXPECT_EQ(zthost::DescribeConfig(config).size(), 2u);
}

TEST(Config, FinalizeKeepsTheWindowFactoryAndClosesTheDefinition) {
    ComPtr<CConfig> config = NewConfig();
    TrivialGUI gui;
    TConfigValue value = Long(0);
    ASSERT_EQ(config->ItemIns1ofN(u"P", Text(u"P"), nullptr, &value, nullptr), S_OK);
    ASSERT_EQ(config->Finalize(&gui), S_OK);
    EXPECT_EQ(config->CustomGUI(), &gui);

    EXPECT_EQ(config->ItemInsSimple(u"Late", Text(u"Late"), nullptr, &value, nullptr, 0, nullptr), E_UNEXPECTED);
    EXPECT_EQ(config->ItemOptionAdd(u"P", &value, Text(u"Zero"), 0, nullptr), E_UNEXPECTED);
    EXPECT_EQ(config->SubConfigInsert(u"P", NewConfig().get()), E_UNEXPECTED);
    EXPECT_EQ(config->Finalize(nullptr), E_UNEXPECTED);
    EXPECT_EQ(zthost::DescribeConfig(config).size(), 1u);
}

TEST(Config, UnknownKeyReadsAsTheEmptyValue) {
    ComPtr<CConfig> config = ThreeKinds();
    Current missing(config, u"Missing");
    EXPECT_EQ(missing.v.eTypeID, ECVTEmpty);
    EXPECT_TRUE(FAILED(missing.hr));
    Current nested(config, u"Method\\Inner");
    EXPECT_EQ(nested.v.eTypeID, ECVTEmpty);
}

TEST(Config, SeveralValuesSetAsOneChangeNotifyOnceWithTheChangedKeys) {
    ComPtr<CConfig> config = ThreeKinds();
    ComPtr<RecordingObserver> observer = RecordingObserver::Create();
    ASSERT_EQ(config->ObserverIns(observer), S_OK);

    String name(u"abc");  // the current value: no change
    CZTStr k1(u"Method"), k2(u"Radius"), k3(u"Name");
    const char16_t* keys[] = {k1, k2, k3};
    const TConfigValue values[] = {Long(4), Float(9.5f), name.v};
    ASSERT_EQ(config->ItemValuesSet(3, keys, values), S_OK);

    ASSERT_EQ(observer->calls.size(), 1u);
    EXPECT_EQ(observer->calls[0], (std::vector<std::u16string>{u"Method", u"Radius"}));
    EXPECT_EQ(Current(config, u"Method").v.iVal, 4);
    EXPECT_EQ(Current(config, u"Radius").v.fVal, 9.5f);

    ASSERT_EQ(config->ItemValuesSet(3, keys, values), S_OK);  // nothing changes now
    EXPECT_EQ(observer->calls.size(), 1u);

    EXPECT_EQ(config->ObserverDel(observer), S_OK);
    ASSERT_EQ(SetOne(config, u"Method", Long(0)), S_OK);
    EXPECT_EQ(observer->calls.size(), 1u);
}

TEST(Config, FailingSetChangesNothing) {
    ComPtr<CConfig> config = ThreeKinds();
    ComPtr<RecordingObserver> observer = RecordingObserver::Create();
    config->ObserverIns(observer);

    CZTStr method(u"Method"), unknown(u"Unknown"), radius(u"Radius");
    const char16_t* unknownKeys[] = {method, unknown};
    const TConfigValue unknownValues[] = {Long(4), Long(1)};
    EXPECT_EQ(config->ItemValuesSet(2, unknownKeys, unknownValues), E_INVALIDARG);

    const char16_t* typeKeys[] = {method, radius};
    const TConfigValue typeValues[] = {Long(4), Long(3)};  // Radius is a float
    EXPECT_EQ(config->ItemValuesSet(2, typeKeys, typeValues), E_INVALIDARG);

    EXPECT_EQ(Current(config, u"Method").v.iVal, 1);
    EXPECT_EQ(Current(config, u"Radius").v.fVal, 2.5f);
    EXPECT_TRUE(observer->calls.empty());
}

TEST(Config, FloatItemSetWithAWholeLongIsRefused) {
    ComPtr<CConfig> config = ThreeKinds();
    EXPECT_EQ(SetOne(config, u"Radius", Long(3)), E_INVALIDARG);
    Current radius(config, u"Radius");
    EXPECT_EQ(radius.v.eTypeID, ECVTFloat);
    EXPECT_EQ(radius.v.fVal, 2.5f);
}

TEST(Config, RangedValueIsStoredWithoutClamping) {
    ComPtr<CConfig> config = ThreeKinds();
    ASSERT_EQ(SetOne(config, u"Radius", Float(-40.0f)), S_OK);
    EXPECT_EQ(Current(config, u"Radius").v.fVal, -40.0f);
    ASSERT_EQ(SetOne(config, u"Method", Long(77)), S_OK);  // not an option: the editor's concern
    EXPECT_EQ(Current(config, u"Method").v.iVal, 77);
}

TEST(Config, StringsAreCopiedOnTheWayInAndOut) {
    ComPtr<CConfig> config = ThreeKinds();
    {
        String text(u"first");
        ASSERT_EQ(SetOne(config, u"Name", text), S_OK);
        text.v.bstrVal[0] = u'F';  // the caller's copy, not the stored one
    }
    Current a(config, u"Name"), b(config, u"Name");
    EXPECT_EQ(a.text(), u"first");
    EXPECT_NE(a.v.bstrVal, b.v.bstrVal);
}

namespace {

// Outer: "Size" and a nested configuration under "Inner" holding "Angle" and "Text".
ComPtr<CConfig> WithSubConfig() {
    ComPtr<CConfig> inner = NewConfig();
    TConfigValue angle = Float(30);
    String text(u"in");
    EXPECT_EQ(inner->ItemInsSimple(u"Angle", Text(u"Angle"), nullptr, &angle, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(inner->ItemInsSimple(u"Text", Text(u"Text"), nullptr, &text.v, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(inner->Finalize(nullptr), S_OK);

    ComPtr<CConfig> outer = NewConfig();
    TConfigValue size = Long(3), kind = Long(0);
    EXPECT_EQ(outer->ItemInsSimple(u"Size", Text(u"Size"), nullptr, &size, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(outer->ItemIns1ofN(u"Inner", Text(u"Inner"), nullptr, &kind, nullptr), S_OK);
    EXPECT_EQ(outer->SubConfigInsert(u"Inner", inner.get()), S_OK);
    EXPECT_EQ(outer->Finalize(nullptr), S_OK);
    return outer;
}

}  // namespace

TEST(Config, NestedKeysReachIntoSubConfigurations) {
    ComPtr<CConfig> outer = WithSubConfig();
    ComPtr<IConfig> inner;
    ASSERT_EQ(outer->SubConfigGet(CZTStr(u"Inner"), inner.out()), S_OK);
    EXPECT_EQ(Current(outer, u"Inner\\Angle").v.fVal, 30.0f);

    ComPtr<RecordingObserver> outerObserver = RecordingObserver::Create(), innerObserver = RecordingObserver::Create();
    outer->ObserverIns(outerObserver);
    inner->ObserverIns(innerObserver);
    CZTStr k1(u"Size"), k2(u"Inner\\Angle");
    const char16_t* keys[] = {k1, k2};
    const TConfigValue values[] = {Long(4), Float(45)};
    ASSERT_EQ(outer->ItemValuesSet(2, keys, values), S_OK);

    EXPECT_EQ(Current(inner, u"Angle").v.fVal, 45.0f);
    ASSERT_EQ(outerObserver->calls.size(), 1u);
    EXPECT_EQ(outerObserver->calls[0], (std::vector<std::u16string>{u"Size", u"Inner\\Angle"}));
    ASSERT_EQ(innerObserver->calls.size(), 1u);
    EXPECT_EQ(innerObserver->calls[0], (std::vector<std::u16string>{u"Angle"}));

    ComPtr<IConfig> none;
    EXPECT_TRUE(FAILED(outer->SubConfigGet(CZTStr(u"Size"), none.out())));
    EXPECT_FALSE(none);
    EXPECT_EQ(SetOne(outer, u"Inner\\Missing", Long(1)), E_INVALIDARG);
}

TEST(Config, DuplicateIsDeepAndHasNoObservers) {
    ComPtr<CConfig> original = WithSubConfig();
    ComPtr<RecordingObserver> observer = RecordingObserver::Create();
    original->ObserverIns(observer);

    ComPtr<IConfig> copy;
    ASSERT_EQ(original->DuplicateCreate(copy.out()), S_OK);
    EXPECT_EQ(zthost::ConfigToText(copy), zthost::ConfigToText(original));
    ASSERT_EQ(SetOne(copy, u"Size", Long(8)), S_OK);
    ASSERT_EQ(SetOne(copy, u"Inner\\Angle", Float(1)), S_OK);

    EXPECT_EQ(Current(original, u"Size").v.iVal, 3);
    EXPECT_EQ(Current(original, u"Inner\\Angle").v.fVal, 30.0f);
    EXPECT_EQ(Current(copy, u"Inner\\Angle").v.fVal, 1.0f);
    EXPECT_TRUE(observer->calls.empty());

    ComPtr<IConfig> originalInner, copyInner;
    original->SubConfigGet(CZTStr(u"Inner"), originalInner.out());
    copy->SubConfigGet(CZTStr(u"Inner"), copyInner.out());
    EXPECT_NE(originalInner.get(), copyInner.get());
}

TEST(Config, CopyFromTakesMatchingKeysOfTheSameType) {
    ComPtr<CConfig> target = WithSubConfig();
    ComPtr<CConfig> source = NewConfig();
    TConfigValue size = Long(11), angle = Float(5);
    String text(u"from source");
    // "Size" matches, "Inner\Angle" has another type here, "Inner\Text" matches, "Other" is unknown to the target.
    ASSERT_EQ(source->ItemInsSimple(u"Size", Text(u"Size"), nullptr, &size, nullptr, 0, nullptr), S_OK);
    ComPtr<CConfig> sourceInner = NewConfig();
    TConfigValue longAngle = Long(5);
    ASSERT_EQ(sourceInner->ItemInsSimple(u"Angle", Text(u"Angle"), nullptr, &longAngle, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(sourceInner->ItemInsSimple(u"Text", Text(u"Text"), nullptr, &text.v, nullptr, 0, nullptr), S_OK);
    TConfigValue kind = Long(0);
    ASSERT_EQ(source->ItemIns1ofN(u"Inner", Text(u"Inner"), nullptr, &kind, nullptr), S_OK);
    ASSERT_EQ(source->SubConfigInsert(u"Inner", sourceInner.get()), S_OK);
    ASSERT_EQ(source->ItemInsSimple(u"Other", Text(u"Other"), nullptr, &angle, nullptr, 0, nullptr), S_OK);

    ComPtr<RecordingObserver> observer = RecordingObserver::Create();
    target->ObserverIns(observer);
    ASSERT_EQ(target->CopyFrom(source, nullptr), S_OK);
    EXPECT_EQ(Current(target, u"Size").v.iVal, 11);
    EXPECT_EQ(Current(target, u"Inner\\Angle").v.fVal, 30.0f);
    EXPECT_EQ(Current(target, u"Inner\\Text").text(), u"from source");
    ASSERT_EQ(observer->calls.size(), 1u);
    EXPECT_EQ(observer->calls[0], (std::vector<std::u16string>{u"Size", u"Inner\\Text"}));

    // With a prefix the source's keys are read below it: here the inner items of another outer configuration.
    ComPtr<IConfig> targetInner;
    ASSERT_EQ(target->SubConfigGet(CZTStr(u"Inner"), targetInner.out()), S_OK);
    ComPtr<CConfig> other = WithSubConfig();
    ASSERT_EQ(SetOne(other, u"Inner\\Angle", Float(-2)), S_OK);
    ASSERT_EQ(targetInner->CopyFrom(other, CZTStr(u"Inner\\")), S_OK);
    EXPECT_EQ(Current(targetInner, u"Angle").v.fVal, -2.0f);
    EXPECT_EQ(Current(targetInner, u"Text").text(), u"in");
}

TEST(ConfigText, OneLinePerItemWithNestedKeysAndEscapedStrings) {
    ComPtr<CConfig> inner = NewConfig();
    TConfigValue angle = Float(0.1f), id = Guid(CLSID_ConfigBuilder);
    ASSERT_EQ(inner->ItemInsSimple(u"Angle", Text(u"Angle"), nullptr, &angle, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(inner->ItemInsSimple(u"Id", Text(u"Id"), nullptr, &id, nullptr, 0, nullptr), S_OK);

    ComPtr<CConfig> config = NewConfig();
    TConfigValue count = Long(-12), on = Bool(true);
    TConfigValue colour = Colour(1, 0.5f, 0, 0.25f), direction = Vector(0, -1, 2.5f);
    String text(u"a\\b\nc=d\r\u00e9");
    ASSERT_EQ(config->ItemInsSimple(u"Count", Text(u"Count"), nullptr, &count, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"On", Text(u"On"), nullptr, &on, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"Text", Text(u"Text"), nullptr, &text.v, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"Colour", Text(u"Colour"), nullptr, &colour, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"Operation", Text(u"Operation"), nullptr, &on, nullptr, 0, nullptr), S_OK);
    ASSERT_EQ(config->SubConfigInsert(u"Operation", inner.get()), S_OK);
    ASSERT_EQ(config->ItemInsSimple(u"Direction", Text(u"Direction"), nullptr, &direction, nullptr, 0, nullptr), S_OK);

    EXPECT_EQ(zthost::ConfigToText(config),
              "Count=-12\n"
              "On=true\n"
              "Text=a\\\\b\\nc=d\\r\xc3\xa9\n"
              "Colour=1,0.5,0,0.25\n"
              "Operation=true\n"
              "Operation\\Angle=0.1\n"
              "Operation\\Id={98d37aed-647d-44f6-9290-1854b1f59c5c}\n"
              "Direction=0,-1,2.5\n");
}

TEST(ConfigText, RoundTripRestoresEveryValue) {
    ComPtr<CConfig> original = WithSubConfig();
    String text(u"line one\nC:\\path\\to=x");
    ASSERT_EQ(SetOne(original, u"Inner\\Text", text), S_OK);
    ASSERT_EQ(SetOne(original, u"Inner\\Angle", Float(1.0f / 3.0f)), S_OK);
    ASSERT_EQ(SetOne(original, u"Size", Long(-7)), S_OK);
    ASSERT_EQ(SetOne(original, u"Inner", Long(7)), S_OK);  // stored as it is, though no option
    const std::string saved = zthost::ConfigToText(original);

    ComPtr<CConfig> loaded = WithSubConfig();
    std::string error;
    ASSERT_EQ(zthost::ConfigFromText(loaded, saved, &error), S_OK) << error;
    EXPECT_EQ(zthost::ConfigToText(loaded), saved);
    EXPECT_EQ(Current(loaded, u"Inner\\Text").text(), u"line one\nC:\\path\\to=x");
    EXPECT_EQ(Current(loaded, u"Inner\\Angle").v.fVal, 1.0f / 3.0f);
    EXPECT_EQ(Current(loaded, u"Size").v.iVal, -7);
    EXPECT_EQ(Current(loaded, u"Inner").v.iVal, 7);
}

TEST(ConfigText, BadLineChangesNothingAndNamesTheLine) {
    ComPtr<CConfig> config = WithSubConfig();
    std::string error;
    EXPECT_EQ(zthost::ConfigFromText(config, "Size=9\r\n\nInner\\Angle=steep\n", &error), E_INVALIDARG);
    EXPECT_EQ(error, "line 3: key \"Inner\\Angle\": \"steep\" is not a float number");
    EXPECT_EQ(Current(config, u"Size").v.iVal, 3);

    EXPECT_EQ(zthost::ConfigFromText(config, "Size 9\n", &error), E_INVALIDARG);
    EXPECT_EQ(error, "line 1: \"Size 9\" is not of the form key=value");
    EXPECT_EQ(zthost::ConfigFromText(config, "Inner\\Text=a\\tb\n", &error), E_INVALIDARG);
    EXPECT_EQ(error, "line 1: key \"Inner\\Text\": \"a\\tb\" is not a text whose escapes are \\\\, \\n and \\r");
}

namespace {

// One item of every type, a pick-one among them, and a nested configuration.
ComPtr<CConfig> EveryType() {
    ComPtr<CConfig> config = NewConfig();
    TConfigValue count = Long(0), angle = Float(0), on = Bool(false), id = Guid(GUID_NULL), colour = Colour(0, 0, 0, 0),
                 direction = Vector(0, 0, 0), method = Long(0);
    String text(u"");
    EXPECT_EQ(config->ItemInsSimple(u"Count", Text(u"Count"), nullptr, &count, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemInsSimple(u"Angle", Text(u"Angle"), nullptr, &angle, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemInsSimple(u"On", Text(u"On"), nullptr, &on, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemInsSimple(u"Text", Text(u"Text"), nullptr, &text.v, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemInsSimple(u"Id", Text(u"Id"), nullptr, &id, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemInsSimple(u"Colour", Text(u"Colour"), nullptr, &colour, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemInsSimple(u"Direction", Text(u"Direction"), nullptr, &direction, nullptr, 0, nullptr), S_OK);
    EXPECT_EQ(config->ItemIns1ofN(u"Method", Text(u"Method"), nullptr, &method, nullptr), S_OK);
    for (int32_t value : {0, 5}) {
        TConfigValue option = Long(value);
        EXPECT_EQ(config->ItemOptionAdd(u"Method", &option, Text(value ? u"Five" : u"Zero"), 0, nullptr), S_OK);
    }
    EXPECT_EQ(config->SubConfigInsert(u"Method", WithSubConfig().get()), S_OK);
    return config;
}

HRESULT Set(IConfig* aConfig, const std::string& aKey, const std::string& aValue, std::string* aError = nullptr) {
    std::string error;
    HRESULT hr = zthost::ConfigSetFromString(aConfig, aKey, aValue, &error);
    if (aError) *aError = error;
    return hr;
}

}  // namespace

TEST(ConfigText, SetFromStringParsesEveryType) {
    ComPtr<CConfig> config = EveryType();
    ASSERT_EQ(Set(config, "Count", "-42"), S_OK);
    EXPECT_EQ(Current(config, u"Count").v.iVal, -42);
    ASSERT_EQ(Set(config, "Count", "0xFF102030"), S_OK);  // a colour as 0xAARRGGBB
    EXPECT_EQ(static_cast<uint32_t>(Current(config, u"Count").v.iVal), 0xFF102030u);
    ASSERT_EQ(Set(config, "Count", "-0x10"), S_OK);
    EXPECT_EQ(Current(config, u"Count").v.iVal, -16);
    ASSERT_EQ(Set(config, "Count", "-2147483648"), S_OK);
    EXPECT_EQ(Current(config, u"Count").v.iVal, INT32_MIN);

    ASSERT_EQ(Set(config, "Angle", "-12.75"), S_OK);
    EXPECT_EQ(Current(config, u"Angle").v.fVal, -12.75f);
    ASSERT_EQ(Set(config, "Angle", "1e-3"), S_OK);
    EXPECT_EQ(Current(config, u"Angle").v.fVal, 1e-3f);

    for (auto [text, expected] : {std::pair{"true", true}, {"0", false}, {"1", true}, {"false", false}}) {
        ASSERT_EQ(Set(config, "On", text), S_OK);
        EXPECT_EQ(Current(config, u"On").v.bVal, expected) << text;
    }

    ASSERT_EQ(Set(config, "Text", "C:\\new\\dir"), S_OK);  // as is: no escapes on the command line
    EXPECT_EQ(Current(config, u"Text").text(), u"C:\\new\\dir");

    ASSERT_EQ(Set(config, "Id", "{321CCCC6-4E78-47A2-A629-FAA8871F6BB8}"), S_OK);
    EXPECT_EQ(Current(config, u"Id").v.guidVal, CLSID_ThreadPool);
    ASSERT_EQ(Set(config, "Id", "ShiftHue"), S_OK);
    EXPECT_EQ(Current(config, u"Id").v.guidVal, MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee"));

    ASSERT_EQ(Set(config, "Colour", "1, 0.5,0,0.25"), S_OK);
    Current colour(config, u"Colour");
    EXPECT_EQ(colour.v.vecVal[0], 1.0f);
    EXPECT_EQ(colour.v.vecVal[1], 0.5f);
    EXPECT_EQ(colour.v.vecVal[3], 0.25f);
    ASSERT_EQ(Set(config, "Direction", "0,-1,2"), S_OK);
    EXPECT_EQ(Current(config, u"Direction").v.vecVal[1], -1.0f);

    ASSERT_EQ(Set(config, "Method", "5"), S_OK);
    EXPECT_EQ(Current(config, u"Method").v.iVal, 5);
    ASSERT_EQ(Set(config, "Method/Inner/Angle", "40"), S_OK);
    EXPECT_EQ(Current(config, u"Method\\Inner\\Angle").v.fVal, 40.0f);
    ASSERT_EQ(Set(config, "Method\\Size", "2"), S_OK);
    EXPECT_EQ(Current(config, u"Method\\Size").v.iVal, 2);
}

TEST(ConfigText, SetFromStringErrorsNameKeyValueAndExpectedForm) {
    ComPtr<CConfig> config = EveryType();
    struct Case {
        const char* key;
        const char* value;
        const char* message;
    } cases[] = {
        {"Angle", "abc", "key \"Angle\": \"abc\" is not a float number"},
        {"Angle", "1.5x", "key \"Angle\": \"1.5x\" is not a float number"},
        {"Count", "2147483648", "key \"Count\": \"2147483648\" is not a long number (decimal or 0x-hex, 32 bits)"},
        {"Count", "0x1FFFFFFFF", "key \"Count\": \"0x1FFFFFFFF\" is not a long number (decimal or 0x-hex, 32 bits)"},
        {"Count", "12abc", "key \"Count\": \"12abc\" is not a long number (decimal or 0x-hex, 32 bits)"},
        {"On", "yes", "key \"On\": \"yes\" is not a bool (true, false, 1 or 0)"},
        {"Id", "NoSuchOperation",
         "key \"Id\": \"NoSuchOperation\" is not a class id {xxxxxxxx-xxxx-xxxx-xxxx-xxxxxxxxxxxx} or the name of an "
         "operation"},
        {"Colour", "1,0,0", "key \"Colour\": \"1,0,0\" is not a colour, four comma-separated floats r,g,b,a"},
        {"Direction", "1,0,0,1", "key \"Direction\": \"1,0,0,1\" is not a vector, three comma-separated floats x,y,z"},
        {"Method", "3", "key \"Method\": \"3\" is not one of the allowed values: 0 (Zero), 5 (Five)"},
        {"Foo", "1", "unknown key \"Foo\"; known keys: Count, Angle, On, Text, Id, Colour, Direction, Method"},
        {"Method/Foo", "1", "unknown key \"Method/Foo\"; known keys: Method\\Size, Method\\Inner"},
        {"Count/Foo", "1", "key \"Count\" has no nested items"},
    };
    const std::string before = zthost::ConfigToText(config);
    for (const Case& c : cases) {
        std::string error;
        EXPECT_EQ(Set(config, c.key, c.value, &error), E_INVALIDARG) << c.key << "=" << c.value;
        EXPECT_EQ(error, c.message);
    }
    EXPECT_EQ(zthost::ConfigToText(config), before);
}

TEST(ConfigText, FloatTextReadsBackAsTheSameFloat) {
    ComPtr<CConfig> config = EveryType();
    for (float value : {0.1f, 1.0f / 3.0f, 16777217.0f, 1e-8f, -3.4028235e38f, 1.17549435e-38f, 0.0f}) {
        const std::string text = zthost::ConfigValueToString(Float(value));
        ASSERT_EQ(Set(config, "Angle", text), S_OK) << text;
        EXPECT_EQ(Current(config, u"Angle").v.fVal, value) << text;
    }
    EXPECT_EQ(zthost::ConfigValueToString(Float(0.1f)), "0.1");
}

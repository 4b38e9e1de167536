// Settings bound once: the schema table builds the configuration, reads and writes the
// settings struct, knows the options' nicknames and refuses tables that cannot work.
#include <gtest/gtest.h>

#include <stdexcept>

#include "frame/class_table.h"
#include "frame/schema.h"
#include "operation_test_support.h"
#include "operations/colour/shift_hue.h"

using namespace zt;

namespace {

struct SAll {
    int32_t mode;
    float radius;
    bool on;
    GUID id;
    std::u16string name;
    SColorF colour;
    SVectorF at;
};

const CSchema<SAll>& AllSchema() {
    static const CSchema<SAll> schema = {
        PickOne(u"Mode", &SAll::mode, u"[0409]Mode", nullptr, 3,
                {{0, "constant", u"[0409]Constant"}, {3, "gaussian", u"[0409]Gaussian"}}),
        Ranged(u"Radius", &SAll::radius, u"[0409]Radius", nullptr, 10.0f, 0.0f, 100.0f, 1.0f,
               {{u"Mode", ECOCEqual, Long(3)}}),
        Simple(u"On", &SAll::on, u"[0409]On", nullptr, true),
        Simple(u"Id", &SAll::id, u"[0409]Id", nullptr, MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee")),
        Simple(u"Name", &SAll::name, u"[0409]Name", nullptr, u"IMAGEMASK"),
        Simple(u"Colour", &SAll::colour, u"[0409]Colour", nullptr, SColorF{0.25f, 0.5f, 0.75f, 1.0f}),
        Simple(u"At", &SAll::at, u"[0409]At", nullptr, SVectorF{1.0f, 2.0f, 3.0f}),
    };
    return schema;
}

ComPtr<IConfig> AllConfig() { return BuildConfig(zthost::OperationManager(), AllSchema().Items(), nullptr); }

TConfigValue LongValue(int32_t aValue) {
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTInteger;
    v.iVal = aValue;
    return v;
}

}  // namespace

TEST(Schema, ReadSettingsGivesEveryDefaultInItsField) {
    const SAll s = AllSchema().ReadSettings(AllConfig());
    EXPECT_EQ(3, s.mode);
    EXPECT_EQ(10.0f, s.radius);
    EXPECT_TRUE(s.on);
    EXPECT_EQ(MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee"), s.id);
    EXPECT_EQ(u"IMAGEMASK", s.name);
    EXPECT_EQ(0.75f, s.colour.b);
    EXPECT_EQ(1.0f, s.colour.a);
    EXPECT_EQ(3.0f, s.at.z);
}

TEST(Schema, WrittenFieldsAreReadBackAndOthersStay) {
    ComPtr<IConfig> config = AllConfig();
    SAll s = AllSchema().ReadSettings(config);
    s.radius = 4.5f;
    s.name = u"OTHER";
    s.mode = 0;
    ASSERT_EQ(S_OK, AllSchema().WriteSettings(config, s, &SAll::radius, &SAll::name));
    const SAll back = AllSchema().ReadSettings(config);
    EXPECT_EQ(4.5f, back.radius);
    EXPECT_EQ(u"OTHER", back.name);
    EXPECT_EQ(3, back.mode);  // not named, not written
    s.at = {7.0f, 8.0f, 9.0f};
    ASSERT_EQ(S_OK, AllSchema().WriteSettings(config, s));
    EXPECT_EQ(0, AllSchema().ReadSettings(config).mode);
    EXPECT_EQ(8.0f, AllSchema().Read(config, &SAll::at).y);
}

TEST(Schema, AValueOfAnotherTypeThrowsNamingItsKey) {
    // The host refuses a value of another type, so the test reads a configuration that
    // lacks the item: the empty value fails like a wrong type.
    ComPtr<IConfig> empty = BuildConfig(zthost::OperationManager(), {}, nullptr);
    try {
        AllSchema().Read(empty, &SAll::radius);
        FAIL() << "no exception";
    } catch (const CConfigValue::CCastException& e) {
        EXPECT_EQ(std::u16string(u"Radius"), e.key);
        EXPECT_EQ(uint32_t(ECVTFloat), e.expected);
        EXPECT_EQ(uint32_t(ECVTEmpty), e.found);
    }
}

TEST(Schema, AVectorItemTakesAColourValueToo) {
    struct SOne {
        SColorF c;
    };
    static const CSchema<SOne> colours = {Simple(u"At", &SOne::c, u"[0409]At", nullptr, SColorF{5, 6, 7, 8})};
    ComPtr<IConfig> config = BuildConfig(zthost::OperationManager(), colours.Items(), nullptr);
    EXPECT_EQ(6.0f, AllSchema().Read(config, &SAll::at).y);
}

TEST(Schema, NicknamesAreFoundBothWaysWhateverTheLetterCase) {
    EXPECT_STREQ("gaussian", AllSchema().OptionNickname(u"Mode", LongValue(3)));
    EXPECT_EQ(nullptr, AllSchema().OptionNickname(u"Mode", LongValue(2)));
    EXPECT_EQ(nullptr, AllSchema().OptionNickname(u"Radius", LongValue(3)));
    const SSchemaOption* option = AllSchema().OptionByNickname(u"Mode", "Gaussian");
    ASSERT_NE(nullptr, option);
    EXPECT_EQ(3, option->value.i);
    EXPECT_EQ(nullptr, AllSchema().OptionByNickname(u"Mode", "gauss"));
}

TEST(Schema, TablesThatCannotWorkAreRefused) {
    struct SOne {
        int32_t a, b;
    };
    auto make = [](std::vector<SOption<int32_t>> aOptions, std::vector<SSchemaCondition> aConditions = {}) {
        return CSchema<SOne>{PickOne(u"A", &SOne::a, u"[0409]A", nullptr, 0, std::move(aOptions)),
                             Simple(u"B", &SOne::b, u"[0409]B", nullptr, 0, std::move(aConditions))};
    };
    EXPECT_NO_THROW(make({{0, "zero", u"0"}, {1, "one", u"1"}}, {{u"A", ECOCEqual, Long(0)}}));
    EXPECT_THROW(make({{0, "zero", u"0"}, {1, "Zero", u"1"}}), std::logic_error);  // the same nickname
    EXPECT_THROW(make({{0, "two words", u"0"}}), std::logic_error);
    EXPECT_THROW(make({{0, "", u"0"}}), std::logic_error);
    EXPECT_THROW(make({{0, "zero", u"0"}}, {{u"C", ECOCEqual, Long(0)}}), std::logic_error);  // no such item before
    EXPECT_THROW(
        (CSchema<SOne>{Simple(u"A", &SOne::a, u"[0409]A", nullptr, 0), Simple(u"A", &SOne::b, u"[0409]A", nullptr, 0)}),
        std::logic_error);
}

TEST(Schema, EveryOperationBuildsItsConfigurationAndNamesEveryOption) {
    for (const SClassEntry& entry : ClassTable()) {
        ComPtr<IClassFactory> factory;
        ASSERT_EQ(S_OK, DllGetClassObject(*entry.classId, IClassFactory::iid, factory.out()));
        ComPtr<IDocumentOperation> op;
        if (FAILED(factory->CreateInstance(nullptr, IDocumentOperation::iid, op.out()))) continue;
        const std::string name = GuidToString(*entry.classId);
        ComPtr<IConfig> config;
        ASSERT_EQ(S_OK, op->ConfigCreate(zthost::OperationManager(), config.out())) << name;
        ComPtr<IOperationSchema> schema = ComPtr<IOperationSchema>::query(op.get());
        ASSERT_TRUE(schema) << name;
        for (const zthost::ConfigItemInfo& item : zthost::DescribeConfig(config)) {
            if (item.kind != zthost::ConfigItemKind::pickOne) continue;
            CZTStr key(item.key);
            for (const zthost::ConfigOption* option : item.options) {
                CZTStr nickname;
                EXPECT_EQ(S_OK, schema->OptionNickname(key, &option->value, nickname.out()))
                    << name << " " << Utf16ToUtf8(item.key);
            }
        }
    }
}

TEST(OperationSchema, AnOptionIsFoundByItsNicknameThroughTheInterface) {
    ComPtr<IDocumentOperation> op = optest::Operation<CDocumentOperationRasterImageShiftHue>();
    ComPtr<IOperationSchema> schema = ComPtr<IOperationSchema>::query(op.get());
    ASSERT_TRUE(schema);
    CZTStr key(u"Angle"), nickname(u"none");
    TConfigValue value = ConfigValueEmpty();
    EXPECT_EQ(E_HOST_ITEM_NOT_FOUND, schema->OptionByNickname(key, nickname, &value));
    CZTStr out;
    const TConfigValue zero = LongValue(0);
    EXPECT_EQ(S_FALSE, schema->OptionNickname(key, &zero, out.out()));
    EXPECT_EQ(nullptr, out.get());
    EXPECT_EQ(E_POINTER, schema->OptionNickname(key, &zero, nullptr));
}

TEST(FailureReason, AWrongSettingTypeIsExplainedByItsKey) {
    ComPtr<IDocumentOperation> op = optest::Operation<CDocumentOperationRasterImageShiftHue>();
    ComPtr<IConfig> config = BuildConfig(zthost::OperationManager(), {}, nullptr);  // no "Angle" at all
    ComPtr<IDocument> doc = optest::Image(2, 1, {0xFF102030u, 0x80405060u});
    zthost::ForgetFailureReason();
    EXPECT_EQ(E_UNEXPECTED, optest::RunOperation(op, doc, config));
    EXPECT_EQ("The setting \"Angle\" is missing or empty; it must hold a number.",
              zthost::TakeFailureReason(E_UNEXPECTED));
    EXPECT_EQ("", zthost::TakeFailureReason(E_UNEXPECTED));  // taken once
}

TEST(FailureReason, AReasonOfAnotherResultIsNotGiven) {
    Fail(E_FAIL, u"[0409]Something else.[0405]Něco jiného.");
    EXPECT_EQ("", zthost::TakeFailureReason(E_OUTOFMEMORY));
    Fail(E_FAIL, u"[0409]Something else.[0405]Něco jiného.");
    const uint32_t before = zthost::Language();
    zthost::SetLanguage(LANG_CZECH);
    EXPECT_EQ("Něco jiného.", zthost::TakeFailureReason(E_FAIL));
    zthost::SetLanguage(before);
}

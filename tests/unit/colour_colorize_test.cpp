// Colorize: the lightness table, both pixel functions, the run on host documents and names.
#include <gtest/gtest.h>

#include "host/registry.h"
#include "operations/colour/colorize.h"
#include "operations/colour/colorize_kernels.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Colorize() { return Operation<CDocumentOperationRasterImageColorize>(); }

ComPtr<IConfig> ColorizeConfig(const std::string& aMode, const std::string& aHue, const std::string& aSaturation) {
    ComPtr<IConfig> config = ConfigOf(Colorize());
    Set(config, "Mode", aMode);
    Set(config, "Hue", aHue);
    Set(config, "Saturation", aSaturation);
    return config;
}

}  // namespace

TEST(ColorizeTable, FullSaturationRedHueGivesPureRedsBelowTheMiddle) {
    uint32_t table[256];
    BuildColorizeTable(0.0f, 1.0f, table);
    // f = 100: a = 100, high = 200, low = 0; red on the plateau, green and blue at low.
    EXPECT_EQ(0xC80000u, table[100]);
    EXPECT_EQ(0x000000u, table[0]);
    // f = 255: a = 255 - 255 = 0, high = low = 255.
    EXPECT_EQ(0xFFFFFFu, table[255]);
}

TEST(ColorizeTable, HalfSaturationAboveTheMiddleFoldsTheSpread) {
    uint32_t table[256];
    BuildColorizeTable(0.0f, 0.5f, table);
    // f = 200: a = 127.5 - 100 = 27.5, high = 227.5, low = 172.5, truncated.
    EXPECT_EQ(0xE3ACACu, table[200]);
}

TEST(ColorizeTable, YellowHueRisesOnTheFallingEdge) {
    uint32_t table[256];
    BuildColorizeTable(60.0f, 1.0f, table);
    // f = 128: a = 255 - 128 = 127, high = 255, low = 1; red at 180 degrees is on the edge:
    // 1 + 254 x 60 / 60 = 255; green on the plateau; blue at 300 degrees is low.
    EXPECT_EQ(0xFFFF01u, table[128]);
}

TEST(ColorizeTable, ZeroSaturationIsATableOfGreys) {
    uint32_t table[256];
    BuildColorizeTable(77.0f, 0.0f, table);
    for (uint32_t i = 0; i < 256; ++i) EXPECT_EQ(i * 0x010101u, table[i]) << i;
}

TEST(ColorizeTable, SaturationIsClampedForTheRun) {
    EXPECT_EQ(0.0f, ColorizeSaturation(-0.5f));
    EXPECT_EQ(1.0f, ColorizeSaturation(3.0f));
    EXPECT_EQ(0.25f, ColorizeSaturation(0.25f));
}

TEST(ColorizePixel, LooksUpTheIntegerLightnessAndKeepsAlpha) {
    uint32_t table[256];
    BuildColorizeTable(0.0f, 1.0f, table);
    // r 0, g 200, b 100: (200 + 0) >> 1 = 100.
    EXPECT_EQ(0x7FC80000u, ColorizePixel(table, Px(0x7F00C864u)).n);
    // A transparent pixel gets the table's colour bytes too: (255 + 0) >> 1 = 127,
    // f = 127: high = 254.
    EXPECT_EQ(0x00FE0000u, ColorizePixel(table, Px(0x00FF0000u)).n);
}

TEST(ColorizeKeepSatPixel, MixesTheTableColourWithTheGreyByTheOwnSaturation) {
    uint32_t table[256];
    BuildColorizeTable(0.0f, 1.0f, table);
    // r 200, g b 100: sum 300, d 100, l 150, k = 25600 / 210 = 121; table[150] = (255, 45, 45).
    // red (255 x 121 + 135 x 150) >> 8 = 199, green and blue (45 x 121 + 20250) >> 8 = 100.
    EXPECT_EQ(0x80C76464u, ColorizeKeepSatPixel(table, Px(0x80C86464u)).n);
    // Dark colour: r 40, g 0, b 20: sum 40 < 256, k = 40 x 256 / 40 = 256: the table colour alone.
    EXPECT_EQ((0xFF000000u | table[20]), ColorizeKeepSatPixel(table, Px(0xFF280014u)).n);
}

TEST(ColorizeKeepSatPixel, GreysStayGrey) {
    uint32_t table[256];
    BuildColorizeTable(200.0f, 1.0f, table);
    EXPECT_EQ(0x40808080u, ColorizeKeepSatPixel(table, Px(0x40808080u)).n);
    EXPECT_EQ(0x00000000u, ColorizeKeepSatPixel(table, Px(0x00000000u)).n);
}

TEST(ColorizeOperation, ListedNameAndSchema) {
    EXPECT_EQ("Raster Image - Colorize", ListedName(Colorize()));
    EXPECT_EQ("Rastrový obrázek - Obarvení", ListedName(Colorize(), LANG_CZECH));
    ComPtr<IConfig> config = ConfigOf(Colorize());
    auto items = zthost::DescribeConfig(config);
    ASSERT_EQ(3u, items.size());
    EXPECT_EQ(u"Mode", items[0].key);
    EXPECT_EQ(zthost::ConfigItemKind::pickOne, items[0].kind);
    ASSERT_EQ(2u, items[0].options.size());
    EXPECT_EQ("Replace hue and saturation", zthost::TextOf(items[0].options[0]->name, LANG_ENGLISH));
    EXPECT_EQ("Replace hue, preserve saturation", zthost::TextOf(items[0].options[1]->name, LANG_ENGLISH));
    EXPECT_EQ(1, items[0].options[1]->value.iVal);
    EXPECT_EQ(u"Hue", items[1].key);
    EXPECT_EQ("Hue of the colorized image.", zthost::TextOf(items[1].help, LANG_ENGLISH));
    EXPECT_EQ(0.0f, items[1].defaultValue->fVal);
    EXPECT_EQ(u"Saturation", items[2].key);
    EXPECT_EQ(1.0f, items[2].defaultValue->fVal);
    EXPECT_EQ("Sytost", zthost::TextOf(items[2].name, LANG_CZECH));
}

TEST(ColorizeOperation, CanActivateOnlyOnRasterImages) {
    EXPECT_EQ(S_FALSE, Colorize()->CanActivate(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, Colorize()->CanActivate(nullptr, Image(1, 1, {0}), nullptr, nullptr));
}

TEST(ColorizeOperation, RunReplacesHuesAndTheDefaultPixelOutsideTheContent) {
    auto doc = Document({6, 4}, {2, 1}, {2, 1}, {0xFF00C864u, 0x00FF0000u}, 0x00FF0000u);
    ASSERT_EQ(S_OK, RunOperation(Colorize(), doc, ColorizeConfig("0", "0", "1")));
    auto s = State(doc);
    EXPECT_EQ((std::vector<uint32_t>{0xFFC80000u, 0x00FE0000u}), Content(doc));
    // The transparent default pixel gets the same colour as a transparent pixel inside.
    EXPECT_EQ(0x00FE0000u, s.defaultPixel.n);
    EXPECT_EQ(0x00FE0000u, PixelAt(doc, 0, 0));
    ASSERT_TRUE(s.lastAlphaTotalGiven);
    EXPECT_EQ(255u, s.lastAlphaTotal);
}

TEST(ColorizeOperation, PreserveSaturationModeUsesTheMixingPixel) {
    auto doc = Image(2, 1, {0x80C86464u, 0x40808080u}, 0xFFC86464u);
    ASSERT_EQ(S_OK, RunOperation(Colorize(), doc, ColorizeConfig("1", "0", "1")));
    EXPECT_EQ((std::vector<uint32_t>{0x80C76464u, 0x40808080u}), Content(doc));
    // The default pixel takes the plain table colour: l = 150 -> (255, 45, 45).
    EXPECT_EQ(0xFFFF2D2Du, State(doc).defaultPixel.n);
}

TEST(ColorizeOperation, SaturationOutOfRangeIsClampedInTheRun) {
    auto a = Image(1, 1, {0xFF0A141Eu}), b = Image(1, 1, {0xFF0A141Eu});
    ASSERT_EQ(S_OK, RunOperation(Colorize(), a, ColorizeConfig("0", "30", "-0.5")));
    ASSERT_EQ(S_OK, RunOperation(Colorize(), b, ColorizeConfig("0", "30", "2.5")));
    // r 10, b 30: lightness 20; saturation 0 gives the grey 20, 1 the table of full colour.
    EXPECT_EQ(0xFF141414u, Content(a)[0]);
    uint32_t table[256];
    BuildColorizeTable(30.0f, 1.0f, table);
    EXPECT_EQ(0xFF000000u | table[20], Content(b)[0]);
}

TEST(ColorizeOperation, WrongTypesFailAndLeaveTheDocument) {
    auto doc = Image(1, 1, {0xFF102030u});
    ComPtr<IConfigBuilder> builder = zthost::Create<IConfigBuilder>(CLSID_ConfigBuilder);
    TConfigValue v = ConfigValueEmpty();
    v.eTypeID = ECVTInteger;
    v.iVal = 1;
    builder->ItemInsSimple(u"Saturation", nullptr, nullptr, &v, nullptr, 0, nullptr);
    builder->Finalize(nullptr);
    ComPtr<IConfig> config = ComPtr<IConfig>::query(builder.get());
    EXPECT_EQ(E_UNEXPECTED, RunOperation(Colorize(), doc, config));
    EXPECT_EQ(0xFF102030u, Content(doc)[0]);
    EXPECT_EQ(0u, State(doc).bufferReplaceCount);
}

TEST(ColorizeOperation, SameResultOnOneThreadAndOnMany) {
    const auto pixels = Pattern(300 * 200);
    auto one = Image(300, 200, pixels), many = Image(300, 200, pixels);
    zthost::SetThreadCount(1);
    ASSERT_EQ(S_OK, RunOperation(Colorize(), one, ColorizeConfig("1", "123", "0.7")));
    zthost::SetThreadCount(7);
    ASSERT_EQ(S_OK, RunOperation(Colorize(), many, ColorizeConfig("1", "123", "0.7")));
    zthost::SetThreadCount(0);
    EXPECT_EQ(Content(one), Content(many));
    EXPECT_EQ(State(one).lastAlphaTotal, State(many).lastAlphaTotal);
}

TEST(ColorizeName, NoConfigurationAndZeroSaturation) {
    EXPECT_EQ("Colorize", NameOf(Colorize(), nullptr));
    EXPECT_EQ("Obarvit", NameOf(Colorize(), nullptr, LANG_CZECH));
    EXPECT_EQ("Desaturate", NameOf(Colorize(), ColorizeConfig("0", "40", "0")));
}

TEST(ColorizeName, NamesTheColourOfHueAndSaturation) {
    // Hue 0 at full saturation is (1, 0, 0): the host names it red.
    EXPECT_EQ("Colorize - Red", NameOf(Colorize(), ColorizeConfig("0", "0", "1")));
    EXPECT_EQ("Obarvit - Červená", NameOf(Colorize(), ColorizeConfig("0", "0", "1"), LANG_CZECH));
}

TEST(ColorizeName, NegativeSaturationIsNotDesaturate) {
    EXPECT_NE("Desaturate", NameOf(Colorize(), ColorizeConfig("0", "0", "-0.5")));
    EXPECT_EQ(0u, NameOf(Colorize(), ColorizeConfig("0", "0", "-0.5")).rfind("Colorize", 0));
}

TEST(ColorizeName, WithoutTheNamingServiceItIsTheBareName) {
    zthost::UnregisterHostClass(CLSID_ColorNameProvider);
    const std::string name = NameOf(Colorize(), ColorizeConfig("0", "0", "1"));
    zthost::RegisterHostClass(CLSID_ColorNameProvider, zthost::CreateColorNameProvider);
    EXPECT_EQ("Colorize", name);
}

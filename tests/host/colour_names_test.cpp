// The colour naming service.
#include <gtest/gtest.h>

#include "host/zthost.h"

namespace {

ComPtr<IColorNameProvider> Names() { return zthost::Create<IColorNameProvider>(CLSID_ColorNameProvider); }

// aColor is 0xAABBGGRR.
ComPtr<ILocalizedString> NameOf(uint32_t aColor, HRESULT aExpected = S_OK) {
    ComPtr<ILocalizedString> name;
    EXPECT_EQ(Names()->ColorName(aColor, name.out()), aExpected);
    return name;
}

TEST(ColourNames, PureRedIsRedInEnglishAndCzech) {
    auto name = NameOf(0xFF0000FF);
    ASSERT_TRUE(name);
    EXPECT_EQ(zthost::TextOf(name, LANG_ENGLISH), "Red");
    EXPECT_EQ(zthost::TextOf(name, LANG_CZECH), "Červená");
}

TEST(ColourNames, ANearColourGetsTheNearestName) {
    // Red 0xF5, green 0, blue 0x0A: 14 units from red.
    EXPECT_EQ(zthost::TextOf(NameOf(0xFF0A00F5), LANG_ENGLISH), "Red");
    // 0x2F4F4F with one unit of difference in each channel.
    EXPECT_EQ(zthost::TextOf(NameOf(0xFF505030), LANG_ENGLISH), "Dark Slate Gray");
    EXPECT_EQ(zthost::TextOf(NameOf(0xFF505030), LANG_CZECH), "Tmavě břidlicově šedá");
}

TEST(ColourNames, AColourFarFromEveryNameHasNone) {
    // Red 0x40, green 0x80, blue 0: about 47 units from the nearest named colour.
    ILocalizedString* name = reinterpret_cast<ILocalizedString*>(8);
    EXPECT_EQ(Names()->ColorName(0xFF008040, &name), S_FALSE);
    EXPECT_EQ(name, nullptr);
}

TEST(ColourNames, AlphaDoesNotMatter) { EXPECT_EQ(zthost::TextOf(NameOf(0x000000FF), LANG_ENGLISH), "Red"); }

TEST(ColourNames, ColoursWithTwoKeywordsGetTheFirstOne) {
    EXPECT_EQ(zthost::TextOf(NameOf(0xFFFFFF00), LANG_ENGLISH), "Aqua");
    EXPECT_EQ(zthost::TextOf(NameOf(0xFF808080), LANG_ENGLISH), "Gray");
}

TEST(ColourNames, OtherLanguagesGetEnglishAndGetFollowsTheHostLanguage) {
    auto name = NameOf(0xFF00FF00);
    EXPECT_EQ(zthost::TextOf(name, 0x0407), "Lime");
    EXPECT_EQ(zthost::TextOf(name, 0x10405), "Limetková");  // only the low 16 bits count
    uint32_t saved = zthost::Language();
    zthost::SetLanguage(LANG_CZECH);
    CZTStr text;
    ASSERT_EQ(name->Get(text.out()), S_OK);
    EXPECT_EQ(text.view(), u"Limetková");
    zthost::SetLanguage(saved);
}

TEST(ColourNames, ANullOutArgumentIsRefused) { EXPECT_EQ(Names()->ColorName(0xFF0000FF, nullptr), E_POINTER); }

}  // namespace

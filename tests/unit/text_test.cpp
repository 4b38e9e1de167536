#include <gtest/gtest.h>

#include "frame/object.h"
#include "frame/text.h"
#include "host/registry.h"
#include "operations/colour/colour_strings.h"

using namespace zt;

namespace {

std::u16string Section(std::u16string_view text, uint32_t language) {
    return std::u16string(FindLanguageSection(text, language).text);
}

std::u16string TextIn(ILocalizedString* s, uint32_t language) {
    CZTStr out;
    EXPECT_EQ(S_OK, s->GetLocalized(language, out.out()));
    return std::u16string(out.view());
}

}  // namespace

TEST(MultiLanguageString, EnglishAndCzechSectionsPickTheAskedLanguage) {
    EXPECT_EQ(u"B", Section(u"[0409]A[0405]B", 0x0405));
    EXPECT_EQ(u"A", Section(u"[0409]A[0405]B", 0x0409));
}

TEST(MultiLanguageString, AnotherLanguageGetsEnglishToTranslate) {
    SLanguageSection s = FindLanguageSection(u"[0409]A[0405]B", 0x0407);
    EXPECT_EQ(u"A", s.text);
    EXPECT_TRUE(s.translate);
    // Without a translator in the host the English text stands.
    EXPECT_EQ(u"A", TextIn(MultiLanguage(u"[0409]A[0405]B"), 0x0407));
}

TEST(MultiLanguageString, OnlySectionOfAnotherLanguageIsUsedUntranslated) {
    SLanguageSection s = FindLanguageSection(u"[0405]B", 0x0407);
    EXPECT_EQ(u"B", s.text);
    EXPECT_FALSE(s.translate);
}

TEST(MultiLanguageString, LaterMatchingSectionMovesTheFoundStart) {
    EXPECT_EQ(u"X", Section(u"[0000]X[0405]Y", 0x0407));
    EXPECT_EQ(u"Y", Section(u"[0000]X[0405]Y", 0x0405));
}

TEST(MultiLanguageString, BracketWithoutFourHexDigitsIsPlainText) {
    EXPECT_EQ(u"[ab]c", Section(u"[ab]c", 0x0405));
    EXPECT_EQ(u"[ab]c", Section(u"[ab]c", 0x0409));
    EXPECT_EQ(u"[04g9]c", Section(u"[04g9]c", 0x0405));
}

TEST(MultiLanguageString, TagDigitsIgnoreCase) {
    EXPECT_EQ(u"Y", Section(u"[0409]X[040F]Y", 0x040F));
    EXPECT_EQ(u"Y", Section(u"[0409]X[040f]Y", 0x040F));
    EXPECT_EQ(u"Y", Section(u"[0409]X[040F]Y", 0x040f));
}

TEST(MultiLanguageString, EnglishRunsToTheLastTagOfUnwantedLanguages) {
    EXPECT_EQ(u"E[0405]C", Section(u"[0409]E[0405]C[0407]D", 0x040C));
}

TEST(MultiLanguageString, TextWithoutTagsIsForAllLanguages) {
    SLanguageSection english = FindLanguageSection(u"plain", 0x0409);
    EXPECT_EQ(u"plain", english.text);
    EXPECT_FALSE(english.translate);
    EXPECT_TRUE(FindLanguageSection(u"plain", 0x0405).translate);
    EXPECT_EQ(u"", Section(u"", 0x0405));
}

TEST(MultiLanguageString, OnlyLowSixteenBitsOfTheLanguageCount) {
    EXPECT_EQ(u"B", Section(u"[0409]A[0405]B", 0x12340405));
}

TEST(SimpleLocalizedString, SameInEveryLanguageAndEmptyGivesNull) {
    EXPECT_EQ(u"name", TextIn(SimpleText(u"name"), 0x0405));
    CZTStr out;
    EXPECT_EQ(S_OK, SimpleText(u"")->GetLocalized(0x0409, out.out()));
    EXPECT_EQ(nullptr, out.get());
}

TEST(LocalizedString, NullOutIsPointerError) {
    EXPECT_EQ(E_POINTER, MultiLanguage(u"x")->GetLocalized(0x0409, nullptr));
    EXPECT_EQ(E_POINTER, TableText(IDS_NAME_SHIFTHUE)->GetLocalized(0x0409, nullptr));
}

TEST(SharedStringTable, EntryInBothLanguages) {
    EXPECT_EQ(u"Raster Image - Shift Hue", TextIn(TableText(IDS_NAME_SHIFTHUE), 0x0409));
    EXPECT_EQ(u"Rastrový obrázek - Posun odstínu", TextIn(TableText(IDS_NAME_SHIFTHUE), 0x0405));
}

TEST(SharedStringTable, UnknownLanguageFallsBackToEnglish) {
    EXPECT_EQ(u"Raster Image - Shift Hue", TextIn(TableText(IDS_NAME_SHIFTHUE), 0x0407));
}

TEST(SharedStringTable, MissingEntryIsFailureAndNoText) {
    CZTStr out;
    EXPECT_EQ(E_FAIL, TableText(IDS_NAME_SHIFTHUE + 1)->GetLocalized(0x0409, out.out()));  // same block, no entry
    EXPECT_EQ(nullptr, out.get());
    EXPECT_EQ(E_FAIL, TableText(0xFFFFF0)->GetLocalized(0x0409, out.out()));  // no block
    EXPECT_EQ(nullptr, out.get());
}

TEST(SharedStringTable, EveryIdHasEnglishAndCzech) {
    for (const SStringEntry& e : StringTable()) {
        EXPECT_NE(u'\0', e.english[0]) << e.id;
        EXPECT_NE(u'\0', e.czech[0]) << e.id;
    }
}

TEST(PrintfLocalizedString, StringAndNumberAreCombinedInTheAskedLanguage) {
    auto text = Printf(MultiLanguage(u"%s - %i°"), MultiLanguage(u"[0409]Shift hue[0405]Posun odstínu"), 350);
    EXPECT_EQ(u"Shift hue - 350°", TextIn(text, 0x0409));
    EXPECT_EQ(u"Posun odstínu - 350°", TextIn(text, 0x0405));
}

TEST(PrintfLocalizedString, TranslatedFormatWithTranslatedArgument) {
    auto text =
        Printf(MultiLanguage(u"[0409]Colorize - %s[0405]Obarvit - %s"), MultiLanguage(u"[0409]Red[0405]Červená"));
    EXPECT_EQ(u"Colorize - Red", TextIn(text, 0x0409));
    EXPECT_EQ(u"Obarvit - Červená", TextIn(text, 0x0405));
}

TEST(PrintfLocalizedString, TwoStringsAndPercentSign) {
    auto text = Printf(MultiLanguage(u"%s: %s (100%%)"), SimpleText(u"a"), SimpleText(u"b"));
    EXPECT_EQ(u"a: b (100%)", TextIn(text, 0x0409));
}

TEST(PrintfLocalizedString, FailingArgumentIsTheResult) {
    auto text = Printf(MultiLanguage(u"%s"), TableText(0xFFFFF0));
    CZTStr out;
    EXPECT_EQ(E_FAIL, text->GetLocalized(0x0409, out.out()));
}

TEST(FormatText, NumbersWithFlagsAndWidth) {
    SFormatArg args[] = {{false, {}, 7}, {false, {}, -3}, {false, {}, 255}};
    EXPECT_EQ(u"[  7] -3 ff", FormatText(u"[%3i] %d %x", args, 3));
    SFormatArg plus[] = {{true, u"x", 0}, {false, {}, 5}};
    EXPECT_EQ(u"x (+5%)", FormatText(u"%s (+%i%%)", plus, 2));
}

namespace {
// A translator that marks what it was asked, registered for one test.
struct CMarkingTranslator : ITranslator {
    void* FindInterfaceImpl(const IID& aIID) { return FindInterface<ITranslator>(this, aIID); }
    HRESULT Translate(const char16_t* aText, uint32_t aLanguage, ZTBSTR* aOut) override {
        std::u16string t = u"<" + std::u16string(aText) + (aLanguage == 0x0407 ? u":de>" : u":?>");
        *aOut = ZTStrAlloc(t);
        return S_OK;
    }
};

struct STranslatorInstalled {
    STranslatorInstalled() {
        zthost::RegisterHostClass(CLSID_Translator, [](const IID& aIID, void** aOut) {
            ComPtr<ITranslator> t;
            t.attach(CComObject<CMarkingTranslator>::Create<ITranslator>());
            return t->QueryInterface(aIID, aOut);
        });
    }
    ~STranslatorInstalled() { zthost::UnregisterHostClass(CLSID_Translator); }
};
}  // namespace

TEST(TranslatorStep, EnglishSectionIsTranslatedForAnotherLanguage) {
    STranslatorInstalled installed;
    EXPECT_EQ(u"<A:de>", TextIn(MultiLanguage(u"[0409]A[0405]B"), 0x0407));
    EXPECT_EQ(u"B", TextIn(MultiLanguage(u"[0409]A[0405]B"), 0x0405));  // found: no translation
    EXPECT_EQ(u"B", TextIn(MultiLanguage(u"[0405]B"), 0x0407));         // another language's section stands
    EXPECT_EQ(u"<plain:de>", TextIn(MultiLanguage(u"plain"), 0x0407));
    EXPECT_EQ(u"plain", TextIn(MultiLanguage(u"plain"), 0x0409));
}

TEST(TranslatorStep, StringTableFallBackIsTranslated) {
    STranslatorInstalled installed;
    EXPECT_EQ(u"<Raster Image - Shift Hue:de>", TextIn(TableText(IDS_NAME_SHIFTHUE), 0x0407));
    EXPECT_EQ(u"Rastrový obrázek - Posun odstínu", TextIn(TableText(IDS_NAME_SHIFTHUE), 0x0405));
}

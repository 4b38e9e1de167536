// ztraster and the names of options: a pick-one setting by its nickname, describe showing the
// nicknames, and a failed run printing the reason the operation left.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "cli_support.h"

namespace {

using clitest::SResult;

class OptionsCli : public clitest::CliTest {
protected:
    OptionsCli() : CliTest("ztraster-options") {}

    std::string Sample() const { return std::string(ZT_SAMPLES_DIR) + "/shape.png"; }

    // The pixels of a run, or an empty image when it failed.
    ztio::Image Pixels(std::vector<std::string> aArgs) {
        aArgs.insert(aArgs.begin(), "apply");
        aArgs.push_back(Sample());
        aArgs.push_back("-o");
        aArgs.push_back(Path("out.png"));
        const SResult r = Run(aArgs);
        EXPECT_EQ(0, r.status) << r.err;
        return r.status == 0 ? Read(Path("out.png")) : ztio::Image{};
    }
};

TEST_F(OptionsCli, ANicknameSetsTheSameOptionAsItsNumberInAnyLetterCase) {
    const ztio::Image byNumber = Pixels({"Blur", "--set", "Method=3", "--set", "Direction=2", "--set", "Radius=4"});
    const ztio::Image byName =
        Pixels({"Blur", "--set", "Method=gaussian", "--set", "Direction=horizontal", "--set", "Radius=4"});
    const ztio::Image byCapitals =
        Pixels({"Blur", "--set", "Method=Gaussian", "--set", "Direction=HORIZONTAL", "--set", "Radius=4"});
    ASSERT_FALSE(byNumber.pixels.empty());
    EXPECT_EQ(byNumber.pixels, byName.pixels);
    EXPECT_EQ(byNumber.pixels, byCapitals.pixels);
    // A different option gives different pixels, so the names were not ignored.
    EXPECT_NE(
        byNumber.pixels,
        Pixels({"Blur", "--set", "Method=constant", "--set", "Direction=horizontal", "--set", "Radius=4"}).pixels);
}

TEST_F(OptionsCli, ANestedKeyTakesTheNicknamesOfTheOperationItsItemSelects) {
    const ztio::Image byNumber = Pixels({"Fade", "--set", "Operation=Blur", "--set", "Operation/Method=0"});
    const ztio::Image byName = Pixels({"Fade", "--set", "Operation=Blur", "--set", "Operation/Method=constant"});
    ASSERT_FALSE(byNumber.pixels.empty());
    EXPECT_EQ(byNumber.pixels, byName.pixels);
}

TEST_F(OptionsCli, AnUnknownNicknameNamesTheKeyAndTheOptionsInBothLanguages) {
    SResult r = Run({"apply", "Blur", "--set", "Method=gauss", Sample(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos,
              r.err.find("key \"Method\": \"gauss\" is none of its options: 0 constant, 1 linear, 3 gaussian"))
        << r.err;
    EXPECT_FALSE(Exists(Path("out.png")));
    r = Run({"apply", "Blur", "--lang", "cs", "--set", "Direction=diagonal", Sample(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("klíč \"Direction\": \"diagonal\" není žádná z jeho možností: 0 both"))
        << r.err;
}

TEST_F(OptionsCli, DescribeShowsTheNicknamesInTextAndJson) {
    SResult text = Run({"describe", "Blur"});
    ASSERT_EQ(0, text.status) << text.err;
    EXPECT_NE(std::string::npos, text.out.find("= 3  Gaussian  [gaussian]"));
    EXPECT_NE(std::string::npos, text.out.find("= 4  Zoom blur  [zoom]"));
    SResult json = Run({"describe", "Blur", "--json"});
    ASSERT_EQ(0, json.status) << json.err;
    EXPECT_NE(std::string::npos, json.out.find("\"value\":\"3\",\"label\":\"Gaussian\""));
    EXPECT_NE(std::string::npos, json.out.find("\"nickname\":\"gaussian\""));
    // Nested items show the nicknames of the operation their item selects.
    SResult nested = Run({"describe", "Fade"});
    ASSERT_EQ(0, nested.status);
    EXPECT_EQ(std::string::npos, nested.out.find("[gaussian]"));  // the default inner operation has none
}

TEST_F(OptionsCli, AFailedRunPrintsTheReasonBesideTheResultCode) {
    SResult r = Run({"apply", "Convolution", "--set", "Matrix=1 2\r\n3", Sample(), "-o", Path("out.png")});
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos,
              r.err.find("Convolution failed: E_HOST_INVALID_PARAM (0x81110005): The convolution matrix must be rows "
                         "of numbers, all rows of one length, at most 31 rows and columns."))
        << r.err;
    EXPECT_FALSE(Exists(Path("out.png")));
    r = Run({"apply", "Convolution", "--lang", "cs", "--set", "Matrix=x", Sample(), "-o", Path("out.png")});
    EXPECT_NE(std::string::npos, r.err.find("Konvoluční matice musí být řádky čísel")) << r.err;
}

TEST_F(OptionsCli, HelpTellsThatAnOptionTakesItsName) {
    EXPECT_NE(std::string::npos, Run({"--help"}).out.find("Method=gaussian"));
    EXPECT_NE(std::string::npos, Run({"--help", "--lang", "cs"}).out.find("nebo jménem"));
}

// The option names a command's help shows: words starting with "-" at the head of a line.
std::vector<std::string> HelpOptions(const std::string& aHelp) {
    std::vector<std::string> names;
    std::istringstream lines(aHelp);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string word;
        words >> word;
        if (line.rfind("  -", 0) == 0) names.push_back(word.back() == ',' ? word.substr(0, word.size() - 1) : word);
    }
    return names;
}

TEST_F(OptionsCli, EveryOptionOfTheHelpIsAcceptedAndEveryOtherIsRefused) {
    const SResult help = Run({"apply", "--help"});
    ASSERT_EQ(0, help.status);
    EXPECT_EQ(help.out, Run({"help", "apply"}).out);
    const std::vector<std::string> names = HelpOptions(help.out);
    ASSERT_GE(names.size(), 14u) << help.out;
    for (const std::string& name : names) {
        // Given a value that no option takes, a known option complains about the value or
        // runs; only an unknown one is refused as unknown.
        const SResult r = Run({"apply", "ShiftHue", name, "x", Sample(), "-o", Path("out.png")});
        EXPECT_EQ(std::string::npos, r.err.find("unknown option")) << name << ": " << r.err;
    }
    const SResult unknown = Run({"apply", "ShiftHue", "--thread", "2", Sample(), "-o", Path("out.png")});
    EXPECT_EQ(2, unknown.status);
    EXPECT_NE(std::string::npos, unknown.err.find("unknown option \"--thread\"")) << unknown.err;
    const SResult describe = Run({"describe", "--help", "--lang", "cs"});
    EXPECT_EQ(0, describe.status);
    EXPECT_NE(std::string::npos, describe.out.find("--json")) << describe.out;
    EXPECT_NE(std::string::npos, describe.out.find("Volby:")) << describe.out;
}

}  // namespace

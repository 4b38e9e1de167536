// The colour operations through ztraster: each one applied to a small image, with nested
// operations for Fade, and the failures the command line reports.
#include <gtest/gtest.h>

#include <set>
#include <string>
#include <vector>

#include "apps/ztraster/image_io.h"
#include "cli_support.h"

namespace {

using clitest::ReadFile;
using clitest::SResult;

class ColourCli : public clitest::CliTest {
protected:
    ColourCli() : CliTest("ztraster-colour") {}

    // Every test here applies an operation.
    SResult Apply(const std::vector<std::string>& aArgs) const {
        std::vector<std::string> args = {"apply"};
        args.insert(args.end(), aArgs.begin(), aArgs.end());
        return Run(args);
    }

    // Red, grey, a half-transparent blue and a transparent pixel over two rows.
    std::string Input() const {
        ztio::Image img;
        img.width = 2;
        img.height = 2;
        img.pixels = {0xFFFF0000u, 0xFF808080u, 0x800000FFu, 0x00FF0000u};
        return Write(img, "in.png");
    }

    std::vector<uint32_t> Output() const { return Read(Path("out.png")).pixels; }
};

}  // namespace

TEST_F(ColourCli, ColorizeWritesTheTableColoursAndNamesTheColour) {
    SResult r = Apply({"Colorize", "--set", "Hue=0", "--set", "Saturation=1", Input(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("Colorize - Red -> " + Path("out.png") + "\n", r.out);
    // Lightness 127 -> (254, 0, 0); 128 -> (255, 1, 1); the transparent pixel keeps alpha 0.
    EXPECT_EQ((std::vector<uint32_t>{0xFFFE0000u, 0xFFFF0101u, 0x80FE0000u, 0x00FE0000u}), Output());
}

TEST_F(ColourCli, ColorTransformationsmentsDefaultsChangeNothing) {
    SResult r = Apply({"ColorTransformations", Input(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("No adjustment -> " + Path("out.png") + "\n", r.out);
    EXPECT_EQ((std::vector<uint32_t>{0xFFFF0000u, 0xFF808080u, 0x800000FFu, 0x00FF0000u}), Output());
}

TEST_F(ColourCli, ColorTransformationsmentsSaturationZeroMakesGreys) {
    SResult r = Apply({"ColorTransformations", "--set", "Saturation=0", Input(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("Desaturate (-100%) -> " + Path("out.png") + "\n", r.out);
    const auto out = Output();
    EXPECT_EQ(0xFF959595u, out[0]);  // 65535 x 306 >> 10 encodes to 149
    EXPECT_EQ(0u, out[3]);
}

TEST_F(ColourCli, BlendWithBackgroundFlattensOntoTheColourAndPaintsTheCanvas) {
    SResult r = Apply({"BackgroundBlend", "--set", "Background=0xFFFFFF", "--canvas", "3,2", "--info", Input(), "-o",
                       Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("\"default\":\"0xFFFFFFFF\"")) << r.out;
    const auto out = Output();
    ASSERT_EQ(6u, out.size());
    EXPECT_EQ(0xFFFF0000u, out[0]);
    EXPECT_EQ(0xFFFFFFFFu, out[2]);  // outside the content: the new default pixel
    EXPECT_EQ(0xFFFFFFFFu, out[4]);  // the transparent pixel on white
}

TEST_F(ColourCli, FadeRunsTheNestedOperationAtItsStrength) {
    SResult r = Apply({"Fade", "--set", "Strength=0.5", "--set", "Operation=Colorize", "--set",
                       "Operation/Saturation=0", Input(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("Fade: Desaturate -> " + Path("out.png") + "\n", r.out);
    EXPECT_EQ(0xFFCC5C5Cu, Output()[0]);  // red halfway to grey 127 in linear light
}

TEST_F(ColourCli, FadeWithShiftHueAtFullStrengthEqualsShiftHue) {
    SResult fade = Apply({"Fade", "--set", "Strength=1", "--set", "Operation=ShiftHue", "--set", "Operation/Angle=40",
                          Input(), "-o", Path("out.png")});
    ASSERT_EQ(0, fade.status) << fade.err;
    EXPECT_EQ("Fade: Shift hue - 40° -> " + Path("out.png") + "\n", fade.out);
    auto faded = Output();
    ASSERT_EQ(0, Apply({"ShiftHue", "--set", "Angle=40", Input(), "-o", Path("out.png")}).status);
    auto plain = Output();
    plain[3] = 0;  // a transparent result of the inner run is cleared by the mix
    EXPECT_EQ(plain, faded);
}

TEST_F(ColourCli, ReduceColorsKeepsAnImageWithFewColours) {
    SResult r = Apply({"ReduceColors", "--set", "Colors=16", "--info", Input(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("\"result\":\"S_FALSE\"")) << r.out;
    EXPECT_EQ((std::vector<uint32_t>{0xFFFF0000u, 0xFF808080u, 0x800000FFu, 0x00FF0000u}), Output());
}

TEST_F(ColourCli, ReduceColorsOnTheLandscapeHonoursTheLimit) {
    SResult r = Apply(
        {"ReduceColors", "--set", "Colors=24", std::string(ZT_SAMPLES_DIR) + "/landscape.png", "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("Reduce to 24 colors -> " + Path("out.png") + "\n", r.out);
    const auto out = Output();
    EXPECT_LE(std::set<uint32_t>(out.begin(), out.end()).size(), 24u);
}

TEST_F(ColourCli, ConvolutionSharpenIsRecognised) {
    SResult r = Apply(
        {"Convolution", "--set", "Matrix=0 -2 0\n-2 11 -2\n0 -2 0", "--set", "Div=3", Input(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("Sharpen -> " + Path("out.png") + "\n", r.out);
}

TEST_F(ColourCli, ConvolutionWithAnEvenMatrixFailsAndWritesNothing) {
    SResult r = Apply({"Convolution", "--set", "Matrix=1 1\n1 1", Input(), "-o", Path("out.png")});
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos, r.err.find("0x81110005")) << r.err;
    EXPECT_EQ("", ReadFile(Path("out.png")));
}

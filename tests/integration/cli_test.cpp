// ztraster through its command line: outputs, messages and exit statuses.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <string>
#include <vector>

#include "apps/ztraster/image_io.h"
#include "cli_support.h"

namespace {

using clitest::ReadFile;
using clitest::SResult;

class Cli : public clitest::CliTest {
protected:
    // A small image written as PNG: a row of greys, a saturated red and a transparent pixel.
    std::string SmallPng(const std::string& aName = "in.png") const {
        ztio::Image img;
        img.width = 4;
        img.height = 2;
        img.pixels = {0xFF000000u, 0xFF808080u, 0xFFFFFFFFu, 0x80404040u,
                      0xFFFF0000u, 0xFF00FF00u, 0x00FF0000u, 0xFF123456u};
        return Write(img, aName);
    }
};

}  // namespace

TEST_F(Cli, ListShowsShiftHueWithItsNameInBothLanguages) {
    SResult r = Run({"list"});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("ShiftHue"));
    EXPECT_NE(std::string::npos, r.out.find("ce877eae-2e47-4bd2-a817-d4055adddeee"));
    EXPECT_NE(std::string::npos, r.out.find("operation, colour"));
    EXPECT_NE(std::string::npos, r.out.find("Raster Image - Shift Hue"));
    EXPECT_NE(std::string::npos, Run({"list", "--lang", "cs"}).out.find("Rastrový obrázek - Posun odstínu"));
}

TEST_F(Cli, DescribeGivesTheSchemaAsTextAndJson) {
    SResult text = Run({"describe", "shifthue"});
    EXPECT_EQ(0, text.status) << text.err;
    EXPECT_NE(std::string::npos, text.out.find("Angle"));
    EXPECT_NE(std::string::npos, text.out.find("Angle to rotate hues in an image."));
    SResult json = Run({"describe", "ShiftHue", "--json"});
    EXPECT_EQ(0, json.status);
    EXPECT_NE(std::string::npos,
              json.out.find("\"key\":\"Angle\",\"kind\":\"ranged\",\"type\":\"float\",\"default\":\"0\""));
    EXPECT_NE(std::string::npos, json.out.find("\"from\":\"-180\",\"to\":\"180\",\"step\":\"1\""));
    SResult czech = Run({"describe", "ShiftHue", "--json", "--lang", "cs"});
    EXPECT_NE(std::string::npos, czech.out.find("\"label\":\"Úhel\""));
    // A class id names the operation too.
    EXPECT_EQ(0, Run({"describe", "{ce877eae-2e47-4bd2-a817-d4055adddeee}"}).status);
}

TEST_F(Cli, PngRoundTripKeepsGreysAndAlphaExactly) {
    std::string in = SmallPng();
    SResult r = Run({"apply", "ShiftHue", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("Shift hue - 0° -> " + Path("out.png") + "\n", r.out);
    ztio::Image out = Read(Path("out.png"));
    ASSERT_EQ(4u, out.width);
    EXPECT_EQ(0xFF000000u, out.pixels[0]);
    EXPECT_EQ(0xFF808080u, out.pixels[1]);
    EXPECT_EQ(0xFFFFFFFFu, out.pixels[2]);
    EXPECT_EQ(0x80404040u, out.pixels[3]);
    EXPECT_EQ(0xFFFF0000u, out.pixels[4]);
    EXPECT_EQ(0x00FF0000u, out.pixels[6]);
}

TEST_F(Cli, AngleTurnsRedToGreenAndTheNameTellsIt) {
    std::string in = SmallPng();
    SResult r = Run({"apply", "ShiftHue", "--set", "Angle=120", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(0u, r.out.find("Shift hue - 120°"));
    ztio::Image out = Read(Path("out.png"));
    EXPECT_EQ(0xFF00FF00u, out.pixels[4]);
    EXPECT_EQ(0xFF0000FFu, out.pixels[5]);
    SResult negative = Run({"apply", "ShiftHue", "--set", "Angle=-1e1", in, "-o", Path("out.png"), "--lang", "cs"});
    EXPECT_EQ(0u, negative.out.find("Posun odstínu - 350°")) << negative.out;
}

TEST_F(Cli, JpegRoundTripIsCloseAndOpaque) {
    ztio::Image img;
    img.width = img.height = 16;
    for (uint32_t y = 0; y < 16; ++y)
        for (uint32_t x = 0; x < 16; ++x) img.pixels.push_back(0xFF000000u | (x * 16) << 16 | (y * 16) << 8 | 0x80);
    img.hasResolution = true;
    img.dpiX = img.dpiY = 300;
    std::string error;
    ASSERT_TRUE(ztio::WriteImage(Path("in.jpg"), img, &error)) << error;
    SResult r = Run({"apply", "ShiftHue", Path("in.jpg"), "-o", Path("out.jpg")});
    ASSERT_EQ(0, r.status) << r.err;
    ztio::Image out = Read(Path("out.jpg"));
    ASSERT_EQ(256u, out.pixels.size());
    double error_sum = 0;
    for (size_t i = 0; i < 256; ++i) {
        EXPECT_EQ(0xFFu, out.pixels[i] >> 24);
        for (int shift : {0, 8, 16})
            error_sum += std::abs(int(out.pixels[i] >> shift & 255) - int(img.pixels[i] >> shift & 255));
    }
    EXPECT_LT(error_sum / (256 * 3), 4.0);
    EXPECT_TRUE(out.hasResolution);
    EXPECT_NEAR(300.0, out.dpiX, 0.5);
}

TEST_F(Cli, InfoPrintsOneJsonLineWithGeometry) {
    std::string in = SmallPng();
    SResult r = Run({"apply", "ShiftHue", "--canvas", "10,6", "--origin", "3,-1", "--default", "0x80FF0000", in, "-o",
                     Path("out.png"), "--info"});
    ASSERT_EQ(0, r.status) << r.err;
    std::string line = r.out.substr(r.out.find('\n') + 1);
    EXPECT_EQ(
        "{\"result\":\"S_OK\",\"code\":\"0x00000000\",\"canvas\":[10,6],\"contentOrigin\":[3,-1],"
        "\"contentSize\":[4,2],\"default\":\"0x80FF0000\",\"resolution\":[100,100]}\n",
        line);
}

TEST_F(Cli, RegionContentWritesTheContentRectangleAndCanvasTheRest) {
    std::string in = SmallPng();
    ASSERT_EQ(0, Run({"apply", "ShiftHue", "--canvas", "10,6", "--origin", "3,1", "--default", "0xFF0000FF", "--set",
                      "Angle=120", in, "-o", Path("canvas.png")})
                     .status);
    ztio::Image canvas = Read(Path("canvas.png"));
    EXPECT_EQ(10u, canvas.width);
    EXPECT_EQ(6u, canvas.height);
    EXPECT_EQ(0xFFFF0000u, canvas.pixels[0]);  // the default pixel, blue turned to red
    EXPECT_EQ(0xFF00FF00u, canvas.pixels[2 * 10 + 3]);
    ASSERT_EQ(0, Run({"apply", "ShiftHue", "--canvas", "10,6", "--origin", "3,1", "--region", "content", in, "-o",
                      Path("content.png")})
                     .status);
    ztio::Image content = Read(Path("content.png"));
    EXPECT_EQ(4u, content.width);
    EXPECT_EQ(2u, content.height);
}

TEST_F(Cli, RepeatPrintsMedianMinimumAndMaximum) {
    std::string in = SmallPng();
    SResult r = Run({"apply", "ShiftHue", "--repeat", "3", "--threads", "2", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("median"));
    EXPECT_NE(std::string::npos, r.out.find("min"));
    EXPECT_NE(std::string::npos, r.out.find("max"));
    EXPECT_NE(std::string::npos, r.out.find("(3 runs)"));
}

TEST_F(Cli, GoldenShiftHueOfTheLandscapeSample) {
    SResult r = Run({"apply", "ShiftHue", "--set", "Angle=40", std::string(ZT_SAMPLES_DIR) + "/landscape.png", "-o",
                     Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    ztio::Image out = Read(Path("out.png"));
    ztio::Image golden = Read(std::string(ZT_SOURCE_DIR) + "/tests/golden/landscape_shifthue_40.png");
    ASSERT_EQ(golden.width, out.width);
    ASSERT_EQ(golden.height, out.height);
    EXPECT_TRUE(golden.pixels == out.pixels);
}

// ---- bad input: one clear line, the right status, and no output written

TEST_F(Cli, MissingInputFile) {
    SResult r = Run({"apply", "ShiftHue", Path("nothing.png"), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find(Path("nothing.png")));
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(Cli, UndecodableInputFile) {
    std::ofstream(Path("bad.png")) << "this is not an image";
    SResult r = Run({"apply", "ShiftHue", Path("bad.png"), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("bad.png"));
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(Cli, UnknownOperationListsTheAvailableOnes) {
    SResult r = Run({"apply", "NoSuchThing", SmallPng(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("unknown operation \"NoSuchThing\""));
    EXPECT_NE(std::string::npos, r.err.find("ShiftHue"));
}

TEST_F(Cli, UnknownKeyIsNamed) {
    SResult r = Run({"apply", "ShiftHue", "--set", "Angel=3", SmallPng(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("Angel"));
    EXPECT_NE(std::string::npos, r.err.find("Angle"));  // the known keys
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(Cli, ValueThatDoesNotParseNamesKeyValueAndType) {
    SResult r = Run({"apply", "ShiftHue", "--set", "Angle=abc", SmallPng(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("Angle"));
    EXPECT_NE(std::string::npos, r.err.find("abc"));
    EXPECT_NE(std::string::npos, r.err.find("float"));
}

TEST_F(Cli, BadOptionValuesAreUsageErrors) {
    std::string in = SmallPng();
    for (std::vector<std::string> args : {std::vector<std::string>{"--threads", "0"},
                                          {"--threads", "x"},
                                          {"--canvas", "10"},
                                          {"--canvas", "10,-2"},
                                          {"--origin", "1,2,3"},
                                          {"--default", "0x1FFFFFFFF"},
                                          {"--gamma", "-1"},
                                          {"--region", "all"},
                                          {"--repeat", "0"},
                                          {"--set", "Angle"},
                                          {"--bogus"}}) {
        std::vector<std::string> full = {"apply", "ShiftHue"};
        full.insert(full.end(), args.begin(), args.end());
        full.insert(full.end(), {in, "-o", Path("out.png")});
        SResult r = Run(full);
        EXPECT_EQ(2, r.status) << args[0];
        EXPECT_NE(std::string::npos, r.err.find(args[0])) << r.err;
        EXPECT_EQ(1, std::count(r.err.begin(), r.err.end(), '\n')) << r.err;
    }
    EXPECT_EQ(2, Run({"apply", "ShiftHue", in}).status);  // no output
    EXPECT_EQ(2, Run({"frobnicate"}).status);
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(Cli, MalformedMaskOptionsAreUsageErrorsNamingTheOption) {
    SResult r = Run({"apply", "ShiftHue", "--mask-rect", "0,0,2", SmallPng(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("--mask-rect"));
    EXPECT_NE(std::string::npos, r.err.find("X,Y,W,H"));
    r = Run({"apply", "ShiftHue", "--mask", Path("mask.png") + "@1,x", SmallPng(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("FILE[@X,Y]"));
    r = Run({"apply", "ShiftHue", "--mask", Path("missing.png"), SmallPng(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("missing.png"));
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(Cli, CanvasOverTwoToThe31PixelsIsRefused) {
    SResult r = Run({"apply", "ShiftHue", "--canvas", "65536,32769", SmallPng(), "-o", Path("out.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("2^31"));
    EXPECT_FALSE(Exists(Path("out.png")));
}

TEST_F(Cli, FailingActivateWritesNothingAndKeepsAnExistingOutput) {
    std::string in = SmallPng();
    std::ofstream(Path("out.png")) << "previous";
    // The host refuses buffers above this many pixels, so the run's BufferAllocate fails.
    SResult r = Run({"apply", "ShiftHue", in, "-o", Path("out.png")}, "LANG=C ZT_HOST_BUFFER_LIMIT=4");
    EXPECT_EQ(1, r.status);
    EXPECT_NE(std::string::npos, r.err.find("ShiftHue failed: E_UNEXPECTED (0x8000FFFF)")) << r.err;
    EXPECT_EQ("previous", ReadFile(Path("out.png")));
}

TEST_F(Cli, HelpInEnglishAndCzech) {
    SResult en = Run({"--help"});
    EXPECT_EQ(0, en.status);
    EXPECT_NE(std::string::npos, en.out.find("Usage:"));
    SResult cs = Run({"--help"}, "LANG=cs_CZ.UTF-8");
    EXPECT_NE(std::string::npos, cs.out.find("Použití:"));
    EXPECT_EQ(2, Run({}).status);
}

TEST_F(Cli, LongRunPrintsNoProgressWhenStderrIsNotATerminal) {
    SResult r = Run({"apply", "ShiftHue", "--repeat", "150", std::string(ZT_SAMPLES_DIR) + "/landscape.png", "-o",
                     Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ("", r.err);
}

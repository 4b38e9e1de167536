// ztraster applying Blur: every direction and method, the grown content, and the answers
// for nothing to do.
#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "apps/ztraster/image_io.h"
#include "cli_support.h"

namespace {

using clitest::SResult;

class BlurCli : public clitest::CliTest {
protected:
    BlurCli() : CliTest("ztraster-blur") {}

    // A 24 x 20 image with colour, alpha and a transparent corner.
    std::string Sample() const {
        ztio::Image img;
        img.width = 24;
        img.height = 20;
        for (uint32_t y = 0; y < img.height; ++y)
            for (uint32_t x = 0; x < img.width; ++x) {
                const uint32_t a = x < 4 && y < 4 ? 0 : 128 + (x * 5 + y * 3) % 128;
                img.pixels.push_back(a << 24 | (x * 10) << 16 | (y * 12) << 8 | ((x + y) * 5));
            }
        return Write(img);
    }
};

}  // namespace

TEST_F(BlurCli, DescribeShowsTheItemsAndTheGapOfMethod) {
    SResult r = Run({"describe", "Blur"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("Raster Image - Blur"));
    EXPECT_NE(std::string::npos, r.out.find("= 3  Gaussian"));
    EXPECT_EQ(std::string::npos, r.out.find("= 2  Linear"));
    EXPECT_NE(std::string::npos, r.out.find("Canvas edge replication"));
}

TEST_F(BlurCli, EveryDirectionAndMethodRunsAndGrowsTheContent) {
    const std::string in = Sample();
    const struct {
        const char* direction;
        int x, y;
        unsigned w, h;
    } cases[] = {{"0", -3, -3, 30, 26}, {"1", 0, -3, 24, 26}, {"2", -3, 0, 30, 20}};
    for (const auto& c : cases) {
        for (const char* method : {"0", "1", "3"}) {
            SResult r = Run({"apply", "Blur", "--set", std::string("Direction=") + c.direction, "--set",
                             std::string("Method=") + method, "--set", "Radius=2.5", "--region", "content", "--info",
                             in, "-o", Path("out.png")});
            ASSERT_EQ(0, r.status) << r.err;
            std::ostringstream geometry;
            geometry << "\"contentOrigin\":[" << c.x << "," << c.y << "],\"contentSize\":[" << c.w << "," << c.h << "]";
            EXPECT_NE(std::string::npos, r.out.find(geometry.str())) << r.out;
            ztio::Image out = Read(Path("out.png"));
            EXPECT_EQ(c.w, out.width);
            EXPECT_EQ(c.h, out.height);
        }
    }
}

TEST_F(BlurCli, RadialAndZoomKeepTheCanvas) {
    const std::string in = Sample();
    for (const std::vector<std::string>& set :
         {std::vector<std::string>{"Direction=3", "Angle=10"}, std::vector<std::string>{"Direction=4", "Zoom=30"}}) {
        SResult r = Run({"apply", "Blur", "--set", set[0], "--set", set[1], "--info", in, "-o", Path("out.png")});
        ASSERT_EQ(0, r.status) << r.err;
        EXPECT_NE(std::string::npos, r.out.find("\"contentOrigin\":[0,0],\"contentSize\":[24,20]")) << r.out;
        ztio::Image out = Read(Path("out.png"));
        EXPECT_EQ(24u, out.width);
        EXPECT_EQ(0u, out.pixels[0]);  // transparent corner stays empty
    }
}

TEST_F(BlurCli, OneWhitePixelSpreadsOverTheBox) {
    ztio::Image img;
    img.width = img.height = 1;
    img.pixels = {0xFFFFFFFFu};
    const std::string in = Write(img);
    SResult r = Run({"apply", "Blur", "--set", "Direction=2", "--set", "Method=0", "--set", "Radius=2", "--region",
                     "content", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(0u, r.out.find("Horizontal blur - 2px"));
    ztio::Image out = Read(Path("out.png"));
    ASSERT_EQ(5u, out.width);
    for (uint32_t p : out.pixels) EXPECT_EQ(0x33FFFFFFu, p);  // 255 / 5 of alpha, white
}

TEST_F(BlurCli, TooSmallARadiusIsNothingToDo) {
    const std::string in = Sample();
    SResult r = Run({"apply", "Blur", "--set", "Radius=0.09", "--info", in, "-o", Path("out.png")});
    EXPECT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("\"result\":\"S_FALSE\"")) << r.out;
    EXPECT_EQ(Read(in).pixels, Read(Path("out.png")).pixels);
}

TEST_F(BlurCli, EdgeReplicationKeepsAnOpaqueImageOpaqueOnTheCanvas) {
    ztio::Image img;
    img.width = 20;
    img.height = 18;
    img.pixels.assign(20 * 18, 0xFF2060A0u);
    const std::string in = Write(img);
    for (const char* method : {"0", "1", "3"}) {
        SResult r = Run({"apply", "Blur", "--set", std::string("Method=") + method, "--set", "Radius=4", "--set",
                         "EdgeReplication=true", "--threads", "3", in, "-o", Path("out.png")});
        ASSERT_EQ(0, r.status) << r.err;
        ztio::Image out = Read(Path("out.png"));
        ASSERT_EQ(20u, out.width);
        for (uint32_t p : out.pixels) ASSERT_EQ(0xFFu, p >> 24) << method;
        SResult faded = Run({"apply", "Blur", "--set", std::string("Method=") + method, "--set", "Radius=4", in, "-o",
                             Path("faded.png")});
        ASSERT_EQ(0, faded.status) << faded.err;
        EXPECT_LT(Read(Path("faded.png")).pixels[0] >> 24, 0xFFu) << method;
    }
}

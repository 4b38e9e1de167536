// Drop shadow, Outline and the two mask operations through ztraster's command line, with
// --mask and --mask-rect.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "apps/ztraster/image_io.h"
#include "cli_support.h"

namespace {

using clitest::SResult;

class ShapeCli : public clitest::CliTest {
protected:
    ShapeCli() : CliTest("ztraster-shape") {}

    std::string Write(const std::string& aName, uint32_t aWidth, uint32_t aHeight,
                      const std::vector<uint32_t>& aPixels) const {
        ztio::Image img;
        img.width = aWidth;
        img.height = aHeight;
        img.pixels = aPixels;
        return CliTest::Write(img, aName);
    }

    // 6 x 6: an opaque 2 x 2 block in the middle of transparency.
    std::string Block() const {
        std::vector<uint32_t> p(36, 0);
        for (int y = 2; y < 4; ++y)
            for (int x = 2; x < 4; ++x) p[y * 6 + x] = 0xFF3366CCu;
        return Write("block.png", 6, 6, p);
    }
};

}  // namespace

TEST_F(ShapeCli, DropShadowOfASharpShapeLandsByTheOffset) {
    // Size 0, offset 1, density 100 %, black: the shadow of the block at (3..4, 3..4); where the
    // block is not, the pixel is the colour with the full strength 255 x 191 / 256 ... = 254.
    SResult r = Run({"apply", "DropShadow", "--set", "Size=0", "--set", "Density=100", Block(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    const ztio::Image out = Read(Path("out.png"));
    ASSERT_EQ(6u, out.width);
    EXPECT_EQ(0xFF3366CCu, out.pixels[2 * 6 + 2]);
    EXPECT_EQ(0xFF3366CCu, out.pixels[3 * 6 + 3]);
    EXPECT_EQ(0xFE000000u, out.pixels[4 * 6 + 4]);
    EXPECT_EQ(0xFE000000u, out.pixels[3 * 6 + 4]);
    EXPECT_EQ(0u, out.pixels[1 * 6 + 1]);
    EXPECT_EQ(0u, out.pixels[5 * 6 + 5]);
}

TEST_F(ShapeCli, DropShadowReportsGrownContent) {
    SResult r = Run({"apply", "DropShadow", "--set", "Size=2", "--info", Block(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    // Reaches: left and top ceil(2 - 1) = 1, right and bottom ceil(2 + 1) = 3.
    EXPECT_NE(std::string::npos, r.out.find("\"contentOrigin\":[-1,-1]")) << r.out;
    EXPECT_NE(std::string::npos, r.out.find("\"contentSize\":[10,10]")) << r.out;
}

TEST_F(ShapeCli, DropShadowOutsideAMaskRectangleIsNotCast) {
    // The mask selects only the left half: coverage there only, so no shadow reaches column 4.
    SResult r = Run({"apply", "DropShadow", "--set", "Size=0", "--set", "Blending=2", "--mask-rect", "0,0,3,6", Block(),
                     "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    const ztio::Image out = Read(Path("out.png"));
    EXPECT_NE(0u, out.pixels[3 * 6 + 3] >> 24);  // the shadow of (2, 2)
    EXPECT_EQ(0u, out.pixels[3 * 6 + 4]);        // (3, 2) is outside the mask
}

TEST_F(ShapeCli, OutlineCentredDrawsAroundTheBlock) {
    SResult r = Run({"apply", "Outlines", "--set", "Width=1", "--set", "Color=1,0,0,1", "--region", "content", Block(),
                     "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    const ztio::Image out = Read(Path("out.png"));
    // M = 2 on each side: 10 x 10.
    ASSERT_EQ(10u, out.width);
    ASSERT_EQ(10u, out.height);
    // Reach L = 384. Beside the block: d1 = 0, d2 = 256, m = (255 x 128) >> 8 = 127, nothing of
    // the pixel kept: red at alpha o = 127.
    EXPECT_EQ(0x7FFF0000u, out.pixels[4 * 10 + 3]);
    // On the block's edge: m = 127 as well, r = 255 - 127 = 128 kept: alpha 128 + 127, mixed colour.
    EXPECT_EQ(0xFFu, out.pixels[4 * 10 + 4] >> 24);
    EXPECT_NE(0xFF3366CCu, out.pixels[4 * 10 + 4]);
    EXPECT_EQ(0u, out.pixels[0]);
}

TEST_F(ShapeCli, AutoMaskRunsTheInnerOperationUnderAFileMask) {
    // The mask file: white on the left three columns, black on the right.
    std::vector<uint32_t> m(36);
    for (int y = 0; y < 6; ++y)
        for (int x = 0; x < 6; ++x) m[y * 6 + x] = x < 3 ? 0xFFFFFFFFu : 0xFF000000u;
    const std::string mask = Write("mask.png", 6, 6, m);
    std::vector<uint32_t> p(36, 0xFF3366CCu);
    const std::string in = Write("in.png", 6, 6, p);
    SResult r = Run({"apply", "AutoMask", "--set", "Operation=ShiftHue", "--set", "Operation/Angle=180", "--mask", mask,
                     in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    const ztio::Image out = Read(Path("out.png"));
    EXPECT_NE(0xFF3366CCu, out.pixels[0]);
    EXPECT_EQ(0xFF3366CCu, out.pixels[5]);
    EXPECT_EQ(out.pixels[0], out.pixels[2 * 6 + 2]);
    EXPECT_EQ(0xFF3366CCu, out.pixels[2 * 6 + 3]);
}

TEST_F(ShapeCli, AutoMaskFileAtAnOffset) {
    std::vector<uint32_t> m(4, 0xFFFFFFFFu);
    const std::string mask = Write("mask.png", 2, 2, m);
    std::vector<uint32_t> p(36, 0xFF3366CCu);
    const std::string in = Write("in.png", 6, 6, p);
    SResult r = Run({"apply", "AutoMask", "--set", "Operation=ShiftHue", "--set", "Operation/Angle=180", "--mask",
                     mask + "@4,4", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    const ztio::Image out = Read(Path("out.png"));
    EXPECT_EQ(0xFF3366CCu, out.pixels[3 * 6 + 3]);
    EXPECT_NE(0xFF3366CCu, out.pixels[4 * 6 + 4]);
    EXPECT_NE(0xFF3366CCu, out.pixels[5 * 6 + 5]);
}

TEST_F(ShapeCli, ModifyMaskLeavesTheImage) {
    std::vector<uint32_t> p(36, 0xFF3366CCu);
    const std::string in = Write("in.png", 6, 6, p);
    SResult r =
        Run({"apply", "ModifyMask", "--set", "Operation=Blur", "--mask-rect", "1,1,3,3", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(p, Read(Path("out.png")).pixels);
}

TEST_F(ShapeCli, MaskUnderAnotherNameFollowsTheOperationsKey) {
    // With "MaskID" renamed the mask goes to that name, and the operation still finds it.
    SResult r = Run({"apply", "DropShadow", "--set", "Size=0", "--set", "Blending=2", "--set", "MaskID=SEL",
                     "--mask-rect", "0,0,3,6", Block(), "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(0u, Read(Path("out.png")).pixels[3 * 6 + 4]);
}

TEST_F(ShapeCli, DescribeListsTheShadowItems) {
    SResult r = Run({"describe", "DropShadow"});
    ASSERT_EQ(0, r.status) << r.err;
    for (const char* key : {"Density", "Size", "OffsetX", "OffsetY", "Type", "Color", "MaskID", "Blending"})
        EXPECT_NE(std::string::npos, r.out.find(key)) << key;
    r = Run({"describe", "Outlines", "--lang", "cs"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("Šířka"));
}

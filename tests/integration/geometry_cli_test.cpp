// The geometry operations through ztraster: all six on an image file, layered inputs written
// one file per layer or flattened, and the errors of the layer options.
#include <gtest/gtest.h>
#include <sys/stat.h>

#include <string>
#include <vector>

#include "apps/ztraster/image_io.h"
#include "cli_support.h"

namespace {

using clitest::SResult;

class GeometryCli : public clitest::CliTest {
protected:
    GeometryCli() : CliTest("ztraster-geometry") {}

    // Width x height pixels numbered in order, opaque.
    std::string Png(const std::string& aName, uint32_t aW, uint32_t aH) const {
        ztio::Image img;
        img.width = aW;
        img.height = aH;
        for (uint32_t i = 0; i < aW * aH; ++i) img.pixels.push_back(0xFF000000u | (i * 0x010305u));
        return Write(img, aName);
    }
};

}  // namespace

TEST_F(GeometryCli, ResampleHalvesTheImage) {
    const std::string in = Png("in.png", 8, 6);
    const SResult r = Run({"apply", "Resample", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("Relative size - 50%"));
    const ztio::Image out = Read(Path("out.png"));
    EXPECT_EQ(4u, out.width);
    EXPECT_EQ(3u, out.height);
}

TEST_F(GeometryCli, RotateRightTurnsThePixelsExactly) {
    const std::string in = Png("in.png", 3, 2);
    const SResult r = Run({"apply", "Rotate", "--set", "Angle=90", in, "-o", Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("Rotate right"));
    const ztio::Image src = Read(in), out = Read(Path("out.png"));
    ASSERT_EQ(2u, out.width);
    ASSERT_EQ(3u, out.height);
    for (uint32_t y = 0; y < 3; ++y)
        for (uint32_t x = 0; x < 2; ++x) EXPECT_EQ(src.pixels[(1 - x) * 3 + y], out.pixels[y * 2 + x]);
}

TEST_F(GeometryCli, PerspectiveMirrorReversesRows) {
    const std::string in = Png("in.png", 3, 2);
    const SResult r = Run({"apply", "Perspective", "--set", "Mode=0", "--set", "Pt1X=1", "--set",        "Pt1Y=0",
                           "--set", "Pt2X=0",      "--set", "Pt2Y=0", "--set", "Pt3X=0", "--set",        "Pt3Y=1",
                           "--set", "Pt4X=1",      "--set", "Pt4Y=1", in,      "-o",     Path("out.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("Mirror"));
    const ztio::Image src = Read(in), out = Read(Path("out.png"));
    for (uint32_t y = 0; y < 2; ++y)
        for (uint32_t x = 0; x < 3; ++x) EXPECT_EQ(src.pixels[y * 3 + 2 - x], out.pixels[y * 3 + x]);
}

TEST_F(GeometryCli, DegenerateQuadrilateralFailsAndWritesNothing) {
    const std::string in = Png("in.png", 4, 4);
    const SResult r = Run({"apply", "Perspective", "--set", "Mode=0",    "--set", "Pt1X=0", "--set",        "Pt1Y=0",
                           "--set", "Pt2X=0.5",    "--set", "Pt2Y=0.5",  "--set", "Pt3X=1", "--set",        "Pt3Y=1",
                           "--set", "Pt4X=0.25",   "--set", "Pt4Y=0.25", in,      "-o",     Path("out.png")});
    EXPECT_EQ(1, r.status);
    struct stat st;
    EXPECT_NE(0, stat(Path("out.png").c_str(), &st));
}

TEST_F(GeometryCli, PolarCanvasSizeAndRemoveBorderRun) {
    const std::string in = Png("in.png", 9, 7);
    SResult r = Run({"apply", "PolarTransformation", in, "-o", Path("polar.png")});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_EQ(9u, Read(Path("polar.png")).width);
    r = Run({"apply", "CanvasSize", "--set", "DeltaX=4", "--set", "DeltaY=-2", in, "-o", Path("canvas.png"), "--info"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("\"canvas\":[13,5]"));
    EXPECT_NE(std::string::npos, r.out.find("\"contentOrigin\":[2,-1]"));
    r = Run({"apply", "RemoveBorder", "--set", "RelSize=50", in, "-o", Path("border.png"), "--info"});
    ASSERT_EQ(0, r.status) << r.err;
    EXPECT_NE(std::string::npos, r.out.find("\"canvas\":[18,14]"));
}

TEST_F(GeometryCli, LayersAreWrittenOnePerFile) {
    const std::string a = Png("a.png", 6, 4), b = Png("b.png", 2, 2);
    const SResult r = Run({"apply", "CanvasSize", "--set", "DeltaX=2", "--set", "DeltaY=2", "--layer", a, "--layer",
                           b + "@1,1", "-o", Path("out-%d.png")});
    ASSERT_EQ(0, r.status) << r.err;
    const ztio::Image first = Read(Path("out-0.png")), second = Read(Path("out-1.png"));
    // Both layers get the common maximum plus the delta.
    EXPECT_EQ(8u, first.width);
    EXPECT_EQ(6u, first.height);
    EXPECT_EQ(8u, second.width);
    EXPECT_EQ(6u, second.height);
}

TEST_F(GeometryCli, FlattenCompositesTheLayers) {
    const std::string a = Png("a.png", 8, 8), b = Png("b.png", 4, 4);
    const SResult r = Run({"apply", "Resample", "--layer", a, "--layer", b, "--flatten", "-o", Path("flat.png")});
    ASSERT_EQ(0, r.status) << r.err;
    const ztio::Image flat = Read(Path("flat.png"));
    EXPECT_EQ(4u, flat.width);
    EXPECT_EQ(4u, flat.height);
}

TEST_F(GeometryCli, LayerOptionErrorsNameTheProblem) {
    const std::string a = Png("a.png", 4, 4);
    SResult r = Run({"apply", "Resample", "--layer", a, "-o", Path("one.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("%d"));
    r = Run({"apply", "Resample", "--layer", a + "@1,x", "-o", Path("o-%d.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("--layer"));
    r = Run({"apply", "Rotate", "--layer", a, "-o", Path("o-%d.png")});
    EXPECT_EQ(1, r.status);  // Rotate takes raster images only
    r = Run({"apply", "Resample", "--layer", a, "--info", "-o", Path("o-%d.png")});
    EXPECT_EQ(2, r.status);
    EXPECT_NE(std::string::npos, r.err.find("--info and --repeat"));
}

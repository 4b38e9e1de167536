// The outline: colour conversion, line strength, the two rounding constants, the nine
// composition routines, and the whole routine on a small image with its margin.
// Expected pixels come from an independent calculation of the stated formulas.
#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "operations/shape/outlines_kernels.h"
#include "tests/unit/picture.h"
#include "tests/unit/shape_test_support.h"

using namespace zt;
using shapetest::Pixels;
using shapetest::Px;
using shapetest::Tables;
using shapetest::Words;

TEST(OutlineColour, LinearFloatsBecomeStoredBytes) {
    EXPECT_EQ(0, OutlineChannelByte(-0.5f));
    EXPECT_EQ(0, OutlineChannelByte(0.0f));
    EXPECT_EQ(10, OutlineChannelByte(0.0031308f));  // the linear segment: 0.0404 x 255 + 0.5
    EXPECT_EQ(188, OutlineChannelByte(0.5f));
    EXPECT_EQ(255, OutlineChannelByte(1.0f));
    EXPECT_EQ(255, OutlineChannelByte(7.0f));
    EXPECT_EQ(0, OutlineChannelByte(std::nanf("")));
    EXPECT_EQ(128, OutlineAlphaByte(0.5f));
    EXPECT_EQ(0, OutlineAlphaByte(-1.0f));
    EXPECT_EQ(255, OutlineAlphaByte(1.5f));
}

TEST(OutlineStrength, TheTwoRoundingConstantsDiffer) {
    EXPECT_EQ(255u, OutlineOnlyStrength(255, 255));
    EXPECT_EQ(255u, OutlineStrength(255, 255));
    // ca 128, m 1: 526336 + 0x10000 stays below 2^20, + 0x80000 passes it.
    EXPECT_EQ(0u, OutlineOnlyStrength(128, 1));
    EXPECT_EQ(1u, OutlineStrength(128, 1));
}

TEST(OutlineReach, CentredReachIsHalfTheWidth) {
    EXPECT_EQ(512, OutlineReach(1.0f, EOutlineInside));
    EXPECT_EQ(512, OutlineReach(1.0f, EOutlineOutside));
    EXPECT_EQ(384, OutlineReach(1.0f, EOutlineCentered));
    EXPECT_EQ(282, OutlineReach(0.1f, EOutlineInside));  // 1.1 x 256 = 281.6
}

TEST(OutlineLineStrength, LastPixelIsWeightedByItsFractionInReach) {
    EXPECT_EQ(200u, LineStrength(EOutlineInside, 200, 100, 0, 512).m);
    EXPECT_EQ(87u, LineStrength(EOutlineInside, 200, 400, 0, 512).m);  // (112 x 200) >> 8
    EXPECT_EQ(0u, LineStrength(EOutlineInside, 200, 512, 0, 512).m);
    EXPECT_FALSE(LineStrength(EOutlineInside, 200, 512, 0, 512).inReach);
    EXPECT_EQ(55u, LineStrength(EOutlineOutside, 200, 0, 100, 512).m);  // 255 - a
    const SLineStrength c = LineStrength(EOutlineCentered, 255, 200, 300, 384);
    EXPECT_EQ(183u, c.first);  // (184 x 255) >> 8
    EXPECT_EQ(60u, c.m);       // (183 x 84) >> 8
    EXPECT_EQ(0u, LineStrength(EOutlineCentered, 255, 100, 384, 384).m);
    EXPECT_EQ(255u, LineStrength(EOutlineCentered, 255, 100, 100, 384).m);
}

TEST(OutlineSeeds, AlphaDecidesBothMaps) {
    const std::vector<TPixelChannel> p = Pixels({0x00000000u, 0x40000000u, 0xFF000000u});
    std::vector<uint32_t> a(5 * 3), b(5 * 3);
    SeedOutlineMaps(p.data(), 3, 1, 1024, a.data(), b.data());
    EXPECT_EQ(std::vector<uint32_t>({0, 0, 0, 0, 0, 0, 0, 0x40, 1024, 0, 0, 0, 0, 0, 0}), a);
    EXPECT_EQ(
        std::vector<uint32_t>({1024, 1024, 1024, 1024, 1024, 1024, 1024, 0xBF, 0, 1024, 1024, 1024, 1024, 1024, 1024}),
        b);
}

TEST(OutlineCompose, BlendTransparentRules) {
    SOutlineColour colour = MakeOutlineColour(std::vector<float>({0.0f, 0.0f, 1.0f, 0.5f}).data(), Tables());
    SLineStrength none;
    // o = 0 on a visible pixel: it stays; on a transparent one: it becomes 0.
    EXPECT_EQ(0xFF102030u, ComposeOutlineBlend(Px(0xFF102030u), none, colour, Tables()).n);
    EXPECT_EQ(0u, ComposeOutlineBlend(Px(0x00102030u), none, colour, Tables()).n);
    SLineStrength full;
    full.m = 255;
    full.inReach = true;
    // o = 128 over nothing: the colour at that alpha.
    EXPECT_EQ(0x800000FFu, ComposeOutlineBlend(Px(0u), full, colour, Tables()).n);
}

namespace {

using pictest::Picture;

// The test shape's colour, and the colours the runs draw with.
const pictest::Palette kPalette = {{".", 0u},          {"O", 0xFF785028u}, {"R", 0xFFFF0000u},
                                   {"G", 0xFF00FF00u}, {"B", 0xFF0000FFu}, {"Y", 0xFFFFFF00u}};

// A 4 x 3 opaque block with one half-transparent pixel, padded by the margin the run adds.
std::vector<uint32_t> RunOutline(float aWidth, int32_t aPosition, int32_t aMode, std::vector<float> aColor) {
    const uint32_t O = 0xFF785028u, S = 0x80785028u;
    const std::vector<uint32_t> image = {O, O, O, O, O, S, O, O, O, O, O, O};
    const int64_t m = OutlineMargin(aWidth <= 0.1f ? 0.1f : aWidth);
    const uint32_t w = uint32_t(4 + 2 * m), h = uint32_t(3 + 2 * m);
    std::vector<TPixelChannel> buffer(size_t(w) * h);
    for (int y = 0; y < 3; ++y)
        for (int x = 0; x < 4; ++x) buffer[size_t(y + m) * w + size_t(x + m)].n = image[y * 4 + x];
    SOutlineParams params;
    params.width = aWidth <= 0.1f ? 0.1f : aWidth;
    params.position = aPosition;
    params.mode = aMode;
    for (int i = 0; i < 4; ++i) params.color[i] = aColor[i];
    Outline(buffer.data(), w, h, params, Tables());
    return Words(buffer);
}

}  // namespace

TEST(OutlineRoutine, InsideReplace) {
    EXPECT_EQ(Picture(
                  {
                      ".        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .",
                      ".        .        R        R        R        R        .        .",
                      ".        .        R        R80      FFCB381A R        .        .",
                      ".        .        R        R        R        R        .        .",
                      ".        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .",
                  },
                  kPalette),
              Picture(RunOutline(1.0f, 0, 1, {1.0f, 0.0f, 0.0f, 1.0f}), 8, kPalette));
}

TEST(OutlineRoutine, CenteredReplace) {
    EXPECT_EQ(Picture(
                  {
                      ".        .        .        .        .        .        .        .",
                      ".        R15      R7F      R7F      R7F      R7F      R15      .",
                      ".        R7F      FFCB381A FFCB381A FFCB381A FFCB381A R7F      .",
                      ".        R7F      FFCB381A R        O        FFCB381A R7F      .",
                      ".        R7F      FFCB381A FFCB381A FFCB381A FFCB381A R7F      .",
                      ".        R15      R7F      R7F      R7F      R7F      R15      .",
                      ".        .        .        .        .        .        .        .",
                  },
                  kPalette),
              Picture(RunOutline(1.0f, 1, 1, {1.0f, 0.0f, 0.0f, 1.0f}), 8, kPalette));
}

TEST(OutlineRoutine, OutsideReplace) {
    EXPECT_EQ(Picture(
                  {
                      ".        .        .        .        .        .        .        .",
                      ".        R95      R        R        R        R        R95      .",
                      ".        R        O        O        O        O        R        .",
                      ".        R        O        FFCB381A O        O        R        .",
                      ".        R        O        O        O        O        R        .",
                      ".        R95      R        R        R        R        R95      .",
                      ".        .        .        .        .        .        .        .",
                  },
                  kPalette),
              Picture(RunOutline(1.0f, 2, 1, {1.0f, 0.0f, 0.0f, 1.0f}), 8, kPalette));
}

TEST(OutlineRoutine, CenteredOutlineOnly) {
    EXPECT_EQ(Picture(
                  {
                      ".   .   .   .   .   .   .   .",
                      ".   R15 R7F R7F R7F R7F R15 .",
                      ".   R7F R7F R7F R7F R7F R7F .",
                      ".   R7F R7F R   .   R7F R7F .",
                      ".   R7F R7F R7F R7F R7F R7F .",
                      ".   R15 R7F R7F R7F R7F R15 .",
                      ".   .   .   .   .   .   .   .",
                  },
                  kPalette),
              Picture(RunOutline(1.0f, 1, 0, {1.0f, 0.0f, 0.0f, 1.0f}), 8, kPalette));
}

TEST(OutlineRoutine, OutsideBlendTransparent) {
    EXPECT_EQ(Picture(
                  {
                      ".        .        .        .        .        .        .        .",
                      ".        B4B      B80      B80      B80      B80      B4B      .",
                      ".        B80      O        O        O        O        B80      .",
                      ".        B80      O        A05E3EAC O        O        B80      .",
                      ".        B80      O        O        O        O        B80      .",
                      ".        B4B      B80      B80      B80      B80      B4B      .",
                      ".        .        .        .        .        .        .        .",
                  },
                  kPalette),
              Picture(RunOutline(1.0f, 2, 2, {0.0f, 0.0f, 1.0f, 0.5f}), 8, kPalette));
}

TEST(OutlineRoutine, WidthZeroCentered) {
    EXPECT_EQ(Picture(
                  {
                      ".        .        .        .        .        .        .        .",
                      ".        .        R0C      R0C      R0C      R0C      .        .",
                      ".        R0C      FF834E27 FF834E27 FF834E27 FF834E27 R0C      .",
                      ".        R0C      FF834E27 R4D      O        FF834E27 R0C      .",
                      ".        R0C      FF834E27 FF834E27 FF834E27 FF834E27 R0C      .",
                      ".        .        R0C      R0C      R0C      R0C      .        .",
                      ".        .        .        .        .        .        .        .",
                  },
                  kPalette),
              Picture(RunOutline(0.0f, 1, 1, {1.0f, 0.0f, 0.0f, 1.0f}), 8, kPalette));
}

TEST(OutlineRoutine, InsideBlendTransparent) {
    EXPECT_EQ(Picture(
                  {
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        FF699721 FF699721 FF699721 FF699721 .        .        .",
                      ".        .        .        FF699721 906B9122 FF699721 FF699721 .        .        .",
                      ".        .        .        FF699721 FF699721 FF699721 FF699721 .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                  },
                  kPalette),
              Picture(RunOutline(2.0f, 0, 2, {0.0f, 1.0f, 0.0f, 0.25f}), 10, kPalette));
}

TEST(OutlineRoutine, InsideOutlineOnly) {
    EXPECT_EQ(Picture(
                  {
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        FF7CAAFF FF7CAAFF FF7CAAFF FF7CAAFF .        .        .",
                      ".        .        .        FF7CAAFF 807CAAFF FF7CAAFF FF7CAAFF .        .        .",
                      ".        .        .        FF7CAAFF FF7CAAFF FF7CAAFF FF7CAAFF .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                      ".        .        .        .        .        .        .        .        .        .",
                  },
                  kPalette),
              Picture(RunOutline(1.5f, 0, 0, {0.2f, 0.4f, 1.0f, 1.0f}), 10, kPalette));
}

TEST(OutlineRoutine, CenteredBlendTransparent) {
    EXPECT_EQ(
        Picture(
            {
                ".        .        .        .        .        .        .        .        .        .        .        .",
                ".        .        .        .        .        .        .        .        .        .        .        .",
                ".        .        .        Y2F      Y59      Y59      Y59      Y59      Y2F      .        .        .",
                ".        .        Y2F      YB3      YB3      YB3      YB3      YB3      YB3      Y2F      .        .",
                ".        .        Y59      YB3      FFE2DE12 FFE2DE12 FFE2DE12 FFE2DE12 YB3      Y59      .        .",
                ".        .        Y59      YB3      FFE2DE12 D9EFEC0C FFE2DE12 FFE2DE12 YB3      Y59      .        .",
                ".        .        Y59      YB3      FFE2DE12 FFE2DE12 FFE2DE12 FFE2DE12 YB3      Y59      .        .",
                ".        .        Y2F      YB3      YB3      YB3      YB3      YB3      YB3      Y2F      .        .",
                ".        .        .        Y2F      Y59      Y59      Y59      Y59      Y2F      .        .        .",
                ".        .        .        .        .        .        .        .        .        .        .        .",
                ".        .        .        .        .        .        .        .        .        .        .        .",
            },
            kPalette),
        Picture(RunOutline(3.0f, 1, 2, {1.0f, 1.0f, 0.0f, 0.7f}), 12, kPalette));
}

TEST(OutlineRoutine, OpaqueAlphaWithModeTwoIsReplace) {
    // The test is on the byte: 0.999 x 255 + 0.5 rounds to 255 as well.
    EXPECT_EQ(RunOutline(1.0f, EOutlineOutside, EOutlineReplace, {1.0f, 0.0f, 0.0f, 1.0f}),
              RunOutline(1.0f, EOutlineOutside, EOutlineBlend, {1.0f, 0.0f, 0.0f, 0.999f}));
}

TEST(OutlineRoutine, FullyTransparentImageDrawsNoLine) {
    for (int32_t position : {0, 1, 2})
        for (int32_t mode : {0, 1, 2}) {
            std::vector<TPixelChannel> p(9 * 9);
            SOutlineParams params;
            params.width = 2.0f;
            params.position = position;
            params.mode = mode;
            Outline(p.data(), 9, 9, params, Tables());
            for (const TPixelChannel& px : p) EXPECT_EQ(0u, px.n) << position << " " << mode;
        }
}

TEST(OutlineRoutine, OpaqueRectangleInsideRunsAlongItsFourSides) {
    // The whole buffer opaque: every ring cell of A is 0, so the line hugs the buffer's edges.
    std::vector<TPixelChannel> p(10 * 8);
    for (auto& px : p) px.n = 0xFF000000u;
    SOutlineParams params;
    params.width = 1.0f;
    params.position = EOutlineInside;
    params.mode = EOutlineOnly;
    params.color[0] = 1.0f;
    Outline(p.data(), 10, 8, params, Tables());
    for (uint32_t y = 0; y < 8; ++y)
        for (uint32_t x = 0; x < 10; ++x) {
            const bool edge = x == 0 || y == 0 || x == 9 || y == 7;
            // A = 256 at the edge pixels (m = 255), 512 one further in (reach 512: m = 0).
            EXPECT_EQ(edge ? 0xFFFF0000u : 0u, p[y * 10 + x].n) << x << "," << y;
        }
}

TEST(OutlineRoutine, UnknownModeLeavesTheImage) {
    const std::vector<uint32_t> a = RunOutline(1.0f, EOutlineCentered, 9, {1.0f, 0.0f, 0.0f, 1.0f});
    const std::vector<uint32_t> b = RunOutline(1.0f, EOutlineCentered, 9, {0.0f, 1.0f, 0.0f, 1.0f});
    EXPECT_EQ(a, b);
    EXPECT_EQ(0xFF785028u, a[2 * 8 + 2]);
}

TEST(OutlineRoutine, TinyImagesAndOddWidthsStayInsideTheBuffers) {
    // Run under AddressSanitizer in the sanitizer build; here every run must also repeat exactly.
    uint32_t seed = 11;
    for (uint32_t w = 1; w <= 6; ++w)
        for (uint32_t h = 1; h <= 6; h += 2)
            for (float width : {0.1f, 0.5f, 1.0f, 3.0f, 9.0f})
                for (int32_t position = 0; position < 3; ++position)
                    for (int32_t mode = 0; mode < 3; ++mode) {
                        std::vector<TPixelChannel> p(size_t(w) * h);
                        for (auto& px : p) px.n = seed = seed * 1664525u + 1013904223u;
                        SOutlineParams params;
                        params.width = width;
                        params.position = position;
                        params.mode = mode;
                        params.color[3] = 0.6f;
                        std::vector<TPixelChannel> again = p;
                        Outline(p.data(), w, h, params, Tables());
                        Outline(again.data(), w, h, params, Tables());
                        EXPECT_EQ(Words(p), Words(again));
                    }
}

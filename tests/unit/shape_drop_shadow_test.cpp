// The drop shadow's kernels, strength and compositing, and the whole routine on small images.
// Expected pixels come from an independent calculation of the stated formulas.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operations/shape/drop_shadow_kernels.h"
#include "tests/unit/picture.h"
#include "tests/unit/shape_test_support.h"

using namespace zt;
using shapetest::Pixels;
using shapetest::Px;
using shapetest::Tables;
using shapetest::Words;

namespace {

using pictest::Picture;

// The test shape's colour, and the colours the runs draw with.
const pictest::Palette kPalette = {{".", 0u},          {"O", 0xFF785028u}, {"R", 0xFFFF0000u},
                                   {"G", 0xFF00FF00u}, {"B", 0xFF0000FFu}, {"Y", 0xFFFFFF00u}};

// Red 90, green 60, blue 30.
const SShadowColour& Colour() {
    static const SShadowColour c = MakeShadowColour(90u | 60u << 8 | 30u << 16, Tables());
    return c;
}
// Blue 200, green 100, red 50, alpha 100.
const TPixelChannel kPixel = Px(0x643264C8u);

std::vector<uint8_t> Bytes(TPixelChannel p) { return {p.bB, p.bG, p.bR, p.bA}; }

}  // namespace

TEST(DropShadowKernel, SizeZeroWithWholeOffsetIsOneCell) {
    const SShadowKernel k = MakeShadowKernel(0.0f, -1.0f, false);
    EXPECT_EQ(-1, k.lo);
    EXPECT_EQ(std::vector<uint32_t>({191}), k.k);
    EXPECT_EQ(191u, k.sum);
}

TEST(DropShadowKernel, SizeZeroWithHalfOffsetIsTwoCells) {
    const SShadowKernel k = MakeShadowKernel(0.0f, -1.5f, false);
    EXPECT_EQ(-2, k.lo);
    EXPECT_EQ(std::vector<uint32_t>({127, 127}), k.k);
}

TEST(DropShadowKernel, TriangleMeansOverCells) {
    EXPECT_EQ(std::vector<uint32_t>({128, 223, 128}), MakeShadowKernel(1.0f, 0.0f, false).k);
    const SShadowKernel k = MakeShadowKernel(3.0f, -1.0f, false);
    EXPECT_EQ(-4, k.lo);
    EXPECT_EQ(std::vector<uint32_t>({64, 128, 191, 239, 191, 128, 64}), k.k);
    EXPECT_EQ(1005u, k.sum);
    const SShadowKernel f = MakeShadowKernel(2.5f, 0.25f, false);
    EXPECT_EQ(-3, f.lo);
    EXPECT_EQ(std::vector<uint32_t>({20, 91, 164, 232, 200, 127, 55}), f.k);
}

TEST(DropShadowKernel, VerticalKernelMatchesHorizontalWhenEndsDoNotMeet) {
    const SShadowKernel h = MakeShadowKernel(2.0f, -1.0f, false), v = MakeShadowKernel(2.0f, -1.0f, true);
    EXPECT_EQ(h.lo, v.lo);
    EXPECT_EQ(h.k, v.k);
}

TEST(DropShadowKernel, OffsetsBeyondAnyCanvasGiveNoKernel) {
    EXPECT_TRUE(MakeShadowKernel(3.0f, 3.0e9f, false).k.empty());
    EXPECT_TRUE(MakeShadowKernel(3.0f, 0.0f / 0.0f, true).k.empty());
}

TEST(DropShadowStrength, DensityIsClampedToOneOver256And16) {
    EXPECT_EQ(1u, ShadowDensity(0.0f));
    EXPECT_EQ(1u, ShadowDensity(-3.0f));
    EXPECT_EQ(384u, ShadowDensity(1.5f));
    EXPECT_EQ(256u, ShadowDensity(1.0f));
    EXPECT_EQ(4096u, ShadowDensity(16.0f));
    EXPECT_EQ(4096u, ShadowDensity(100.0f));
}

TEST(DropShadowStrength, ScaleAndStrength) {
    // 0x80000000 / ((191 x 191) >> 9) = 2147483648 / 71.
    EXPECT_EQ(30246248u, ShadowScale(191, 191));
    EXPECT_EQ(1088987u, ShadowScale(1005, 1005));
    EXPECT_EQ(0u, ShadowScale(1, 1));  // no divisor, no shadow
    // (30246248 x 70) >> 24 = 126; x 256 >> 8.
    EXPECT_EQ(126u, ShadowStrength(30246248u, 70, 256));
    // The product is cut to 32 bits: 30246248 x 200 = 6049249600 wraps to 1754282304.
    EXPECT_EQ(104u, ShadowStrength(30246248u, 200, 256));
}

TEST(DropShadowComposite, OuterLeavesOpaqueAndUnshadowedPixels) {
    EXPECT_EQ(Px(0xFF030201u).n, ComposeOuter(Px(0xFF030201u), 300, Colour(), Tables()).n);
    EXPECT_EQ(kPixel.n, ComposeOuter(kPixel, 0, Colour(), Tables()).n);
}

TEST(DropShadowComposite, OuterBehindPartialAndSolid) {
    EXPECT_EQ(std::vector<uint8_t>({156, 85, 71, 177}), Bytes(ComposeOuter(kPixel, 128, Colour(), Tables())));
    EXPECT_EQ(std::vector<uint8_t>({133, 79, 77, 255}), Bytes(ComposeOuter(kPixel, 300, Colour(), Tables())));
}

TEST(DropShadowComposite, OuterWithMaskZeroLiesOverTheImage) {
    EXPECT_EQ(std::vector<uint8_t>({131, 78, 78, 160}), Bytes(ComposeOuterMasked(kPixel, 100, 0, Colour(), Tables())));
    EXPECT_EQ(std::vector<uint8_t>({30, 60, 90, 255}), Bytes(ComposeOuterMasked(kPixel, 300, 0, Colour(), Tables())));
}

TEST(DropShadowComposite, OuterWithMaskBetweenSplitsTheShadow) {
    EXPECT_EQ(std::vector<uint8_t>({121, 75, 80, 197}),
              Bytes(ComposeOuterMasked(kPixel, 200, 128, Colour(), Tables())));
    EXPECT_EQ(std::vector<uint8_t>({30, 60, 90, 255}), Bytes(ComposeOuterMasked(kPixel, 600, 128, Colour(), Tables())));
}

TEST(DropShadowComposite, OuterWithFullMaskIsAsWithoutMask) {
    EXPECT_EQ(ComposeOuter(kPixel, 128, Colour(), Tables()).n,
              ComposeOuterMasked(kPixel, 128, 255, Colour(), Tables()).n);
    EXPECT_EQ(kPixel.n, ComposeOuterMasked(kPixel, 0, 100, Colour(), Tables()).n);
}

TEST(DropShadowComposite, InnerWithoutMask) {
    EXPECT_EQ(std::vector<uint8_t>({30, 60, 90, 100}), Bytes(ComposeInner(kPixel, 0, nullptr, Colour(), Tables())));
    EXPECT_EQ(std::vector<uint8_t>({133, 79, 77, 100}), Bytes(ComposeInner(kPixel, 100, nullptr, Colour(), Tables())));
    EXPECT_EQ(kPixel.n, ComposeInner(kPixel, 300, nullptr, Colour(), Tables()).n);
    EXPECT_EQ(0u, ComposeInner(Px(0x00123456u), 0, nullptr, Colour(), Tables()).n & 0xFF000000u);
    EXPECT_EQ(0x00123456u, ComposeInner(Px(0x00123456u), 0, nullptr, Colour(), Tables()).n);
}

TEST(DropShadowComposite, InnerWithMaskWrapsAboveFullStrength) {
    const uint8_t half = 128, none = 0, full = 255;
    EXPECT_EQ(std::vector<uint8_t>({171, 90, 65, 100}), Bytes(ComposeInner(kPixel, 100, &half, Colour(), Tables())));
    // (256 - 300) x 128 wraps in 32 bits: e is far above 255 and the colour takes over...
    EXPECT_EQ(std::vector<uint8_t>({30, 60, 90, 100}), Bytes(ComposeInner(kPixel, 300, &half, Colour(), Tables())));
    // ...unless the mask is 0; without a mask the same strength leaves the pixel.
    EXPECT_EQ(kPixel.n, ComposeInner(kPixel, 300, &none, Colour(), Tables()).n);
    // A full mask at A = 0 gives e = 255: mixed, not replaced.
    EXPECT_EQ(std::vector<uint8_t>({33, 60, 90, 100}), Bytes(ComposeInner(kPixel, 0, &full, Colour(), Tables())));
}

TEST(DropShadowComposite, ShadowOnlyIsTheColourWithCappedStrength) {
    EXPECT_EQ(0u, ComposeShadowOnly(0, Colour()).n);
    EXPECT_EQ(std::vector<uint8_t>({30, 60, 90, 77}), Bytes(ComposeShadowOnly(77, Colour())));
    EXPECT_EQ(std::vector<uint8_t>({30, 60, 90, 255}), Bytes(ComposeShadowOnly(3000, Colour())));
}

namespace {

// A 6 x 5 image: opaque 2 x 2 block with a semi-transparent rim on the right and bottom.
std::vector<TPixelChannel> SmallShape() {
    const uint32_t T = 0, O = 0xFF785028u, S = 0x80785028u;
    return Pixels({T, T, T, T, T, T,  //
                   T, O, O, S, T, T,  //
                   T, O, O, S, T, T,  //
                   T, S, S, S, T, T,  //
                   T, T, T, T, T, T});
}

std::vector<uint32_t> Shadow(SShadowParams aParams, const uint8_t* aMask = nullptr) {
    std::vector<TPixelChannel> p = SmallShape();
    DropShadow(p.data(), 6, 5, aParams, aMask, Tables());
    return Words(p);
}

SShadowParams Params(int32_t aBlending) {
    SShadowParams p;
    p.size = 1.0f;
    p.shiftX = -1.0f;
    p.shiftY = -1.0f;
    p.density = 1.5f;
    p.type = 1;
    p.color = 0x0000FF;  // red
    p.blending = aBlending;
    return p;
}

}  // namespace

TEST(DropShadowRoutine, OuterShadowOfASmallShape) {
    const std::string expected = Picture(
        {
            ".        .        .        .        .        .",
            ".        O        O        ABA94522 R31      R0D",
            ".        O        O        F8C9391B R8B      R24",
            ".        ABA94522 F8C9391B FFCB381A RB1      R31",
            ".        R31      R8B      RB1      R73      R24",
        },
        kPalette);
    EXPECT_EQ(expected, Picture(Shadow(Params(EShadowOuter)), 6, kPalette));
}

TEST(DropShadowRoutine, InnerShadowOfASmallShape) {
    const std::string expected = Picture(
        {
            ".        .        .        .        .        .",
            ".        FFF71506 FFE42911 80DE2E14 .        .",
            ".        FFE42911 FFA14723 80854E26 .        .",
            ".        80DE2E14 80854E26 O80      .        .",
            ".        .        .        .        .        .",
        },
        kPalette);
    EXPECT_EQ(expected, Picture(Shadow(Params(EShadowInner)), 6, kPalette));
}

TEST(DropShadowRoutine, ShadowOnlyOfASmallShape) {
    const std::string expected = Picture(
        {
            ".   .   .   .   .   .",
            ".   R19 R49 R57 R31 R0D",
            ".   R49 RCC RF1 R8B R24",
            ".   R57 RF1 R   RB1 R31",
            ".   R31 R8B RB1 R73 R24",
        },
        kPalette);
    EXPECT_EQ(expected, Picture(Shadow(Params(EShadowOnly)), 6, kPalette));
}

TEST(DropShadowRoutine, SizeZeroIsASharpCopyOfTheOpaqueShapeByTheOffset) {
    // r = 0: the semi-transparent rim has no transparent pixel in reach and casts nothing.
    SShadowParams p = Params(EShadowOuter);
    p.size = 0.0f;
    p.density = 1.0f;
    p.color = 0;
    const std::string expected = Picture(
        {
            ".        .        .        .        .        .",
            ".        O        O        O80      .        .",
            ".        O        O        FE57381A .        .",
            ".        O80      FE57381A FE57381A .        .",
            ".        .        .        .        .        .",
        },
        kPalette);
    EXPECT_EQ(expected, Picture(Shadow(p), 6, kPalette));
}

TEST(DropShadowRoutine, OuterShadowUnderAMask) {
    const std::vector<uint8_t> mask = {0,   0,   128, 128, 255, 255, 0,   0,   128, 128, 255, 255, 0,   0,   128,
                                       128, 255, 255, 0,   0,   128, 128, 255, 255, 0,   0,   128, 128, 255, 255};
    const std::string expected = Picture(
        {
            ".        .        .        .        .        .",
            ".        O        FF7D4F27 8D984A23 R18      R06",
            ".        O        FF874D26 A4B8401E R45      R12",
            ".        O80      93A24722 ACBF3E1D R57      R18",
            ".        .        R17      R39      R39      R12",
        },
        kPalette);
    EXPECT_EQ(expected, Picture(Shadow(Params(EShadowOuter), mask.data()), 6, kPalette));
    const std::string inner = Picture(
        {
            ".        .        .        .        .        .",
            ".        O        FFC83A1B 80C43C1C .        .",
            ".        O        FFC23C1C 80B6411F .        .",
            ".        O80      80C03D1D 80B14320 .        .",
            ".        .        .        .        .        .",
        },
        kPalette);
    EXPECT_EQ(inner, Picture(Shadow(Params(EShadowInner), mask.data()), 6, kPalette));
}

TEST(DropShadowRoutine, SizeAbove250BehavesAs250) {
    SShadowParams big = Params(EShadowOnly), cap = Params(EShadowOnly);
    big.size = 400.0f;
    cap.size = 250.0f;
    EXPECT_EQ(Shadow(cap), Shadow(big));
}

TEST(DropShadowRoutine, DensityZeroStillCastsAOneOver256Shadow) {
    SShadowParams p = Params(EShadowOnly);
    p.density = 0.0f;
    p.size = 0.0f;
    p.shiftX = p.shiftY = 0.0f;
    // Opaque coverage 255 gives about 255 before the density; x 1 >> 8 rounds to nothing.
    for (uint32_t w : Shadow(p)) EXPECT_EQ(0u, w);
}

TEST(DropShadowRoutine, OpaqueImageWithOuterShadowChangesOnlyTheMargin) {
    // 8 x 8, opaque 4 x 4 in the middle: the margin of 2 is what a shadow of size 1, offset 1 reaches.
    std::vector<TPixelChannel> p(64);
    for (int y = 2; y < 6; ++y)
        for (int x = 2; x < 6; ++x) p[y * 8 + x].n = 0xFF336699u;
    DropShadow(p.data(), 8, 8, Params(EShadowOuter), nullptr, Tables());
    bool marginChanged = false;
    for (int y = 0; y < 8; ++y)
        for (int x = 0; x < 8; ++x) {
            if (x >= 2 && x < 6 && y >= 2 && y < 6)
                EXPECT_EQ(0xFF336699u, p[y * 8 + x].n);
            else
                marginChanged = marginChanged || p[y * 8 + x].n != 0;
        }
    EXPECT_TRUE(marginChanged);
}

TEST(DropShadowRoutine, InnerShadowOnOpaqueImageShowsAtTheImageEdge) {
    std::vector<TPixelChannel> p(16 * 16);
    for (auto& px : p) px.n = 0xFF808080u;
    SShadowParams params = Params(EShadowInner);
    params.shiftX = params.shiftY = 0.0f;
    params.density = 1.2f;  // full coverage gives A = 306, an edge (351 / 479 of it) about 224
    DropShadow(p.data(), 16, 16, params, nullptr, Tables());
    // Far from the edges A has reached 256 and the pixel stays; at the edges the cells outside
    // contribute nothing, coverage falls, and the colour shows.
    EXPECT_EQ(0xFF808080u, p[8 * 16 + 8].n);
    EXPECT_NE(0xFF808080u, p[0].n);
    EXPECT_NE(0xFF808080u, p[8 * 16 + 15].n);
    EXPECT_EQ(0xFFu, p[0].n >> 24);
}

TEST(DropShadowRoutine, ShadowColourIsOpaqueWhateverTheColourItemsAlpha) {
    SShadowParams p = Params(EShadowOnly);
    p.color = 0x000000FFu;
    const std::vector<uint32_t> plain = Shadow(p);
    p.color = 0x800000FFu;  // an alpha byte in the item
    EXPECT_EQ(plain, Shadow(p));
    // Where the shadow is solid behind nothing, the pixel is the colour at full alpha.
    std::vector<TPixelChannel> big(12 * 12);
    for (int y = 3; y < 9; ++y)
        for (int x = 3; x < 9; ++x) big[y * 12 + x].n = 0xFF000000u;
    SShadowParams q = Params(EShadowOuter);
    q.color = 0x800000FFu;
    q.density = 4.0f;
    q.shiftX = q.shiftY = -2.0f;
    DropShadow(big.data(), 12, 12, q, nullptr, Tables());
    EXPECT_EQ(0xFFFF0000u, big[10 * 12 + 10].n);
}

TEST(DropShadowRoutine, UnknownBlendingLeavesTheImage) { EXPECT_EQ(Words(SmallShape()), Shadow(Params(7))); }

TEST(DropShadowRoutine, InteriorOfWideSemiTransparentAreaCastsNoShadow) {
    // 11 x 11 of alpha 128 everywhere but a transparent border: with size 1 (lim 2) only pixels
    // within reach of the border keep their coverage; the centre loses it.
    std::vector<TPixelChannel> p(11 * 11);
    for (int y = 1; y < 10; ++y)
        for (int x = 1; x < 10; ++x) p[y * 11 + x].n = 0x80000000u;
    std::vector<uint32_t> coverage(p.size());
    for (size_t i = 0; i < p.size(); ++i) coverage[i] = p[i].bA;
    RemoveInteriorCoverage(p.data(), 11, 11, 1.0f, coverage.data());
    EXPECT_EQ(128u, coverage[1 * 11 + 1]);
    EXPECT_EQ(128u, coverage[1 * 11 + 5]);  // a transparent pixel one step away: 1 <= lim
    EXPECT_EQ(0u, coverage[2 * 11 + 2]);    // r = 1: nothing transparent within one step
    EXPECT_EQ(0u, coverage[3 * 11 + 3]);
    EXPECT_EQ(0u, coverage[5 * 11 + 5]);
    EXPECT_EQ(0u, coverage[0]);
}

TEST(DropShadowRoutine, TinyImagesAndOddParametersStayInsideTheBuffers) {
    // Run under AddressSanitizer in the sanitizer build; here every run must also repeat exactly.
    const float sizes[] = {0.0f, 0.4f, 1.0f, 2.5f, 7.0f};
    const float shifts[] = {-3.5f, -1.0f, 0.0f, 0.25f, 2.0f};
    uint32_t seed = 7;
    for (uint32_t w = 1; w <= 5; w += 2)
        for (uint32_t h = 1; h <= 4; ++h)
            for (float size : sizes)
                for (float shift : shifts)
                    for (int32_t blending = 0; blending < 3; ++blending)
                        for (bool masked : {false, true}) {
                            std::vector<TPixelChannel> p(size_t(w) * h);
                            std::vector<uint8_t> mask(p.size());
                            for (size_t i = 0; i < p.size(); ++i) {
                                seed = seed * 1664525u + 1013904223u;
                                p[i].n = seed;
                                mask[i] = uint8_t(seed >> 5);
                            }
                            SShadowParams params;
                            params.size = size;
                            params.shiftX = shift;
                            params.shiftY = -shift;
                            params.density = 2.0f;
                            params.blending = blending;
                            std::vector<TPixelChannel> again = p;
                            DropShadow(p.data(), w, h, params, masked ? mask.data() : nullptr, Tables());
                            DropShadow(again.data(), w, h, params, masked ? mask.data() : nullptr, Tables());
                            EXPECT_EQ(Words(p), Words(again));
                        }
}

// Convolution: the matrix text, both filters, the premultiplied round trip, the size limit,
// the standard effects of the window and the name.
#include <gtest/gtest.h>

#include "operations/colour/convolution.h"
#include "operations/colour/convolution_kernels.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Convolution() { return Operation<CDocumentOperationRasterImageConvolution>(); }

ComPtr<IConfig> ConvolutionConfig(const std::string& aMatrix, const std::string& aDiv, const std::string& aBias,
                                  bool aIgnoreAlpha) {
    ComPtr<IConfig> config = ConfigOf(Convolution());
    Set(config, "Matrix", aMatrix);
    Set(config, "Div", aDiv);
    Set(config, "Bias", aBias);
    Set(config, "IgnoreAlpha", aIgnoreAlpha ? "true" : "false");
    return config;
}

bool Parses(std::u16string_view aText, uint32_t aWidth = 0, uint32_t aHeight = 0) {
    SConvolutionMatrix m;
    if (!ParseConvolutionMatrix(aText, &m)) return false;
    EXPECT_EQ(aWidth, m.width);
    EXPECT_EQ(aHeight, m.height);
    EXPECT_EQ(size_t(aWidth) * aHeight, m.values.size());
    return true;
}

SConvolutionMatrix Matrix(std::u16string_view aText) {
    SConvolutionMatrix m;
    EXPECT_TRUE(ParseConvolutionMatrix(aText, &m));
    return m;
}

std::string Square(int aSide) {
    std::string text;
    for (int r = 0; r < aSide; ++r) {
        for (int c = 0; c < aSide; ++c)
            text += (c ? " " : "") + std::string(r == aSide / 2 && c == aSide / 2 ? "1" : "0");
        text += "\r\n";
    }
    return text;
}

}  // namespace

TEST(ConvolutionParser, DefaultTextIsTheThreeByThreeIdentity) {
    SConvolutionMatrix m;
    ASSERT_TRUE(ParseConvolutionMatrix(u"0 0 0\r\n0 1 0\r\n0 0 0", &m));
    EXPECT_EQ(3u, m.width);
    EXPECT_EQ(3u, m.height);
    EXPECT_EQ((std::vector<float>{0, 0, 0, 0, 1, 0, 0, 0, 0}), m.values);
}

TEST(ConvolutionParser, LineEndsOfEveryKindBlanksAndTabs) {
    EXPECT_TRUE(Parses(u"\r\n  1\t2  3\n4 5 6\r7 8 9", 3, 3));
    EXPECT_TRUE(Parses(u"1 2 3\n4 5 6\n7 8 9\n", 3, 3));  // a trailing line end checks nothing more
    EXPECT_TRUE(Parses(u"-1.5 +2 3e-1\n4 .5 6\n7 8 9", 3, 3));
    SConvolutionMatrix m = Matrix(u"-1.5 +2 3e-1");
    EXPECT_EQ((std::vector<float>{-1.5f, 2.0f, 0.3f}), m.values);
}

TEST(ConvolutionParser, SingleLineOfThreeIsThreeByOne) { EXPECT_TRUE(Parses(u"1 2 1", 3, 1)); }

TEST(ConvolutionParser, EvenWidthFails) {
    EXPECT_FALSE(Parses(u"1 2\n3 4\n5 6"));  // two wide, three high
    EXPECT_FALSE(Parses(u"1 2 3\n4 5 6"));   // three wide, two high
}

TEST(ConvolutionParser, RowsOfDifferentLengthsFail) {
    EXPECT_FALSE(Parses(u"1 2 3\n4 5\n6 7 8"));
    EXPECT_FALSE(Parses(u"1 2 3\n4 5 6\n7 8"));
}

TEST(ConvolutionParser, TextThatIsNoNumberFails) {
    EXPECT_FALSE(Parses(u"1 x 3"));
    EXPECT_FALSE(Parses(u"1,5 2 3"));
}

TEST(ConvolutionParser, EmptyOrBlankTextFails) {
    EXPECT_FALSE(Parses(u""));
    EXPECT_FALSE(Parses(u" \t\r\n  "));
}

TEST(ConvolutionPremultiply, RoundTripTruncatesBothWays) {
    TPixelChannel p;
    p.n = 0x80640000u;  // red 100 at alpha 128: 100 x 128 / 255 = 50, 50 x 255 / 128 = 99
    PremultiplyPixels(&p, 1);
    EXPECT_EQ(0x80320000u, p.n);
    UnpremultiplyPixels(&p, 1);
    EXPECT_EQ(0x80630000u, p.n);
    p.n = 0x00FFFFFFu;
    UnpremultiplyPixels(&p, 1);
    EXPECT_EQ(0u, p.n);
}

TEST(ConvolutionFilter, FullFilterAveragesWithRepeatedEdges) {
    const std::vector<uint32_t> in = {0xFF1E0000u, 0xFF3C0000u, 0xFF5A0000u};  // red 30, 60, 90
    std::vector<TPixelChannel> src(3), dst(3);
    for (int i = 0; i < 3; ++i) src[i].n = in[i];
    ConvolveFull(src.data(), dst.data(), 3, 1, Matrix(u"1 1 1"), 3.0f, 0.0f);
    // (30 + 30 + 60) / 3, (30 + 60 + 90) / 3, (60 + 90 + 90) / 3
    EXPECT_EQ(0xFF280000u, dst[0].n);
    EXPECT_EQ(0xFF3C0000u, dst[1].n);
    EXPECT_EQ(0xFF500000u, dst[2].n);
}

TEST(ConvolutionFilter, FullFilterCapsColoursAtAlphaAndClearsZeroAlpha) {
    std::vector<TPixelChannel> src(1), dst(1);
    src[0].n = 0x40202020u;
    ConvolveFull(src.data(), dst.data(), 1, 1, Matrix(u"2"), 1.0f, 0.0f);
    // alpha 128, colours 64 each.
    EXPECT_EQ(0x80404040u, dst[0].n);
    ConvolveFull(src.data(), dst.data(), 1, 1, Matrix(u"1"), 1.0f, 200.0f);
    // alpha 64 + 200 = 255 at most; colours 32 + 200 = 232, below alpha.
    EXPECT_EQ(0xFFE8E8E8u, dst[0].n);
    ConvolveFull(src.data(), dst.data(), 1, 1, Matrix(u"1"), 1.0f, -64.0f);
    EXPECT_EQ(0u, dst[0].n);  // the alpha sum is exactly 0
}

TEST(ConvolutionFilter, ColourFilterCopiesTransparentPixelsAndCountsTheirColours) {
    const std::vector<uint32_t> in = {0x00FF0000u, 0x80000000u, 0xFF000000u};
    std::vector<TPixelChannel> src(3), dst(3);
    for (int i = 0; i < 3; ++i) src[i].n = in[i];
    ConvolveColour(src.data(), dst.data(), 3, 1, Matrix(u"1 1 1"), 3.0f, 0.0f);
    EXPECT_EQ(0x00FF0000u, dst[0].n);
    EXPECT_EQ(0x80550000u, dst[1].n);  // (255 + 0 + 0) / 3 = 85, alpha kept
    EXPECT_EQ(0xFF000000u, dst[2].n);
}

TEST(ConvolutionFilter, ZeroDivisorGivesClampedValuesNotACrash) {
    std::vector<TPixelChannel> src(4), dst(4);
    for (auto& p : src) p.n = 0x80102030u;
    ConvolveFull(src.data(), dst.data(), 2, 2, Matrix(u"0 0 0\n0 1 0\n0 0 0"), 0.0f, 0.0f);
    for (auto p : dst) EXPECT_EQ(0xFFu, p.bA);
    ConvolveColour(src.data(), dst.data(), 2, 2, Matrix(u"0"), 0.0f, 0.0f);
    for (auto p : dst) EXPECT_EQ(0x80000000u, p.n);  // 0 x infinity is no number: the lower clamp
}

TEST(ConvolutionOperation, ListedNameSchemaAndCanActivate) {
    EXPECT_EQ("Custom convolution filter", ListedName(Convolution()));
    ComPtr<IConfig> config = ConfigOf(Convolution());
    auto items = zthost::DescribeConfig(config);
    ASSERT_EQ(4u, items.size());
    EXPECT_EQ(u"Matrix", items[0].key);
    EXPECT_EQ(u"0 0 0\r\n0 1 0\r\n0 0 0", ZTStrView(items[0].defaultValue->bstrVal));
    EXPECT_EQ(u"Div", items[1].key);
    EXPECT_EQ(1.0f, items[1].defaultValue->fVal);
    EXPECT_EQ(u"Bias", items[2].key);
    EXPECT_EQ(u"IgnoreAlpha", items[3].key);
    EXPECT_FALSE(items[3].defaultValue->bVal);
    EXPECT_EQ(S_FALSE, Convolution()->CanActivate(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(S_OK, Convolution()->CanActivate(nullptr, Image(1, 1, {0}), nullptr, nullptr));
    EXPECT_FALSE(ComPtr<IRasterImageFilter>::query(Convolution().get()));
}

TEST(ConvolutionOperation, DefaultMatrixKeepsTheImageUpToThePremultipliedRoundTrip) {
    auto doc = Image(2, 2, {0xFF102030u, 0x80640000u, 0x00FFFFFFu, 0x01FFFFFFu});
    ASSERT_EQ(S_OK, RunOperation(Convolution(), doc, ConfigOf(Convolution())));
    // Alpha 1: 255 x 1 / 255 = 1, back 1 x 255 / 1 = 255.
    EXPECT_EQ((std::vector<uint32_t>{0xFF102030u, 0x80630000u, 0u, 0x01FFFFFFu}), Content(doc));
}

TEST(ConvolutionOperation, BiasOf255MakesEverythingOpaqueWhite) {
    auto doc = Image(2, 1, {0x00000000u, 0x80102030u});
    ASSERT_EQ(S_OK, RunOperation(Convolution(), doc, ConvolutionConfig("0 0 0\n0 1 0\n0 0 0", "1", "255", false)));
    EXPECT_EQ((std::vector<uint32_t>{0xFFFFFFFFu, 0xFFFFFFFFu}), Content(doc));
}

TEST(ConvolutionOperation, TransparentRegionStaysBitForBitWhenAlphaIsIgnored) {
    std::vector<uint32_t> pixels(16, 0x00123456u);
    pixels[5] = 0xFF808080u;
    auto doc = Image(4, 4, pixels);
    ASSERT_EQ(S_OK, RunOperation(Convolution(), doc, ConvolutionConfig("1 1 1\n1 1 1\n1 1 1", "9", "10", true)));
    auto out = Content(doc);
    for (size_t i = 0; i < out.size(); ++i)
        if (i != 5) {
            EXPECT_EQ(0x00123456u, out[i]) << i;
        }
    // Red (8 x 18 + 128) / 9 + 10 = 40.2, green (8 x 52 + 128) / 9 + 10 = 70.4,
    // blue (8 x 86 + 128) / 9 + 10 = 100.7, each truncated after + 0.5.
    EXPECT_EQ(0xFF284665u, out[5]);
}

TEST(ConvolutionOperation, AllZeroMatrixClearsEveryPixel) {
    auto doc = Image(3, 2, Pattern(6));
    ASSERT_EQ(S_OK, RunOperation(Convolution(), doc, ConvolutionConfig("0 0 0\n0 0 0\n0 0 0", "1", "0", false)));
    EXPECT_EQ(std::vector<uint32_t>(6, 0u), Content(doc));
}

TEST(ConvolutionOperation, TooLargeOrUnparsableMatrixIsAnInvalidParameter) {
    const auto pixels = Pattern(4);
    auto doc = Image(2, 2, pixels);
    EXPECT_EQ(E_HOST_INVALID_PARAM, RunOperation(Convolution(), doc, ConvolutionConfig(Square(33), "1", "0", false)));
    EXPECT_EQ(E_HOST_INVALID_PARAM,
              RunOperation(Convolution(), doc, ConvolutionConfig("1 2\n3 4\n5 6", "1", "0", false)));
    EXPECT_EQ(E_HOST_INVALID_PARAM, RunOperation(Convolution(), doc, ConvolutionConfig("   ", "1", "0", false)));
    EXPECT_EQ(pixels, Content(doc));
    EXPECT_EQ(S_OK, RunOperation(Convolution(), doc, ConvolutionConfig(Square(31), "1", "0", true)));
}

TEST(ConvolutionOperation, FiltersTheWholeCanvasAndWritesItBack) {
    // Content smaller than the canvas: the canvas is read with the default pixel around it.
    auto doc = Document({3, 1}, {1, 0}, {1, 1}, {0xFF3C0000u}, 0xFF1E0000u);
    ASSERT_EQ(S_OK, RunOperation(Convolution(), doc, ConvolutionConfig("1 1 1", "3", "0", false)));
    EXPECT_EQ(0xFF280000u, PixelAt(doc, 0, 0));  // (30 + 30 + 60) / 3
    EXPECT_EQ(0xFF280000u, PixelAt(doc, 1, 0));
}

TEST(ConvolutionEffects, SharpenTextAndValuesFromTheSlider) {
    SConvolutionSettings s = ConvolutionEffectSettings(EConvolutionEffect::sharpen, 40);
    EXPECT_EQ(u"0 -2 0\r\n-2 11 -2\r\n0 -2 0", s.matrix);
    EXPECT_EQ(3.0f, s.div);
    EXPECT_EQ(0.0f, s.bias);
    s = ConvolutionEffectSettings(EConvolutionEffect::sharpen, 0);
    EXPECT_EQ(u"0 -2 0\r\n-2 31 -2\r\n0 -2 0", s.matrix);
    EXPECT_EQ(23.0f, s.div);
    s = ConvolutionEffectSettings(EConvolutionEffect::sharpen, 13);
    EXPECT_EQ(u"0 -2 0\r\n-2 24.5 -2\r\n0 -2 0", s.matrix);
    EXPECT_EQ(16.5f, s.div);
}

TEST(ConvolutionEffects, SoftenTextAndValuesFromTheSlider) {
    SConvolutionSettings s = ConvolutionEffectSettings(EConvolutionEffect::soften, 20);
    EXPECT_EQ(u"1 1 1\r\n1 3 1\r\n1 1 1", s.matrix);
    EXPECT_FLOAT_EQ(11.0f, s.div);
    s = ConvolutionEffectSettings(EConvolutionEffect::soften, 10);  // 3^1.5 = 5.196152
    EXPECT_EQ(u"1 1 1\r\n1 5.19615 1\r\n1 1 1", s.matrix);
    EXPECT_NEAR(13.196152, s.div, 1e-5);
}

TEST(ConvolutionEffects, SliderPositionIsFoundAgain) {
    for (int p = 0; p <= 40; ++p) {
        SConvolutionSettings sharpen = ConvolutionEffectSettings(EConvolutionEffect::sharpen, p);
        EXPECT_EQ(EConvolutionEffect::sharpen, RecogniseConvolutionEffect(sharpen.matrix, sharpen.div, 0.0f)) << p;
        EXPECT_EQ(p, ConvolutionEffectPosition(EConvolutionEffect::sharpen, sharpen.div));
        SConvolutionSettings soften = ConvolutionEffectSettings(EConvolutionEffect::soften, p);
        EXPECT_EQ(EConvolutionEffect::soften, RecogniseConvolutionEffect(soften.matrix, soften.div, 0.0f)) << p;
        EXPECT_EQ(p, ConvolutionEffectPosition(EConvolutionEffect::soften, soften.div)) << p;
    }
    // trunc(40 - 2 x (8 - 3) + 0.5) = 30; trunc(40 - ln(1) x 18.2 + 0.5) = 40.
    EXPECT_EQ(30, ConvolutionEffectPosition(EConvolutionEffect::sharpen, 8.0f));
    EXPECT_EQ(40, ConvolutionEffectPosition(EConvolutionEffect::soften, 9.0f));
}

TEST(ConvolutionName, RecognisesSharpenAndSoftenByTheirValues) {
    EXPECT_EQ("Convolution matrix", NameOf(Convolution(), nullptr));
    EXPECT_EQ("Convolution matrix", NameOf(Convolution(), ConfigOf(Convolution())));
    EXPECT_EQ("Sharpen", NameOf(Convolution(), ConvolutionConfig("0 -2 0\r\n-2 15 -2\r\n0 -2 0", "7", "0", false)));
    EXPECT_EQ("Convolution matrix",
              NameOf(Convolution(), ConvolutionConfig("0 -2 0\r\n-2 15 -2\r\n0 -2 0", "7", "1", false)));
    EXPECT_EQ("Convolution matrix",
              NameOf(Convolution(), ConvolutionConfig("0 -2 0\r\n-2 15 -2\r\n0 -2 0", "7.01", "0", false)));
    EXPECT_EQ("Soften", NameOf(Convolution(), ConvolutionConfig("1 1 1\n1 4 1\n1 1 1", "12", "0", false)));
    EXPECT_EQ("Změkčit", NameOf(Convolution(), ConvolutionConfig("1 1 1\n1 4 1\n1 1 1", "12", "0", false), LANG_CZECH));
    EXPECT_EQ("Convolution matrix", NameOf(Convolution(), ConvolutionConfig("1 1 1\n1 4 1\n1 1 2", "12", "0", false)));
}

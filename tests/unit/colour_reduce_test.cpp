// Reduce colors and the host's quantiser: the colour floor, the counter test, the palette
// limit with and without error diffusion, and alpha.
#include <gtest/gtest.h>

#include <set>

#include "frame/host_quantizer.h"
#include "frame/object.h"
#include "host/registry.h"
#include "operations/colour/reduce_colors.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Reduce() { return Operation<CDocumentOperationRasterImageReduceColors>(); }

ComPtr<IConfig> ReduceConfig(int aColors, bool aDither) {
    ComPtr<IConfig> config = ConfigOf(Reduce());
    Set(config, "Colors", std::to_string(aColors));
    Set(config, "Dither", aDither ? "true" : "false");
    return config;
}

// aCount distinct opaque colours, each repeated aRepeat times.
std::vector<uint32_t> Distinct(uint32_t aCount, uint32_t aRepeat = 2) {
    std::vector<uint32_t> p;
    for (uint32_t r = 0; r < aRepeat; ++r)
        for (uint32_t i = 0; i < aCount; ++i) p.push_back(0xFF000000u | (i * 37u % 256) << 16 | (i * 11u) << 8 | i);
    return p;
}

size_t CountColours(const std::vector<uint32_t>& aPixels) {
    return std::set<uint32_t>(aPixels.begin(), aPixels.end()).size();
}

class CPaletteCollector final : public CStackUnknown<IEnum2UInts> {
public:
    HRESULT Consume(uint32_t aFirst, uint32_t aCount, const uint32_t* aPairs) override {
        for (uint32_t i = 0; i < aCount; ++i) {
            EXPECT_EQ(aFirst + i, aPairs[2 * i]);
            colours.push_back(aPairs[2 * i + 1]);
        }
        return S_OK;
    }
    std::vector<uint32_t> colours;
};

struct SQuantized {
    std::vector<uint32_t> palette, pixels;
};

SQuantized Quantize(const std::vector<uint32_t>& aPixels, uint32_t aWidth, uint32_t aLimit, uint32_t aDither) {
    ComPtr<IColorQuantizer> q = zthost::Create<IColorQuantizer>(CLSID_ColorQuantizer);
    EXPECT_TRUE(q);
    const TPixelChannel* palette = nullptr;
    EXPECT_EQ(S_OK, q->Init(aLimit, aDither, 0, 0, &palette));
    std::vector<TPixelChannel> px(aPixels.size());
    for (size_t i = 0; i < px.size(); ++i) px[i].n = aPixels[i];
    const uint32_t h = uint32_t(aPixels.size() / aWidth);
    TImageTile tile{CHANNEL_COLOR, 0, 0, aWidth, h, 1, aWidth, uint32_t(px.size()), px.data()};
    EXPECT_EQ(S_OK, q->Visit(1, &tile, nullptr));
    CPaletteCollector collector;
    EXPECT_EQ(S_OK, q->EnumeratePalette(&collector));
    EXPECT_TRUE(palette);
    if (palette && !collector.colours.empty()) {
        EXPECT_EQ(collector.colours.front(), palette[0].n);
    }
    const TImageSize size{aWidth, h};
    EXPECT_EQ(S_OK, q->Process(nullptr, &size, nullptr, uint32_t(px.size()), px.data(), nullptr));
    SQuantized out{collector.colours, {}};
    for (TPixelChannel p : px) out.pixels.push_back(p.n);
    return out;
}

}  // namespace

TEST(ColorQuantizer, FewColoursAreKeptExactly) {
    const auto pixels = Distinct(5, 3);
    for (uint32_t dither : {QUANTIZER_DITHER_NONE, QUANTIZER_DITHER_DIFFUSION}) {
        SQuantized q = Quantize(pixels, 5, 8, dither);
        EXPECT_EQ(5u, q.palette.size());
        EXPECT_EQ(pixels, q.pixels);
    }
}

TEST(ColorQuantizer, PaletteNeverExceedsTheLimitAndPixelsUseIt) {
    const auto pixels = Pattern(64 * 64, 99);
    for (uint32_t limit : {8u, 16u, 100u, 256u})
        for (uint32_t dither : {QUANTIZER_DITHER_NONE, QUANTIZER_DITHER_DIFFUSION}) {
            SQuantized q = Quantize(pixels, 64, limit, dither);
            EXPECT_LE(q.palette.size(), limit);
            EXPECT_GE(q.palette.size(), limit / 2);
            const std::set<uint32_t> palette(q.palette.begin(), q.palette.end());
            for (uint32_t p : q.pixels) ASSERT_TRUE(palette.count(p)) << std::hex << p;
        }
}

TEST(ColorQuantizer, TwoClustersGiveTheirMeans) {
    // Two groups of near colours, two colours allowed: each group becomes its mean.
    std::vector<uint32_t> pixels = {0xFF0A0A0Au, 0xFF0C0C0Cu, 0xFF0E0E0Eu, 0xFFF0F0F0u, 0xFFF2F2F2u, 0xFFF4F4F4u};
    SQuantized q = Quantize(pixels, 6, 2, QUANTIZER_DITHER_NONE);
    ASSERT_EQ(2u, q.palette.size());
    EXPECT_EQ((std::vector<uint32_t>{0xFF0C0C0Cu, 0xFF0C0C0Cu, 0xFF0C0C0Cu, 0xFFF2F2F2u, 0xFFF2F2F2u, 0xFFF2F2F2u}),
              q.pixels);
}

TEST(ColorQuantizer, TransparentPixelsAreOneColourAndStayTransparent) {
    std::vector<uint32_t> pixels = Distinct(40, 1);
    for (int i = 0; i < 10; ++i) pixels.push_back(0x00000000u | uint32_t(i) * 0x010203u);
    for (uint32_t dither : {QUANTIZER_DITHER_NONE, QUANTIZER_DITHER_DIFFUSION}) {
        SQuantized q = Quantize(pixels, 10, 8, dither);
        for (size_t i = 40; i < pixels.size(); ++i) EXPECT_EQ(0u, q.pixels[i]) << i;
    }
}

TEST(ColorQuantizer, DiffusionKeepsTheMeanOfASmoothRamp) {
    // A grey ramp with 8 colours: with diffusion the mean of each column stays close to the
    // original value, without it the error is systematic.
    std::vector<uint32_t> pixels;
    for (int y = 0; y < 32; ++y)
        for (int x = 0; x < 256; ++x) pixels.push_back(0xFF000000u | uint32_t(x) * 0x010101u);
    SQuantized plain = Quantize(pixels, 256, 8, QUANTIZER_DITHER_NONE);
    SQuantized dithered = Quantize(pixels, 256, 8, QUANTIZER_DITHER_DIFFUSION);
    double errorPlain = 0, errorDithered = 0;
    for (int x = 0; x < 256; ++x) {
        double sumPlain = 0, sumDithered = 0;
        for (int y = 0; y < 32; ++y) {
            sumPlain += plain.pixels[y * 256 + x] & 255;
            sumDithered += dithered.pixels[y * 256 + x] & 255;
        }
        errorPlain += std::abs(sumPlain / 32 - x);
        errorDithered += std::abs(sumDithered / 32 - x);
    }
    EXPECT_LT(errorDithered, errorPlain / 2);
}

TEST(ColorQuantizer, ProcessRefusesAStrideBeyondThePixels) {
    ComPtr<IColorQuantizer> q = zthost::Create<IColorQuantizer>(CLSID_ColorQuantizer);
    ASSERT_EQ(S_OK, q->Init(8, QUANTIZER_DITHER_NONE, 0, 0, nullptr));
    std::vector<TPixelChannel> px(4);
    const TImageSize size{2, 2};
    const TImageStride stride{1, 3};
    EXPECT_EQ(E_INVALIDARG, q->Process(nullptr, &size, &stride, 4, px.data(), nullptr));
}

TEST(ReduceColorsOperation, ListedNameSchemaAndNames) {
    EXPECT_EQ("Raster Image - Reduce Colors", ListedName(Reduce()));
    ComPtr<IConfig> config = ConfigOf(Reduce());
    auto items = zthost::DescribeConfig(config);
    ASSERT_EQ(2u, items.size());
    EXPECT_EQ(u"Colors", items[0].key);
    EXPECT_EQ(100, items[0].defaultValue->iVal);
    EXPECT_EQ(u"Dither", items[1].key);
    EXPECT_TRUE(items[1].defaultValue->bVal);
    EXPECT_EQ("Dithering", zthost::TextOf(items[1].name, LANG_ENGLISH));
    EXPECT_EQ("Reduce colors", NameOf(Reduce(), nullptr));
    EXPECT_EQ("Reduce to 100 colors", NameOf(Reduce(), config));
    EXPECT_EQ("Reduce to 3 colors", NameOf(Reduce(), ReduceConfig(3, true)));
    EXPECT_EQ("Snížit na 16 barev", NameOf(Reduce(), ReduceConfig(16, true), LANG_CZECH));
}

TEST(ReduceColorsOperation, ThreeColoursBehaveAsEight) {
    auto eight = Image(8, 2, Distinct(8));
    EXPECT_EQ(S_OK, RunOperation(Reduce(), eight, ReduceConfig(3, false)));
    EXPECT_EQ(8u, CountColours(Content(eight)));
    auto seven = Image(7, 2, Distinct(7));
    EXPECT_EQ(S_FALSE, RunOperation(Reduce(), seven, ReduceConfig(3, false)));
}

TEST(ReduceColorsOperation, ExactlyTheLimitIsProcessedOneLessIsNot) {
    auto atLimit = Image(10, 2, Distinct(10));
    EXPECT_EQ(S_OK, RunOperation(Reduce(), atLimit, ReduceConfig(10, true)));
    EXPECT_EQ(Distinct(10), Content(atLimit));
    auto below = Image(9, 2, Distinct(9));
    EXPECT_EQ(S_FALSE, RunOperation(Reduce(), below, ReduceConfig(10, true)));
}

TEST(ReduceColorsOperation, ManyColoursAreReducedToTheLimit) {
    for (bool dither : {false, true}) {
        auto doc = Image(50, 40, Pattern(2000, 4));
        ASSERT_EQ(S_OK, RunOperation(Reduce(), doc, ReduceConfig(12, dither)));
        EXPECT_LE(CountColours(Content(doc)), 12u);
    }
}

TEST(ReduceColorsOperation, EmptyImageWritesNothing) {
    auto doc = Document({5, 5}, {0, 0}, {0, 0}, {}, 0xFF00FF00u);
    EXPECT_EQ(S_FALSE, RunOperation(Reduce(), doc, ReduceConfig(8, true)));
    EXPECT_EQ(0u, State(doc).contentSize.nX);
}

TEST(ReduceColorsOperation, WithoutARasterImageOrQuantiserItFails) {
    EXPECT_EQ(E_FAIL, RunOperation(Reduce(), nullptr, ReduceConfig(8, true)));
    EXPECT_EQ(S_FALSE, Reduce()->CanActivate(nullptr, nullptr, nullptr, nullptr));
    zthost::UnregisterHostClass(CLSID_ColorQuantizer);
    const auto pixels = Pattern(100);
    auto doc = Image(10, 10, pixels);
    const HRESULT hr = RunOperation(Reduce(), doc, ReduceConfig(8, true));
    zthost::RegisterHostClass(CLSID_ColorQuantizer,
                              [](const IID& aIID, void** aOut) { return zthost::CreateColorQuantizer(aIID, aOut); });
    EXPECT_TRUE(FAILED(hr));
    EXPECT_EQ(pixels, Content(doc));
}

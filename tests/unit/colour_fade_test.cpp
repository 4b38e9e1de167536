// Fade: the mix in linear light, the wrapper document and its forwarding, the run through
// the operation manager with a nested operation, the filter answers and the name.
#include <gtest/gtest.h>

#include "operations/colour/fade.h"
#include "operations/colour/fade_document.h"
#include "operations/colour/fade_kernels.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

// The module's classes are made by class id through the host, as the operation manager does.
class FadeTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() {
        module_ = zthost::Module::FromFunctions({DllGetClassObject, DllEnumClasses, DllCanUnloadNow, nullptr});
    }
    static void TearDownTestSuite() { module_.reset(); }

    static ComPtr<IDocumentOperation> Fade() { return Operation<CDocumentOperationRasterImageFade>(); }

    static ComPtr<IConfig> FadeConfig(const std::string& aStrength, const std::string& aOperation,
                                      const std::vector<std::pair<std::string, std::string>>& aInner = {}) {
        ComPtr<IConfig> config = ConfigOf(Fade());
        Set(config, "Strength", aStrength);
        Set(config, "Operation", aOperation);
        for (const auto& [key, value] : aInner) Set(config, "Operation/" + key, value);
        return config;
    }

    // A wrapper around a document, as the run makes it.
    static ComPtr<IDocument> Wrap(IDocument* aDocument, int32_t aStrength) {
        ComPtr<IDocumentRasterImage> image;
        aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        return CFadeDocument::Create(aDocument, image, zthost::Create<IGammaTableCache>(CLSID_GammaTableCache),
                                     aStrength);
    }
    static ComPtr<IDocumentRasterImage> RasterOf(IDocument* aDocument) {
        ComPtr<IDocumentRasterImage> image;
        aDocument->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
        return image;
    }

    static inline std::shared_ptr<zthost::Module> module_;
};

}  // namespace

TEST(FadePixel, StrengthZeroKeepsTheOldPixelExactly) {
    for (uint32_t old : {0xFF102030u, 0x80FFFFFFu, 0x01000000u, 0xFFFFFFFFu})
        EXPECT_EQ(old, FadePixel(GammaTable(), Px(old), Px(0xFF00FF00u), 0).n);
}

TEST(FadePixel, StrengthOneGivesTheNewPixelExactly) {
    for (uint32_t p : {0xFF102030u, 0x80FFFFFFu, 0x7F0A0B0Cu, 0xFF000000u})
        EXPECT_EQ(p, FadePixel(GammaTable(), Px(0x40FF00FFu), Px(p), 1024).n);
}

TEST(FadePixel, HalfwayInLinearLight) {
    // Red to grey 127 at f = 512: red 65535 + ((13909 - 65535) x 512 >> 10) -> 204,
    // green and blue 13909 x 512 >> 10 -> 92.
    EXPECT_EQ(0xFFCC5C5Cu, FadePixel(GammaTable(), Px(0xFFFF0000u), Px(0xFF7F7F7Fu), 512).n);
    // From the transparent default to opaque red: alpha 127, colours mixed independently.
    EXPECT_EQ(0x7FBC0000u, FadePixel(GammaTable(), Px(0x00000000u), Px(0xFFFF0000u), 512).n);
    // f = trunc(0.3 x 1024) = 307 on (10, 20, 30, 200) -> (200, 100, 0, 100).
    EXPECT_EQ(0xAA743B18u, FadePixel(GammaTable(), Px(0xC80A141Eu), Px(0x64C86400u), FadeFactor(0.3f)).n);
}

TEST(FadePixel, StrengthTwoGoesFurtherAndIsLimited) {
    EXPECT_EQ(0xFF000000u, FadePixel(GammaTable(), Px(0xFFC8C8C8u), Px(0xFF646464u), 2048).n);
    EXPECT_EQ(0xFFFFFFFFu, FadePixel(GammaTable(), Px(0xFFC8C8C8u), Px(0xFFFFFFFFu), 2048).n);
    // Alpha 200 -> 250 at f = 2048 is 300, limited to 255.
    EXPECT_EQ(0xFFu, FadePixel(GammaTable(), Px(0xC8000000u), Px(0xFA000000u), 2048).bA);
}

TEST(FadePixel, NegativeStrengthReversesAndAlphaBelowOneClears) {
    // f = -512 on (10, 20, 30, 200) -> (200, 100, 0, 100): alpha 250, colours pushed away.
    EXPECT_EQ(0xFA000026u, FadePixel(GammaTable(), Px(0xC80A141Eu), Px(0x64C86400u), -512).n);
    EXPECT_EQ(0u, FadePixel(GammaTable(), Px(0x01FFFFFFu), Px(0x00FFFFFFu), 1024).n);
}

TEST(FadePixel, FactorIsTheTruncatedStrengthInUnitsOf1024) {
    EXPECT_EQ(512, FadeFactor(0.5f));
    EXPECT_EQ(-1126, FadeFactor(-1.1f));  // -1126.4
    EXPECT_EQ(INT32_MAX, FadeFactor(1e20f));
}

TEST_F(FadeTest, ListedNameSchemaAndNames) {
    EXPECT_EQ("Raster Image - Fade", ListedName(Fade()));
    ComPtr<IConfig> config = ConfigOf(Fade());
    auto items = zthost::DescribeConfig(config);
    ASSERT_GE(items.size(), 2u);
    EXPECT_EQ(u"Strength", items[0].key);
    EXPECT_EQ(0.5f, items[0].defaultValue->fVal);
    EXPECT_EQ(-5.0f, items[0].from->fVal);
    EXPECT_EQ(5.0f, items[0].to->fVal);
    EXPECT_EQ(0.05f, items[0].step->fVal);
    EXPECT_EQ(u"Operation", items[1].key);
    EXPECT_EQ(zthost::ConfigItemKind::operation, items[1].kind);
    EXPECT_EQ("Fade effect", NameOf(Fade(), nullptr));
    EXPECT_EQ("Fade: Shift hue - 40°", NameOf(Fade(), FadeConfig("0.5", "ShiftHue", {{"Angle", "40"}})));
    EXPECT_EQ("Zeslabení: Posun odstínu - 40°",
              NameOf(Fade(), FadeConfig("0.5", "ShiftHue", {{"Angle", "40"}}), LANG_CZECH));
    // An inner operation without a descriptor name gives its listed name.
    EXPECT_EQ("Fade: Sharpen",
              NameOf(Fade(), FadeConfig("1", "Convolution", {{"Matrix", "0 -2 0\n-2 11 -2\n0 -2 0"}, {"Div", "3"}})));
}

TEST_F(FadeTest, RunFadesTheNestedOperationHalfway) {
    // Colorize at saturation 0 makes red the grey 127.
    auto doc = Image(2, 1, {0xFFFF0000u, 0x80808080u});
    ASSERT_EQ(S_OK, RunOperation(Fade(), doc, FadeConfig("0.5", "Colorize", {{"Saturation", "0"}})));
    EXPECT_EQ((std::vector<uint32_t>{0xFFCC5C5Cu, 0x80808080u}), Content(doc));
}

TEST_F(FadeTest, StrengthZeroAndOneThroughTheRun) {
    const auto pixels = Pattern(40 * 30, 3);
    auto zero = Image(40, 30, pixels), one = Image(40, 30, pixels), plain = Image(40, 30, pixels);
    ASSERT_EQ(S_OK, RunOperation(Fade(), zero, FadeConfig("0", "ShiftHue", {{"Angle", "90"}})));
    ASSERT_EQ(S_OK, RunOperation(Fade(), one, FadeConfig("1", "ShiftHue", {{"Angle", "90"}})));
    ComPtr<IDocumentOperation> shift =
        zthost::Create<IDocumentOperation>(MakeGuid("ce877eae-2e47-4bd2-a817-d4055adddeee"));
    ComPtr<IConfig> shiftConfig = ConfigOf(shift);
    Set(shiftConfig, "Angle", "90");
    ASSERT_EQ(S_OK, RunOperation(shift, plain, shiftConfig));
    // Alpha 0 pixels of the inner result are cleared by the mix (alpha below 1).
    std::vector<uint32_t> expectZero = pixels, expectOne = Content(plain);
    for (auto& p : expectZero)
        if (!(p >> 24)) p = 0;
    for (auto& p : expectOne)
        if (!(p >> 24)) p = 0;
    EXPECT_EQ(expectZero, Content(zero));
    EXPECT_EQ(expectOne, Content(one));
}

TEST_F(FadeTest, DefaultPixelIsNotFaded) {
    auto doc = Document({4, 2}, {1, 0}, {1, 1}, {0xFFFF0000u}, 0xFFFF0000u);
    ASSERT_EQ(S_OK, RunOperation(Fade(), doc, FadeConfig("0.5", "Colorize", {{"Saturation", "0"}})));
    EXPECT_EQ(0xFF7F7F7Fu, State(doc).defaultPixel.n);  // Colorize's own, set through the wrapper
    EXPECT_EQ(0xFFCC5C5Cu, Content(doc)[0]);
}

TEST_F(FadeTest, WrapperHandsOutItselfForImageFeaturesAndForwardsTheRest) {
    auto doc = Image(2, 2, Pattern(4));
    ComPtr<IDocument> wrapper = Wrap(doc, 512);
    ComPtr<IDocumentRasterImage> own;
    ASSERT_EQ(S_OK, wrapper->QueryFeatureInterface(IDocumentRasterImage::iid, own.out()));
    EXPECT_NE(RasterOf(doc).get(), own.get());
    EXPECT_EQ(ComPtr<IDocumentRasterImage>::query(wrapper.get()).get(), own.get());
    ComPtr<IDocumentImage> plain;
    ASSERT_EQ(S_OK, wrapper->QueryFeatureInterface(IDocumentImage::iid, plain.out()));
    // Reading goes to the real image.
    TImageSize canvas{0, 0};
    EXPECT_EQ(S_OK, own->CanvasGet(&canvas, nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(2u, canvas.nX);
    TImagePoint at{1, 1};
    TImageSize one{1, 1};
    TPixelChannel p{};
    EXPECT_EQ(S_OK, own->TileGet(CHANNEL_COLOR, &at, &one, nullptr, 1, &p, nullptr, ACCESS_MODE));
    EXPECT_EQ(Pattern(4)[3], p.n);
    // An unknown feature is asked of the real document.
    ComPtr<IUnknown> other;
    EXPECT_EQ(E_NOINTERFACE, wrapper->QueryFeatureInterface(IOperationContext::iid, other.out()));
}

TEST_F(FadeTest, WrapperDocumentCopyFailureIsAFailure) {
    auto doc = Image(1, 1, {0xFF000000u});
    // Without a container the real document's copy fails; the wrapper reports E_FAIL.
    EXPECT_EQ(E_FAIL, Wrap(doc, 512)->DocumentCopy(nullptr, nullptr, u"copy", nullptr));
}

TEST_F(FadeTest, WrapperTileSetOnlyForTheColourChannel) {
    auto doc = Image(1, 1, {0xFF000000u});
    ComPtr<IDocumentRasterImage> image = RasterOf(Wrap(doc, 512));
    TImagePoint at{0, 0};
    TImageSize one{1, 1};
    TPixelChannel p = Px(0xFFFFFFFFu);
    EXPECT_EQ(E_HOST_INVALID_PARAM, image->TileSet(2, &at, &one, nullptr, 1, &p, 0));
    TImageSize none{0, 3};
    EXPECT_EQ(S_FALSE, image->TileSet(CHANNEL_COLOR, &at, &none, nullptr, 0, &p, 0));
    EXPECT_EQ(0xFF000000u, Content(doc)[0]);
}

TEST_F(FadeTest, WrapperTileSetWalksAStride) {
    auto doc = Image(2, 2, {0xFF000000u, 0xFF000000u, 0xFF000000u, 0xFF000000u});
    ComPtr<IDocumentRasterImage> image = RasterOf(Wrap(doc, 1024));
    // Every second pixel of rows 3 apart.
    std::vector<TPixelChannel> src(6);
    src[0].n = 0xFF010101u;
    src[2].n = 0xFF020202u;
    src[3].n = 0xFF030303u;
    src[5].n = 0xFF040404u;
    const TImageStride stride{2, 3};
    TImagePoint at{0, 0};
    TImageSize size{2, 2};
    ASSERT_EQ(S_OK, image->TileSet(CHANNEL_COLOR, &at, &size, &stride, 4, src.data(), 0));
    EXPECT_EQ((std::vector<uint32_t>{0xFF010101u, 0xFF020202u, 0xFF030303u, 0xFF040404u}), Content(doc));
}

TEST_F(FadeTest, CanvasGrowthIsNotFadedAndNewAreaStartsFromTheDefaultPixel) {
    auto doc = Image(2, 1, {0xFF102030u, 0xFF102030u}, 0x00000000u);
    ComPtr<IDocumentRasterImage> image = RasterOf(Wrap(doc, 512));
    const TImageSize bigger{4, 1};
    ASSERT_EQ(S_OK, image->CanvasSet(&bigger, nullptr, nullptr, nullptr));
    EXPECT_EQ(4u, State(doc).canvas.nX);
    TImagePoint at{2, 0};
    TImageSize two{2, 1};
    TPixelChannel red[2] = {Px(0xFFFF0000u), Px(0xFFFF0000u)};
    ASSERT_EQ(S_OK, image->TileSet(CHANNEL_COLOR, &at, &two, nullptr, 2, red, 0));
    EXPECT_EQ(0x7FBC0000u, PixelAt(doc, 2, 0));
    EXPECT_EQ(0x7FBC0000u, PixelAt(doc, 3, 0));
    EXPECT_EQ(0xFF102030u, PixelAt(doc, 0, 0));
}

TEST_F(FadeTest, BufferReplaceBecomesAFadedWriteOfTheContent) {
    auto doc = Image(2, 1, {0xFFFF0000u, 0xFFFF0000u});
    ComPtr<IDocumentRasterImage> image = RasterOf(Wrap(doc, 512));
    TPixelChannel* pixels = nullptr;
    ZTPixelDeleter deleter = nullptr;
    ASSERT_EQ(S_OK, image->BufferAllocate({3, 2}, &pixels, &deleter));
    for (int i = 0; i < 6; ++i) pixels[i].n = 0xFF00FF00u;
    pixels[4].n = 0xFF7F7F7Fu;  // (1, 1) of the buffer is content (0, 0)
    pixels[5].n = 0xFF7F7F7Fu;
    const TImagePoint contentOrigin{0, 0};
    const TImageSize contentSize{2, 1};
    ASSERT_EQ(S_OK, image->BufferReplace({-1, -1}, {3, 2}, &contentOrigin, &contentSize, nullptr, pixels, deleter));
    EXPECT_EQ((std::vector<uint32_t>{0xFFCC5C5Cu, 0xFFCC5C5Cu}), Content(doc));
    EXPECT_EQ(0u, State(doc).bufferReplaceCount);
}

TEST_F(FadeTest, FilterAnswersComeFromTheInnerOperation) {
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(Fade().get());
    ASSERT_TRUE(filter);
    TImageSize canvas{10, 10};
    TRasterImageRect r{{1, 2}, {3, 4}};
    // Blend with background at threshold 0 dirties the whole plane; NeededToCompute asks
    // the same question of the inner operation.
    EXPECT_EQ(S_OK, filter->NeededToCompute(FadeConfig("0.5", "BackgroundBlend", {{"Threshold", "0"}}), &canvas, &r));
    EXPECT_EQ(INT32_MIN, r.tTL.nX);
    TRasterImageRect s{{1, 2}, {3, 4}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(FadeConfig("0.5", "BackgroundBlend", {{"Threshold", "0"}}), &canvas, &s));
    EXPECT_EQ(INT32_MAX, s.tBR.nX);
    EXPECT_EQ(S_FALSE, filter->AdjustDirtyRect(FadeConfig("0.5", "ShiftHue"), &canvas, &s));
    // Convolution has no filter.
    EXPECT_EQ(E_NOTIMPL, filter->AdjustDirtyRect(FadeConfig("0.5", "Convolution"), &canvas, &s));
    EXPECT_EQ(E_NOTIMPL, filter->NeededToCompute(FadeConfig("0.5", "Convolution"), &canvas, &s));
    TMatrix3x3f m{};
    EXPECT_EQ(E_NOTIMPL, filter->GetTransform(FadeConfig("0.5", "Convolution"), &canvas, &m));
    EXPECT_EQ(S_FALSE, filter->Transform(FadeConfig("0.5", "Convolution"), &canvas, &m));
    EXPECT_EQ(E_NOTIMPL, filter->CopyTransformed(nullptr, nullptr, nullptr, nullptr));
    EXPECT_EQ(E_UNEXPECTED, filter->AdjustDirtyRect(nullptr, &canvas, &s));
}

TEST_F(FadeTest, WithoutARasterImageItFails) {
    EXPECT_EQ(E_FAIL, RunOperation(Fade(), nullptr, FadeConfig("0.5", "ShiftHue")));
    EXPECT_EQ(S_FALSE, Fade()->CanActivate(nullptr, nullptr, nullptr, nullptr));
}

TEST_F(FadeTest, InnerFailureIsPassedOn) {
    const auto pixels = Pattern(4);
    auto doc = Image(2, 2, pixels);
    EXPECT_EQ(E_HOST_INVALID_PARAM,
              RunOperation(Fade(), doc, FadeConfig("0.5", "Convolution", {{"Matrix", "1 2\n3 4"}})));
    EXPECT_EQ(pixels, Content(doc));
}

TEST_F(FadeTest, SameResultOnOneThreadAndOnMany) {
    const auto pixels = Pattern(300 * 100, 21);
    auto one = Image(300, 100, pixels), many = Image(300, 100, pixels);
    zthost::SetThreadCount(1);
    ASSERT_EQ(S_OK, RunOperation(Fade(), one, FadeConfig("0.7", "ColorTransformations", {{"Saturation", "150"}})));
    zthost::SetThreadCount(8);
    ASSERT_EQ(S_OK, RunOperation(Fade(), many, FadeConfig("0.7", "ColorTransformations", {{"Saturation", "150"}})));
    zthost::SetThreadCount(0);
    EXPECT_EQ(Content(one), Content(many));
}

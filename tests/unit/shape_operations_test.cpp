// Drop shadow and Outline as the host runs them: schemas, names, filters, and runs on host
// documents, with and without a mask state.
#include <gtest/gtest.h>

#include <algorithm>
#include <thread>
#include <vector>

#include "frame/host_masks.h"
#include "host/masks.h"
#include "host/registry.h"
#include "operations/colour/shift_hue.h"
#include "operations/shape/drop_shadow.h"
#include "operations/shape/drop_shadow_kernels.h"
#include "operations/shape/outlines.h"
#include "operations/shape/outlines_kernels.h"
#include "tests/unit/operation_test_support.h"
#include "tests/unit/shape_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Shadow() { return Operation<CDocumentOperationRasterImageDropShadow>(); }
ComPtr<IDocumentOperation> Outlines() { return Operation<CDocumentOperationRasterImageOutlines>(); }

std::vector<std::string> Keys(IConfig* aConfig) {
    std::vector<std::string> keys;
    for (const auto& item : zthost::DescribeConfig(aConfig)) keys.push_back(Utf16ToUtf8(item.key));
    return keys;
}

// Without the host's colour names the names fall back to the size alone.
struct CNoColourNames {
    CNoColourNames() { zthost::UnregisterHostClass(CLSID_ColorNameProvider); }
    ~CNoColourNames() { zthost::RegisterHostClass(CLSID_ColorNameProvider, zthost::CreateColorNameProvider); }
};

TImagePoint Origin(IDocument* aDocument) { return State(aDocument).contentOrigin; }
TImageSize Size(IDocument* aDocument) { return State(aDocument).contentSize; }

// The buffer that a run works on: the rectangle read as TileGet reads it.
std::vector<TPixelChannel> Tile(IDocument* aDocument, TImagePoint aAt, TImageSize aSize) {
    ComPtr<IDocumentImage> image;
    aDocument->QueryFeatureInterface(IDocumentImage::iid, image.out());
    std::vector<TPixelChannel> p(size_t(aSize.nX) * aSize.nY);
    EXPECT_EQ(S_OK,
              image->TileGet(CHANNEL_COLOR, &aAt, &aSize, nullptr, uint32_t(p.size()), p.data(), nullptr, ACCESS_MODE));
    return p;
}

std::vector<uint32_t> ShapePattern() {
    // 8 x 6: an opaque block with a soft edge, on transparency.
    std::vector<uint32_t> p(48, 0);
    for (int y = 1; y < 5; ++y)
        for (int x = 2; x < 6; ++x) p[y * 8 + x] = 0xFF2080C0u;
    for (int y = 1; y < 5; ++y) p[y * 8 + 6] = 0x802080C0u;
    return p;
}

}  // namespace

TEST(DropShadowOperation, ListsItsNameAndItemsInOrder) {
    EXPECT_EQ("Raster Image - Drop Shadow", ListedName(Shadow()));
    EXPECT_EQ("Rastrový obrázek - Vržený stín", ListedName(Shadow(), LANG_CZECH));
    ComPtr<IConfig> config = ConfigOf(Shadow());
    EXPECT_EQ(
        std::vector<std::string>({"Density", "Size", "OffsetX", "OffsetY", "Type", "Color", "MaskID", "Blending"}),
        Keys(config));
    const auto items = zthost::DescribeConfig(config);
    EXPECT_EQ(150.0f, items[0].defaultValue->fVal);
    EXPECT_EQ("This value constrols shadow density. Higher value means darker shadow.",
              zthost::TextOf(items[0].help, LANG_ENGLISH));
    EXPECT_EQ(u"IMAGEMASK", ZTStrView(items[6].defaultValue->bstrVal));
    EXPECT_EQ(3u, items[7].options.size());
}

TEST(DropShadowOperation, NameShowsBlendingAndColourOrSize) {
    ComPtr<IConfig> config = ConfigOf(Shadow());
    EXPECT_EQ("Shadow", NameOf(Shadow(), nullptr));
    Set(config, "Size", "3.46");
    Set(config, "Blending", "1");
    {
        CNoColourNames none;
        EXPECT_EQ("Inner shadow - 3.5", NameOf(Shadow(), config));
        Set(config, "Blending", "2");
        EXPECT_EQ("Shadow only - 3.5", NameOf(Shadow(), config));
    }
    Set(config, "Blending", "0");
    const std::string named = NameOf(Shadow(), config);
    EXPECT_EQ(0u, named.find("Outer shadow - "));
    EXPECT_NE(std::string::npos, named.find(", 3px"));
}

TEST(DropShadowOperation, FilterAnswers) {
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(Shadow().get());
    ComPtr<ILayerStyle> style = ComPtr<ILayerStyle>::query(Shadow().get());
    ASSERT_TRUE(filter && style);
    EXPECT_EQ(70, style->ExecutionPriority());
    EXPECT_EQ(S_OK, style->StyleFlagGet());
    ComPtr<IConfig> config = ConfigOf(Shadow());
    Set(config, "Size", "3");
    Set(config, "OffsetX", "1");
    Set(config, "OffsetY", "-2");
    // Reaches: left ceil(2) = 2, top ceil(5) = 5, right ceil(4) = 4, bottom ceil(1) = 1.
    TRasterImageRect r{{10, 10}, {20, 20}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, nullptr, &r));
    EXPECT_EQ(8, r.tTL.nX);
    EXPECT_EQ(5, r.tTL.nY);
    EXPECT_EQ(24, r.tBR.nX);
    EXPECT_EQ(21, r.tBR.nY);
    r = {{10, 10}, {20, 20}};
    EXPECT_EQ(S_OK, filter->NeededToCompute(config, nullptr, &r));
    EXPECT_EQ(6, r.tTL.nX);
    EXPECT_EQ(9, r.tTL.nY);
    EXPECT_EQ(22, r.tBR.nX);
    EXPECT_EQ(25, r.tBR.nY);
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(nullptr, nullptr, &r));
    EXPECT_EQ(S_OK, filter->NeededToCompute(config, nullptr, nullptr));
    // Reaches stay at least 0: an offset larger than the size does not shrink a side.
    Set(config, "OffsetX", "10");
    r = {{10, 10}, {20, 20}};
    filter->AdjustDirtyRect(config, nullptr, &r);
    EXPECT_EQ(10, r.tTL.nX);
    EXPECT_EQ(33, r.tBR.nX);
}

TEST(DropShadowOperation, TransformScalesSizeAndOffsets) {
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(Shadow().get());
    ComPtr<IConfig> config = ConfigOf(Shadow());
    const TMatrix3x3f identity{{1, 0, 0, 0, 1, 0, 5, 7, 1}};
    EXPECT_EQ(S_FALSE, filter->Transform(config, nullptr, &identity));
    const TMatrix3x3f scale{{2, 0, 0, 0, 8, 0, 0, 0, 1}};  // s = sqrt(2 x 8) = 4
    EXPECT_EQ(S_OK, filter->Transform(config, nullptr, &scale));
    const auto items = zthost::DescribeConfig(config);
    CConfigValue v;
    ReadItem(config, u"Size", v);
    EXPECT_EQ(12.0f, v.AsFloat());
    EXPECT_EQ(2.0f, ReadFloat(config, u"OffsetX"));
    EXPECT_EQ(8.0f, ReadFloat(config, u"OffsetY"));
    EXPECT_EQ(E_HOST_INVALID_PARAM, filter->Transform(nullptr, nullptr, &scale));
    EXPECT_EQ(E_HOST_INVALID_PARAM, filter->Transform(config, nullptr, nullptr));
}

TEST(DropShadowOperation, CanActivateOnRasterImagesOnly) {
    ComPtr<IDocument> doc = Image(2, 2, {0, 0, 0, 0});
    EXPECT_EQ(S_OK, Shadow()->CanActivate(nullptr, doc, nullptr, nullptr));
    EXPECT_EQ(S_FALSE, Shadow()->CanActivate(nullptr, nullptr, nullptr, nullptr));
}

TEST(DropShadowOperation, RunGrowsTheContentByTheReachesAndMatchesTheRoutine) {
    ComPtr<IDocument> doc = Document({20, 20}, {5, 6}, {8, 6}, ShapePattern());
    ComPtr<IConfig> config = ConfigOf(Shadow());
    Set(config, "Size", "2");
    Set(config, "OffsetX", "1");
    Set(config, "OffsetY", "2");
    Set(config, "Color", "0x0000FF");
    // Work rectangle: left ceil(1) = 1, top ceil(0) = 0, right ceil(3) = 3, bottom ceil(4) = 4.
    std::vector<TPixelChannel> expected = Tile(doc, {4, 6}, {12, 10});
    SShadowParams params;
    params.size = 2.0f;
    params.shiftX = -1.0f;
    params.shiftY = -2.0f;
    params.density = 1.5f;
    params.color = 0x0000FF;
    DropShadow(expected.data(), 12, 10, params, nullptr, shapetest::Tables());

    EXPECT_EQ(S_OK, RunOperation(Shadow(), doc, config));
    EXPECT_EQ(4, Origin(doc).nX);
    EXPECT_EQ(6, Origin(doc).nY);
    EXPECT_EQ(12u, Size(doc).nX);
    EXPECT_EQ(10u, Size(doc).nY);
    EXPECT_EQ(shapetest::Words(expected), Content(doc));
}

TEST(DropShadowOperation, TypeItemDoesNotChangeThePixels) {
    ComPtr<IDocument> a = Image(8, 6, ShapePattern()), b = Image(8, 6, ShapePattern());
    ComPtr<IConfig> ca = ConfigOf(Shadow()), cb = ConfigOf(Shadow());
    Set(cb, "Type", "0");
    Set(ca, "Type", "1");
    EXPECT_EQ(S_OK, RunOperation(Shadow(), a, ca));
    EXPECT_EQ(S_OK, RunOperation(Shadow(), b, cb));
    EXPECT_EQ(Content(a), Content(b));
}

TEST(DropShadowOperation, EmptyWorkRectangleIsNothingToDo) {
    ComPtr<IDocument> doc = Document({4, 4}, {1, 1}, {0, 0}, {});
    ComPtr<IConfig> config = ConfigOf(Shadow());
    Set(config, "Size", "0");
    Set(config, "OffsetX", "0");
    Set(config, "OffsetY", "0");
    EXPECT_EQ(S_FALSE, RunOperation(Shadow(), doc, config));
    EXPECT_EQ(0u, Size(doc).nX);
}

TEST(DropShadowOperation, WrongItemTypesFailAndLeaveTheDocument) {
    ComPtr<IDocument> doc = Image(8, 6, ShapePattern());
    ComPtr<IConfig> other = ConfigOf(Operation<CDocumentOperationRasterImageShiftHue>());
    EXPECT_EQ(E_UNEXPECTED, RunOperation(Shadow(), doc, other));
    EXPECT_EQ(ShapePattern(), Content(doc));
    EXPECT_EQ(E_UNEXPECTED, RunOperation(Shadow(), doc, nullptr));
}

TEST(DropShadowOperation, HugeSizeIsRefusedWithoutCrashing) {
    ComPtr<IDocument> doc = Image(8, 6, ShapePattern());
    ComPtr<IConfig> config = ConfigOf(Shadow());
    Set(config, "Size", "1e30");
    EXPECT_EQ(E_OUTOFMEMORY, RunOperation(Shadow(), doc, config));
    EXPECT_EQ(ShapePattern(), Content(doc));
}

TEST(DropShadowOperation, MaskStateOfTheContextLimitsTheCoverage) {
    ComPtr<IDocument> doc = Image(8, 6, ShapePattern());
    ComPtr<IConfig> config = ConfigOf(Shadow());
    Set(config, "OffsetX", "0");
    Set(config, "OffsetY", "0");
    Set(config, "Size", "1");
    // Work rectangle (-1, -1) 10 x 8; the mask covers the right half of the canvas with 128.
    std::vector<uint8_t> bytes(4 * 6, 128);
    ComPtr<ISharedStateImageMask> mask = zthost::CreateImageMask(4, 0, 4, 6, 4, bytes.data());
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"SEL", mask);
    Set(config, "MaskID", "SEL");

    std::vector<TPixelChannel> expected = Tile(doc, {-1, -1}, {10, 8});
    std::vector<uint8_t> work(80, 0);
    for (int y = 1; y < 7; ++y)
        for (int x = 5; x < 9; ++x) work[y * 10 + x] = 128;
    SShadowParams params;
    params.size = 1.0f;
    params.shiftX = params.shiftY = 0.0f;
    DropShadow(expected.data(), 10, 8, params, work.data(), shapetest::Tables());

    EXPECT_EQ(S_OK, Shadow()->Activate(zthost::OperationManager(), doc, config, context, nullptr, LANG_ENGLISH));
    EXPECT_EQ(shapetest::Words(expected), Content(doc));
}

TEST(DropShadowOperation, MaskSelectingTheWholeWorkAreaIsNoMask) {
    ComPtr<IDocument> a = Image(8, 6, ShapePattern()), b = Image(8, 6, ShapePattern());
    ComPtr<IConfig> config = ConfigOf(Shadow());
    ComPtr<IOperationContext> context = zthost::CreateOperationContext();
    context->StateSet(u"IMAGEMASK", zthost::CreateRectangularMask(-10, -10, 40, 40));
    EXPECT_EQ(S_OK, Shadow()->Activate(zthost::OperationManager(), a, config, context, nullptr, LANG_ENGLISH));
    EXPECT_EQ(S_OK, RunOperation(Shadow(), b, config));
    EXPECT_EQ(Content(b), Content(a));
}

TEST(OutlineOperation, ListsItsNameAndItemsInOrder) {
    EXPECT_EQ("Raster Image - Outline", ListedName(Outlines()));
    ComPtr<IConfig> config = ConfigOf(Outlines());
    EXPECT_EQ(std::vector<std::string>({"Width", "Position", "Color", "BlendingMode"}), Keys(config));
    const auto items = zthost::DescribeConfig(config);
    EXPECT_EQ(2.0f, items[0].defaultValue->fVal);
    EXPECT_EQ(1, items[1].defaultValue->iVal);
    EXPECT_EQ(ECVTFloatColor, items[2].defaultValue->eTypeID);
    EXPECT_EQ(1.0f, items[2].defaultValue->vecVal[3]);
    EXPECT_EQ(1, items[3].defaultValue->iVal);
}

TEST(OutlineOperation, NameShowsColourOrWidth) {
    EXPECT_EQ("Outline", NameOf(Outlines(), nullptr));
    ComPtr<IConfig> config = ConfigOf(Outlines());
    Set(config, "Width", "2.25");
    {
        CNoColourNames none;
        EXPECT_EQ("Outline - 2.3", NameOf(Outlines(), config));
    }
    EXPECT_NE(std::string::npos, NameOf(Outlines(), config).find(", 2px"));
}

TEST(OutlineOperation, FilterAnswers) {
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(Outlines().get());
    ComPtr<ILayerStyle> style = ComPtr<ILayerStyle>::query(Outlines().get());
    EXPECT_EQ(58, style->ExecutionPriority());
    EXPECT_EQ(S_OK, style->StyleFlagGet());
    ComPtr<IConfig> config = ConfigOf(Outlines());
    auto grown = [&](const char* aWidth) {
        Set(config, "Width", aWidth);
        TRasterImageRect r{{0, 0}, {10, 10}};
        EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, nullptr, &r));
        TRasterImageRect n{{0, 0}, {10, 10}};
        EXPECT_EQ(S_OK, filter->NeededToCompute(config, nullptr, &n));
        EXPECT_EQ(r.tTL.nX, n.tTL.nX);
        EXPECT_EQ(r.tBR.nY, n.tBR.nY);
        return r.tBR.nX - 10;
    };
    EXPECT_EQ(3, grown("2"));
    EXPECT_EQ(4, grown("2.5"));
    EXPECT_EQ(2, grown("0"));  // raised to 0.1
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(nullptr, nullptr, nullptr));
    const TMatrix3x3f scale{{3, 0, 0, 0, 3, 0, 0, 0, 1}};
    Set(config, "Width", "2");
    EXPECT_EQ(S_OK, filter->Transform(config, nullptr, &scale));
    EXPECT_EQ(6.0f, ReadFloat(config, u"Width"));
    const TMatrix3x3f near{{1.00005f, 0, 0, 0, 1, 0, 0, 0, 1}};
    EXPECT_EQ(S_FALSE, filter->Transform(config, nullptr, &near));
}

TEST(OutlineOperation, RunAddsTheMarginAndMatchesTheRoutine) {
    ComPtr<IDocument> doc = Document({8, 6}, {0, 0}, {8, 6}, ShapePattern());
    ComPtr<IConfig> config = ConfigOf(Outlines());
    Set(config, "Width", "1.5");
    Set(config, "Position", "2");
    Set(config, "Color", "1,0,0,1");
    // M = trunc(ceil(1.5) + 1) = 3: transparent pixels around an image that reaches the canvas.
    std::vector<TPixelChannel> expected = Tile(doc, {-3, -3}, {14, 12});
    SOutlineParams params;
    params.width = 1.5f;
    params.position = EOutlineOutside;
    params.color[0] = 1.0f;
    params.mode = EOutlineReplace;
    Outline(expected.data(), 14, 12, params, shapetest::Tables());

    EXPECT_EQ(S_OK, RunOperation(Outlines(), doc, config));
    EXPECT_EQ(-3, Origin(doc).nX);
    EXPECT_EQ(14u, Size(doc).nX);
    EXPECT_EQ(12u, Size(doc).nY);
    EXPECT_EQ(shapetest::Words(expected), Content(doc));
    // The line stays whole on the side where the shape touched the canvas edge.
    EXPECT_EQ(0xFFFF0000u, PixelAt(doc, 7, 2));
}

TEST(OutlineOperation, WidthZeroStillShowsAThinPartialLine) {
    ComPtr<IDocument> doc = Image(8, 6, ShapePattern());
    ComPtr<IConfig> config = ConfigOf(Outlines());
    Set(config, "Width", "0");
    Set(config, "Position", "2");
    EXPECT_EQ(S_OK, RunOperation(Outlines(), doc, config));
    const uint32_t beside = PixelAt(doc, 1, 2);  // left of the opaque block
    EXPECT_NE(0u, beside >> 24);
    EXPECT_LT(beside >> 24, 255u);
}

TEST(OutlineOperation, ColourOfAnotherTypeFails) {
    ComPtr<IDocument> doc = Image(8, 6, ShapePattern());
    ComPtr<IConfig> config = ConfigOf(Shadow());  // "Color" is a long there
    EXPECT_EQ(E_UNEXPECTED, RunOperation(Outlines(), doc, config));
    EXPECT_EQ(ShapePattern(), Content(doc));
}

TEST(OutlineOperation, ShapeReachingTheCanvasKeepsItsOutsideLineWhole) {
    // An opaque image that fills its canvas: the margin of transparent pixels takes the line.
    ComPtr<IDocument> doc = Image(4, 4, std::vector<uint32_t>(16, 0xFF000000u));
    ComPtr<IConfig> config = ConfigOf(Outlines());
    Set(config, "Width", "1");
    Set(config, "Position", "2");
    Set(config, "Color", "1,0,0,1");
    EXPECT_EQ(S_OK, RunOperation(Outlines(), doc, config));
    EXPECT_EQ(-2, Origin(doc).nX);
    for (int32_t i = 0; i < 4; ++i) {
        EXPECT_EQ(0xFFFF0000u, PixelAt(doc, -1, i));
        EXPECT_EQ(0xFFFF0000u, PixelAt(doc, 4, i));
        EXPECT_EQ(0xFFFF0000u, PixelAt(doc, i, -1));
        EXPECT_EQ(0xFFFF0000u, PixelAt(doc, i, 4));
        EXPECT_EQ(0xFF000000u, PixelAt(doc, i, i));
    }
}

TEST(ShapeOperations, SamePixelsWhateverTheThreadCount) {
    // Both run on the calling thread; the pool's size must not matter.
    std::vector<uint32_t> results[2][2];
    const uint32_t counts[2] = {1, 4};
    for (int t = 0; t < 2; ++t) {
        zthost::SetThreadCount(counts[t]);
        ComPtr<IDocument> a = Image(8, 6, ShapePattern()), b = Image(8, 6, ShapePattern());
        EXPECT_EQ(S_OK, RunOperation(Shadow(), a, ConfigOf(Shadow())));
        EXPECT_EQ(S_OK, RunOperation(Outlines(), b, ConfigOf(Outlines())));
        results[t][0] = Content(a);
        results[t][1] = Content(b);
    }
    zthost::SetThreadCount(std::max(1u, std::thread::hardware_concurrency()));
    EXPECT_EQ(results[0][0], results[1][0]);
    EXPECT_EQ(results[0][1], results[1][1]);
}

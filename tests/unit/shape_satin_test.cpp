// Satin and the Stack Blur it shares with the other shape effects: the tables, a short line
// worked out by hand, the fold colour, and the run's edge cases.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "operations/shape/satin.h"
#include "operations/shape/satin_kernels.h"
#include "operations/shape/stack_blur_kernels.h"
#include "tests/unit/operation_test_support.h"
#include "tests/unit/shape_test_support.h"

using namespace zt;
using namespace optest;

namespace {

ComPtr<IDocumentOperation> Satin() { return Operation<CDocumentOperationRasterImageSatin>(); }

const SLinearTables& Tables() {
    static const SLinearTables tables = [] {
        SLinearTables t;
        MakeLinearTables(t);
        return t;
    }();
    return tables;
}

// An opaque 12 x 12 square in the middle of a clear 20 x 20 content.
std::vector<uint32_t> Square(uint32_t aColour = 0xFFC86432u) {
    std::vector<uint32_t> p(20 * 20, 0u);
    for (int y = 4; y < 16; ++y)
        for (int x = 4; x < 16; ++x) p[size_t(y) * 20 + x] = aColour;
    return p;
}

std::vector<uint32_t> RunSatin(const std::vector<uint32_t>& aPixels, IConfig* aConfig, HRESULT aExpected = S_OK) {
    ComPtr<IDocument> doc = Image(20, 20, aPixels);
    EXPECT_EQ(aExpected, RunOperation(Satin(), doc, aConfig));
    return Content(doc);
}

}  // namespace

TEST(StackBlurTables, ArePublishedOnes) {
    const uint16_t mul[] = {512, 512, 456, 512, 328, 456, 335, 512, 405, 328, 271, 456, 388, 335, 292, 512};
    const uint8_t shift[] = {9, 11, 12, 13, 13, 14, 14, 15, 15, 15, 15, 16, 16, 16, 16, 17};
    for (int r = 0; r < 16; ++r) {
        EXPECT_EQ(mul[r], kStackBlurTables.mul[r]) << r;
        EXPECT_EQ(shift[r], kStackBlurTables.shift[r]) << r;
    }
    EXPECT_EQ(259, kStackBlurTables.mul[254]);
    EXPECT_EQ(24, kStackBlurTables.shift[254]);
}

TEST(StackBlur, AShortLineByHand) {
    std::vector<uint8_t> work;
    // r = 1: weights 1, 2, 1 over 4 (x 512 >> 11).
    uint8_t line[] = {0, 0, 255, 0, 0};
    StackBlurLine(line, 5, 1, 1, work);
    EXPECT_EQ((std::vector<uint8_t>{0, 63, 127, 63, 0}), std::vector<uint8_t>(line, line + 5));
    // The edges are replicated: the window at 0 sees 100 twice over.
    uint8_t edge[] = {100, 0, 0};
    StackBlurLine(edge, 3, 1, 1, work);
    EXPECT_EQ((std::vector<uint8_t>{75, 25, 0}), std::vector<uint8_t>(edge, edge + 3));
    // r = 2 on a column two apart: weights 1, 2, 3, 2, 1 over 9 (x 456 >> 12).
    uint8_t column[] = {0, 9, 90, 9, 0, 9, 0, 9, 0, 9};
    StackBlurLine(column, 5, 2, 2, work);
    // The column is 0, 90, 0, 0, 0. x = 0: 90 x 2 = 180 -> 20; x = 1: 90 x 3 = 270 -> 30;
    // x = 2: 180 -> 20; x = 3: 90 -> 10.
    EXPECT_EQ(20, column[0]);
    EXPECT_EQ(30, column[2]);
    EXPECT_EQ(20, column[4]);
    EXPECT_EQ(10, column[6]);
    EXPECT_EQ(9, column[1]);  // the other column is untouched
}

TEST(StackBlur, RadiusZeroLeavesThePlaneAndRadiiAboveTheTableAreHeldAt254) {
    std::vector<uint8_t> plane = {1, 2, 3, 4, 5, 6};
    StackBlurPlane(plane.data(), 3, 2, 3, 0);
    EXPECT_EQ((std::vector<uint8_t>{1, 2, 3, 4, 5, 6}), plane);
    std::vector<uint32_t> wide(600, 1000), again(600, 1000);
    wide[300] = again[300] = 900000;
    std::vector<uint32_t> work;
    StackBlurLine(wide.data(), 600, 1, 254, work);
    StackBlurLine(again.data(), 600, 1, 4000, work);
    EXPECT_EQ(wide, again);
}

TEST(SatinShift, RoundsHalfAwayFromZero) {
    int32_t x = 0, y = 0;
    SatinShift(8.0f, 0.0f, &x, &y);
    EXPECT_EQ(8, x);
    EXPECT_EQ(0, y);
    SatinShift(2.5f, 180.0f, &x, &y);  // cos = -1: -2.5 -> -3
    EXPECT_EQ(-3, x);
    SatinShift(3.0f, 90.0f, &x, &y);  // sin = 1: y = -3
    EXPECT_EQ(-3, y);
    EXPECT_EQ(0u, SatinRadius(0.0f));
    EXPECT_EQ(0u, SatinRadius(-3.0f));
    EXPECT_EQ(3u, SatinRadius(2.1f));
}

TEST(SatinPixel, LaysTheColourOverByStrengthTimesAlphaInLinearLight) {
    // Worked out from the table formulas: lin[200] = 37852; d = 255 under black at alpha 128:
    // w = 32640, u = 32385, L = 37852 x 32385, L / 65025 mapped back is 146.
    const TPixelChannel black = shapetest::Px(0x80000000u);
    EXPECT_EQ(0xC8929292u, SatinPixel(shapetest::Px(0xC8C8C8C8u), 255, black, Tables()).n);
    // Byte 100 the same way: 71; a white fold at alpha 128 over byte 50: 191.
    EXPECT_EQ(0xFF474747u, SatinPixel(shapetest::Px(0xFF646464u), 255, black, Tables()).n);
    EXPECT_EQ(0xFFBFBFBFu, SatinPixel(shapetest::Px(0xFF323232u), 255, shapetest::Px(0x80FFFFFFu), Tables()).n);
    // Opaque black at strength 100: byte 200 becomes 160.
    EXPECT_EQ(0xFFA0A0A0u, SatinPixel(shapetest::Px(0xFFC8C8C8u), 100, shapetest::Px(0xFF000000u), Tables()).n);
}

TEST(SatinOperation, InvertedTheInsideTakesTheColourFullyAndTheOutsideStaysClear) {
    ComPtr<IConfig> config = ConfigOf(Satin());
    Set(config, "Size", "2");
    Set(config, "Blur", "0");
    Set(config, "Angle", "0");
    Set(config, "Color", "0,0,0,1");
    const std::vector<uint32_t> out = RunSatin(Square(), config);
    // Far inside the two samples agree: d = 0, inverted 255, the pixel becomes black.
    EXPECT_EQ(0xFF000000u, out[10 * 20 + 10]);
    // Two from the left edge, the left sample falls outside the square: d = 255, inverted 0.
    EXPECT_EQ(0xFFC86432u, out[10 * 20 + 5]);
    const std::vector<uint32_t> square = Square();
    for (size_t i = 0; i < out.size(); ++i) {
        if (square[i] != 0) continue;
        EXPECT_EQ(0u, out[i]) << i;
    }
}

TEST(SatinOperation, NotInvertedTheInsideStaysAndTheFoldsTakeTheColour) {
    ComPtr<IConfig> config = ConfigOf(Satin());
    Set(config, "Size", "2");
    Set(config, "Blur", "0");
    Set(config, "Angle", "0");
    Set(config, "Color", "0,0,0,1");
    Set(config, "Invert", "false");
    const std::vector<uint32_t> out = RunSatin(Square(), config);
    EXPECT_EQ(0xFFC86432u, out[10 * 20 + 10]);
    EXPECT_EQ(0xFF000000u, out[10 * 20 + 5]);
    EXPECT_EQ(0xFF000000u, out[10 * 20 + 14]);
}

TEST(SatinOperation, AClearColourOrAnEmptyContentIsNothingToDo) {
    ComPtr<IConfig> config = ConfigOf(Satin());
    Set(config, "Color", "1,0,0,0");
    EXPECT_EQ(Square(), RunSatin(Square(), config, S_FALSE));
    ComPtr<IDocument> empty = Document({4, 4}, {0, 0}, {0, 0}, {});
    EXPECT_EQ(S_FALSE, RunOperation(Satin(), empty, ConfigOf(Satin())));
    EXPECT_EQ(E_FAIL, RunOperation(Satin(), nullptr, ConfigOf(Satin())));
}

TEST(SatinOperation, NamesAndFilterAnswers) {
    ComPtr<IDocumentOperation> op = Satin();
    EXPECT_EQ("Raster Image - Satin", ListedName(op));
    EXPECT_EQ("Satin", NameOf(op, nullptr));
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(op.get());
    ComPtr<IConfig> config = ConfigOf(op);
    Set(config, "Angle", "0");  // shifts 8 by 0, blur 5
    TRasterImageRect rect{{0, 0}, {10, 10}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, nullptr, &rect));
    EXPECT_EQ(-13, rect.tTL.nX);
    EXPECT_EQ(-5, rect.tTL.nY);
    EXPECT_EQ(23, rect.tBR.nX);
    EXPECT_EQ(15, rect.tBR.nY);
    const TMatrix3x3f twice = {{2, 0, 0, 0, 2, 0, 0, 0, 1}};
    EXPECT_EQ(S_OK, filter->Transform(config, nullptr, &twice));
    EXPECT_EQ(16.0f, ReadFloat(config, u"Size"));
    EXPECT_EQ(10.0f, ReadFloat(config, u"Blur"));
    const TMatrix3x3f same = {{1, 0, 0, 0, 1, 0, 0, 0, 1}};
    EXPECT_EQ(S_FALSE, filter->Transform(config, nullptr, &same));
}

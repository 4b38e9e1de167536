// Shape gradient: the gradient text read, normalised and written, the commands of the gradient
// control, the colour table, and the run on small shapes.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "frame/utf.h"
#include "operations/shape/contour_gradient.h"
#include "operations/shape/contour_gradient_kernels.h"
#include "operations/shape/gradient_stops.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

std::string Text(const TGradient& aGradient) { return Utf16ToUtf8(GradientText(aGradient)); }
TGradient Parse(const std::string& aText) { return ParseGradient(Utf8ToUtf16(aText)); }
std::vector<int> Positions(const TGradient& aGradient) {
    std::vector<int> p;
    for (const auto& [position, stop] : aGradient) p.push_back(position);
    return p;
}

ComPtr<IDocumentOperation> Gradient() { return Operation<CRasterImageContourGradient>(); }

}  // namespace

TEST(GradientText, RoundTripsAndWritesShortNumbers) {
    const std::string text = "0,0,0,0,1;30000,1,0.5,0.25,0.75;65535,1,1,1,1;";
    EXPECT_EQ(text, Text(Parse(text)));
    EXPECT_EQ("0,0,0,0,1;65535,1,1,1,1;", Text(Parse("0,0,0,0,1;65535,1,1,1,1")));  // last ";" optional
    // Six significant digits, as %g writes them.
    EXPECT_EQ("0,0.333333,0,0,1;65535,1,1,1,1;", Text(Parse("0,0.3333333333,0,0,1;65535,1,1,1,1;")));
}

TEST(GradientText, NormalisationAddsEndsAndReplacesTooFewStops) {
    EXPECT_EQ("0,0,0,0,1;65535,1,1,1,1;", Text(Parse("")));
    EXPECT_EQ("0,0,0,0,1;65535,1,1,1,1;", Text(Parse("500,1,0,0,1;")));
    const TGradient two = Parse("100,1,0,0,1;200,0,0,1,0.5;");
    EXPECT_EQ((std::vector<int>{0, 100, 200, 65535}), Positions(two));
    EXPECT_EQ("0,1,0,0,1;100,1,0,0,1;200,0,0,1,0.5;65535,0,0,1,0.5;", Text(two));
}

TEST(GradientText, ReadingStopsWhereTheTextStopsMakingSense) {
    // A missing comma ends the reading; what was read stays and is normalised.
    EXPECT_EQ("0,1,0,0,1;300,0,1,0,1;65535,0,1,0,1;", Text(Parse("0,1,0,0,1;300,0,1,0,1;400,1 1,1,1;65535,1,1,1,1;")));
    // A position read twice keeps the later stop; a fractional position is cut.
    EXPECT_EQ("0,0,0,0,1;7,0,0,1,1;65535,1,1,1,1;", Text(Parse("0,0,0,0,1;7.9,1,0,0,1;7,0,0,1,1;65535,1,1,1,1;")));
}

TEST(GradientCommands, ReverseMirrorAndTheClipboard) {
    TGradient g = Parse("0,0,0,0,1;1000,1,0,0,1;65535,1,1,1,1;");
    ReverseGradient(g);
    EXPECT_EQ("0,1,1,1,1;64535,1,0,0,1;65535,0,0,0,1;", Text(g));
    g = Parse("0,0,0,0,1;1000,1,0,0,1;65535,1,1,1,1;");
    MirrorGradient(g);
    // 0 -> 0 and 65535; 1000 -> 500 and 65035; 65535 -> 32767, no copy.
    EXPECT_EQ((std::vector<int>{0, 500, 32767, 65035, 65535}), Positions(g));
    EXPECT_EQ(0.0f, g.at(65535).r);
    const std::u16string clip = GradientClipboardText(g);
    EXPECT_EQ(u"ZTGRAD1:", clip.substr(0, 8));
    TGradient pasted;
    ASSERT_TRUE(PasteGradient(clip, &pasted));
    EXPECT_EQ(Text(g), Text(pasted));
    EXPECT_FALSE(PasteGradient(u"ZTGRAD2:0,0,0,0,1;65535,1,1,1,1;", &pasted));
    EXPECT_FALSE(PasteGradient(u"ZTGRAD1:0,0,0,0,1;", &pasted));  // fewer than two stops
}

TEST(GradientCommands, RemovalsStretchWhatIsLeft) {
    TGradient g = Parse("0,0,0,0,1;16384,1,0,0,1;32768,0,1,0,1;65535,1,1,1,1;");
    RemoveGradientStopsLeft(g, 16384);
    // 16384 -> 0, 32768 -> (32768 - 16384) x 65535 / 49151 = 21845, 65535 stays.
    EXPECT_EQ((std::vector<int>{0, 21845, 65535}), Positions(g));
    EXPECT_EQ(1.0f, g.at(0).r);
    g = Parse("0,0,0,0,1;16384,1,0,0,1;32768,0,1,0,1;65535,1,1,1,1;");
    RemoveGradientStopsRight(g, 32768);
    // 16384 -> 16384 x 65535 / 32768 = 32767, 32768 -> 65535.
    EXPECT_EQ((std::vector<int>{0, 32767, 65535}), Positions(g));
    EXPECT_EQ(1.0f, g.at(65535).g);
    RemoveGradientStop(g, 32767);
    EXPECT_EQ((std::vector<int>{0, 65535}), Positions(g));
    RemoveGradientStop(g, 0);  // one stop left: back to black and white
    EXPECT_EQ("0,0,0,0,1;65535,1,1,1,1;", Text(g));
}

TEST(GradientTable, InterpolatesByAlphaAndIsZeroWhereAlphaIs) {
    const std::vector<SGradientStop> t = GradientToTable(Parse("0,1,0,0,1;65535,0,0,1,0;"), 3);
    // Entry 1 is at 32767: t = 32767 / 65535; alpha = 1 - t; red = 1 x 1 x (1 - t) / alpha = 1.
    EXPECT_EQ(1.0f, t[0].r);
    EXPECT_FLOAT_EQ(1.0f - 32767.0f / 65535.0f, t[1].a);
    EXPECT_FLOAT_EQ(1.0f, t[1].r);
    EXPECT_EQ(0.0f, t[1].b);
    // The last entry sits on the clear stop: it is that stop, not zero.
    EXPECT_EQ(1.0f, t[2].b);
    const std::vector<SGradientStop> clear = GradientToTable(Parse("0,1,0,0,0;65535,0,1,0,0;"), 3);
    EXPECT_EQ(0.0f, clear[1].r);
    EXPECT_EQ(0.0f, clear[1].g);
    EXPECT_EQ(0.0f, clear[1].a);
}

TEST(ContourGradientTable, FourEntriesPerPixelOfScaleAndTheLastRepeated) {
    const std::vector<TPixelChannel> t = ContourGradientTable(Parse(""), 1.0f);
    ASSERT_EQ(5u, t.size());
    EXPECT_EQ(0xFF000000u, t[0].n);  // black, opaque
    EXPECT_EQ(0xFFFFFFFFu, t[3].n);  // white
    EXPECT_EQ(t[3].n, t[4].n);
    EXPECT_EQ(4u * 3 + 1, ContourGradientTable(Parse(""), 2.5f).size());
}

TEST(ContourGradientOperation, ColoursTheShapeByDistanceAndKeepsEdgeAlpha) {
    // A 7 x 7 content: an opaque 5 x 5 square with a half-clear pixel on its edge.
    std::vector<uint32_t> p(49, 0u);
    for (int y = 1; y < 6; ++y)
        for (int x = 1; x < 6; ++x) p[size_t(y) * 7 + x] = 0xFF808080u;
    p[3 * 7 + 1] = 0x80808080u;
    ComPtr<IDocument> doc = Image(7, 7, p);
    ComPtr<IConfig> config = ConfigOf(Gradient());
    Set(config, "Scale", "2");  // T = 512, 8 entries plus one
    ASSERT_EQ(S_OK, RunOperation(Gradient(), doc, config));
    const std::vector<uint32_t> out = Content(doc);
    // Outside stays clear; the centre is 3 steps in: d = 512 (the limit), entry 8 = white.
    EXPECT_EQ(0u, out[0]);
    EXPECT_EQ(0xFFFFFFFFu, out[3 * 7 + 3]);
    // A corner of the square is one step from the ring: d = 256, entry 4 of 8 (grey 4/7 of the way).
    const std::vector<TPixelChannel> table = ContourGradientTable(Parse(""), 2.0f);
    EXPECT_EQ(table[4].n, out[1 * 7 + 1]);
    // The half-clear pixel: d = 128, entry 2, alpha 255 x 128 / 255.
    TPixelChannel edge = table[2];
    edge.bA = uint8_t(255u * 128 / 255);
    EXPECT_EQ(edge.n, out[3 * 7 + 1]);
}

TEST(ContourGradientOperation, NamesFilterAnswersAndNothingToDo) {
    ComPtr<IDocumentOperation> op = Gradient();
    EXPECT_EQ("Raster Image - Shape gradient", ListedName(op));
    EXPECT_EQ("Shape gradient", NameOf(op, ConfigOf(op)));
    ComPtr<IRasterImageFilter> filter = ComPtr<IRasterImageFilter>::query(op.get());
    ComPtr<IConfig> config = ConfigOf(op);
    Set(config, "Scale", "0.5");  // held at 1: sides move by 2
    TRasterImageRect rect{{0, 0}, {10, 10}};
    EXPECT_EQ(S_OK, filter->AdjustDirtyRect(config, nullptr, &rect));
    EXPECT_EQ(-2, rect.tTL.nX);
    EXPECT_EQ(12, rect.tBR.nY);
    const TMatrix3x3f half = {{0.5f, 0, 0, 0, 0.5f, 0, 0, 0, 1}};
    EXPECT_EQ(E_HOST_INVALID_PARAM, filter->Transform(nullptr, nullptr, &half));
    EXPECT_EQ(E_HOST_INVALID_PARAM, filter->Transform(config, nullptr, nullptr));
    EXPECT_EQ(S_OK, filter->Transform(config, nullptr, &half));
    EXPECT_EQ(0.25f, ReadFloat(config, u"Scale"));
    ComPtr<IDocument> empty = Document({4, 4}, {0, 0}, {0, 0}, {});
    EXPECT_EQ(S_FALSE, RunOperation(op, empty, ConfigOf(op)));
}

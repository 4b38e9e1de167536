// Compose over host documents: clipping, the fill mode, the source tiled from the unclipped
// corner, the fill around a partial source, and the refusals that leave the target as it was.
#include <gtest/gtest.h>

#include <vector>

#include "operations/script/compose.h"
#include "operations/script/compose_kernels.h"
#include "tests/unit/operation_test_support.h"

using namespace zt;
using namespace optest;

namespace {

constexpr uint32_t A = 0xFF112233u, B = 0xFF445566u, X = 0xFF000000u;

TVariant Object(IDocument* aDocument) {
    TVariant v = VariantEmpty();
    v.vt = VT_UNKNOWN;
    v.punkVal = aDocument;  // borrowed: the test holds the document
    return v;
}
TVariant Null() {
    TVariant v = VariantEmpty();
    v.vt = VT_NULL;
    return v;
}
TVariant Missing() {
    TVariant v = VariantEmpty();
    v.vt = VT_ERROR;
    v.scode = DISP_E_PARAMNOTFOUND;
    return v;
}

}  // namespace

TEST(Compose, TheSourceTilesFromTheUnclippedCorner) {
    ComPtr<IDocument> source = Image(2, 1, {A, B});
    ComPtr<IDocument> target = Image(5, 1, std::vector<uint32_t>(5, X));
    ASSERT_EQ(S_OK, ComposeRectangle(target, 0, 0, 5, 1, Object(source), 0, 0, Null(), OpSrc, Missing()));
    EXPECT_EQ((std::vector<uint32_t>{A, B, A, B, A}), Content(target));
    // A corner left of the canvas: the tiles keep their phase from it.
    ASSERT_EQ(S_OK, ComposeRectangle(target, -1, 0, 5, 1, Object(source), 0, 0, Null(), OpSrc, Missing()));
    EXPECT_EQ((std::vector<uint32_t>{B, A, B, A, B}), Content(target));
}

TEST(Compose, TheFillColourHasRedLowAndSurroundsAPartialSource) {
    ComPtr<IDocument> target = Image(4, 1, std::vector<uint32_t>(4, X));
    const TVariant red = VariantOfUnsigned(0xFF0000FFu);
    ASSERT_EQ(S_OK, ComposeRectangle(target, 0, 0, 4, 1, Null(), 0, 0, red, OpSrc, Missing()));
    EXPECT_EQ(std::vector<uint32_t>(4, 0xFFFF0000u), Content(target));
    // With a fill the source is not tiled: it covers its own place, the fill the rest.
    ComPtr<IDocument> source = Image(2, 1, {A, B});
    ASSERT_EQ(S_OK, ComposeRectangle(target, 0, 0, 4, 1, Object(source), -1, 0, red, OpSrc, Missing()));
    EXPECT_EQ((std::vector<uint32_t>{0xFFFF0000u, A, B, 0xFFFF0000u}), Content(target));
    // An empty value converts to 0 and turns the fill on: transparent black.
    ASSERT_EQ(S_OK, ComposeRectangle(target, 1, 0, 2, 1, Null(), 0, 0, VariantEmpty(), OpSrc, Missing()));
    EXPECT_EQ(0u, Content(target)[1]);
}

TEST(Compose, RefusalsLeaveTheTargetAsItWas) {
    const std::vector<uint32_t> pixels(4, X);
    ComPtr<IDocument> target = Image(2, 2, pixels);
    // Clipped away entirely: nothing to do.
    EXPECT_EQ(S_FALSE, ComposeRectangle(target, 5, 5, 9, 9, Null(), 0, 0, VariantOfUnsigned(1), OpSrc, Missing()));
    // Neither a source nor a fill.
    EXPECT_EQ(E_HOST_INVALID_PARAM, ComposeRectangle(target, 0, 0, 2, 2, Null(), 0, 0, Null(), OpSrc, Missing()));
    // An operator past the last.
    EXPECT_EQ(E_INVALIDARG,
              ComposeRectangle(target, 0, 0, 2, 2, Null(), 0, 0, VariantOfUnsigned(0xFF00FF00u), 42, Missing()));
    EXPECT_EQ(E_INVALIDARG, ComposeRectangle(nullptr, 0, 0, 2, 2, Null(), 0, 0, Null(), OpSrc, Missing()));
    EXPECT_EQ(pixels, Content(target));
}

TEST(Compose, ParametersOfTheArrayOperators) {
    // Height to normal of a flat source at scale 1 (parameter 1.0): straight up, alpha kept.
    ComPtr<IDocument> target = Image(2, 2, std::vector<uint32_t>(4, 0x80000000u));
    ComPtr<IDocument> flat = Image(2, 2, std::vector<uint32_t>(4, 0xFF808080u));
    ASSERT_EQ(S_OK,
              ComposeRectangle(target, 0, 0, 2, 2, Object(flat), 0, 0, Null(), OpHeightToNormal, VariantOf(1.0f)));
    EXPECT_EQ(std::vector<uint32_t>(4, 0x807F7FFEu), Content(target));
    // Channel mapping without a usable code leaves the target.
    ComPtr<IDocument> kept = Image(1, 1, {A});
    ASSERT_EQ(S_OK, ComposeRectangle(kept, 0, 0, 1, 1, Object(flat), 0, 0, Null(), OpMapChannels, Missing()));
    EXPECT_EQ(A, Content(kept)[0]);
}

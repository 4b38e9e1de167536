#include <gtest/gtest.h>

#include <vector>

#include "host/zthost.h"
#include "pixel/pixel_task.h"

using namespace zt;

namespace {

struct CTileRecorder final : CStackUnknown<IImageVisitor> {
    std::vector<TImageTile> tiles;
    HRESULT Visit(uint32_t aCount, const TImageTile* aTiles, void*) override {
        tiles.assign(aTiles, aTiles + aCount);
        return S_OK;
    }
};

// Adds 1 to the blue byte, so that every written pixel shows it was processed once.
struct CIncrementOp {
    static constexpr bool kKeepsAlphaTotal = true;
    std::atomic<uint64_t>* alphaTotal;
    TPixelChannel Apply(TPixelChannel p) const {
        p.bB = static_cast<uint8_t>(p.bB + 1);
        return p;
    }
};

}  // namespace

TEST(RectImageInspect, ContentRectangleIsOneTile) {
    TPixelChannel pixels[12] = {}, def{};
    CTileRecorder v;
    RectImageInspect({10, 20}, {4, 3}, pixels, 4, &def, {10, 20}, {4, 3}, &v);
    ASSERT_EQ(1u, v.tiles.size());
    EXPECT_EQ(pixels, v.tiles[0].pData);
    EXPECT_EQ(1u, v.tiles[0].nStrideX);
    EXPECT_EQ(4u, v.tiles[0].nStrideY);
    EXPECT_EQ(12u, v.tiles[0].nPixels);
}

TEST(RectImageInspect, RectangleAroundTheContentGivesFiveTilesInOrder) {
    TPixelChannel pixels[12] = {}, def{};
    CTileRecorder v;
    RectImageInspect({10, 20}, {4, 3}, pixels, 7, &def, {8, 18}, {8, 7}, &v);
    ASSERT_EQ(5u, v.tiles.size());
    auto check = [&](int i, int x, int y, uint32_t w, uint32_t h, bool isDefault) {
        EXPECT_EQ(x, v.tiles[i].nX) << i;
        EXPECT_EQ(y, v.tiles[i].nY) << i;
        EXPECT_EQ(w, v.tiles[i].nSizeX) << i;
        EXPECT_EQ(h, v.tiles[i].nSizeY) << i;
        if (isDefault) {
            EXPECT_EQ(&def, v.tiles[i].pData);
            EXPECT_EQ(0u, v.tiles[i].nStrideX);
            EXPECT_EQ(0u, v.tiles[i].nStrideY);
            EXPECT_EQ(1u, v.tiles[i].nPixels);
        }
    };
    check(0, 8, 18, 8, 2, true);    // above
    check(1, 8, 20, 2, 3, true);    // left
    check(2, 10, 20, 4, 3, false);  // content
    EXPECT_EQ(7u, v.tiles[2].nStrideY);
    check(3, 14, 20, 2, 3, true);  // right
    check(4, 8, 23, 8, 2, true);   // below
}

TEST(RectImageInspect, RectangleWhollyOutsideTheContentIsOneDefaultTile) {
    TPixelChannel pixels[12] = {}, def{};
    CTileRecorder v;
    RectImageInspect({10, 20}, {4, 3}, pixels, 4, &def, {100, -5}, {3, 2}, &v);
    ASSERT_EQ(1u, v.tiles.size());
    EXPECT_EQ(&def, v.tiles[0].pData);
    EXPECT_EQ(100, v.tiles[0].nX);
    EXPECT_EQ(3u, v.tiles[0].nSizeX);
    EXPECT_EQ(0u, v.tiles[0].nStrideX);
}

TEST(RectImageInspect, PartOfTheContentPointsIntoTheBuffer) {
    TPixelChannel pixels[12] = {}, def{};
    CTileRecorder v;
    RectImageInspect({10, 20}, {4, 3}, pixels, 4, &def, {12, 21}, {5, 1}, &v);
    ASSERT_EQ(2u, v.tiles.size());
    EXPECT_EQ(pixels + 4 + 2, v.tiles[0].pData);
    EXPECT_EQ(2u, v.tiles[0].nSizeX);
    EXPECT_EQ(14, v.tiles[1].nX);
}

namespace {

// A 4x3 content at (10, 20) of a 20x30 canvas, with distinct pixels and alphas.
ComPtr<IDocument> SmallDocument(TPixelChannel aDefault) {
    std::vector<TPixelChannel> content(12);
    for (uint32_t i = 0; i < 12; ++i) content[i].n = (i * 20 + 5) << 24 | i << 8;
    zthost::RasterImageInit init;
    init.canvas = {20, 30};
    init.contentOrigin = {10, 20};
    init.contentSize = {4, 3};
    init.pixels = content.data();
    init.defaultPixel = aDefault;
    return zthost::CreateRasterDocument(init);
}

}  // namespace

TEST(PixelLevelTask, EverySharePartitionProcessesEachPixelOnce) {
    TPixelChannel def;
    def.n = 0x7F000010u;
    ComPtr<IDocument> doc = SmallDocument(def);
    ComPtr<IDocumentRasterImage> image;
    doc->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    ASSERT_TRUE(image);
    CLockedImageBuffer source(image);
    // The rectangle reaches around the content: 8 wide, 7 high, from (8, 18).
    const TImagePoint start{8, 18}, end{16, 25};
    std::vector<TPixelChannel> expected(8 * 7);
    uint64_t expectedAlpha = 0;
    for (int y = 18; y < 25; ++y)
        for (int x = 8; x < 16; ++x) {
            bool inside = x >= 10 && x < 14 && y >= 20 && y < 23;
            TPixelChannel p = inside ? *source.At(x, y) : def;
            expectedAlpha += p.bA;
            p.bB = static_cast<uint8_t>(p.bB + 1);
            expected[(y - 18) * 8 + (x - 8)] = p;
        }
    for (uint32_t total : {1u, 2u, 3u, 7u}) {
        std::atomic<uint64_t> alpha{0};
        CIncrementOp op{&alpha};
        std::vector<TPixelChannel> out(8 * 7);
        CPixelLevelTask<CIncrementOp> task(&source, def, start, end, out.data(), &op);
        for (uint32_t i = 0; i < total; ++i) EXPECT_EQ(S_OK, task.Execute(i, total));
        for (size_t i = 0; i < out.size(); ++i) ASSERT_EQ(expected[i].n, out[i].n) << "shares " << total << " at " << i;
        EXPECT_EQ(expectedAlpha, alpha.load());
    }
}

TEST(PixelLevelTask, ShareTestIsStrictAndTheShareAtTheLineCountGetsTheRowBelow) {
    TPixelChannel def;
    def.n = 0x01000000u;
    ComPtr<IDocument> doc = SmallDocument(def);
    ComPtr<IDocumentRasterImage> image;
    doc->QueryFeatureInterface(IDocumentRasterImage::iid, image.out());
    CLockedImageBuffer source(image);
    std::atomic<uint64_t> alpha{0};
    CIncrementOp op{&alpha};
    // Three rows; the destination has room for a fourth so the documented extra row is visible.
    std::vector<TPixelChannel> out(4 * 4);
    CPixelLevelTask<CIncrementOp> task(&source, def, {10, 20}, {14, 23}, out.data(), &op);
    EXPECT_EQ(S_FALSE, task.Execute(4, 5));
    EXPECT_EQ(0u, out[12].n);
    EXPECT_EQ(S_OK, task.Execute(3, 5));
    EXPECT_EQ(0x01000001u, out[12].n);  // the row at the line count: the default pixel, below the content
}

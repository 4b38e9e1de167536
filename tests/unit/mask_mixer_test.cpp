// CMaskMixer, the mask state of the host, and the in-place expansion and compression of mask bytes.
#include <gtest/gtest.h>

#include <vector>

#include "host/masks.h"
#include "operations/fill/mask_mixer.h"
#include "operations/fill/modify_mask.h"
#include "tests/unit/shape_test_support.h"

using namespace zt;
using shapetest::Px;

TEST(MaskMixer, FullMaskOnOpaquePixelsGivesTheNewPixelExactly) {
    EXPECT_EQ(0xFF123456u, MixMasked(Px(0xFF123456u), Px(0xFFABCDEFu), 255).n);
}

TEST(MaskMixer, ZeroMaskOnOpaquePixelsGivesTheOldPixelExactly) {
    EXPECT_EQ(0xFFABCDEFu, MixMasked(Px(0xFF123456u), Px(0xFFABCDEFu), 0).n);
}

TEST(MaskMixer, NewAlphaZeroUnderFullMaskIsZero) { EXPECT_EQ(0u, MixMasked(Px(0x00123456u), Px(0xC8ABCDEFu), 255).n); }

TEST(MaskMixer, HalfMaskBetweenOpaqueAndTransparentKeepsTheColourAtAboutHalfAlpha) {
    // wNew = 255 x 128 = 32640, wOld = 0: colour of the new pixel, alpha 32640 / 255 = 128.
    EXPECT_EQ(0x80123456u, MixMasked(Px(0xFF123456u), Px(0x00FFFFFFu), 128).n);
    EXPECT_EQ(0x7F123456u, MixMasked(Px(0x00FFFFFFu), Px(0xFF123456u), 128).n);  // 255 x 127 / 255
}

TEST(MaskMixer, HalfMaskMixesEncodedValues) {
    // Blue 0 and 255 under weights 32640 and 32385: 255 x 32385 / 65025 = 127 (no gamma).
    EXPECT_EQ(0xFF00007Fu, MixMasked(Px(0xFF000000u), Px(0xFF0000FFu), 128).n);
    // Total just below 255 gives 0: alpha 1 under mask 254 and alpha 0.
    EXPECT_EQ(0u, MixMasked(Px(0x01FFFFFFu), Px(0x00FFFFFFu), 254).n);
}

TEST(MaskMixer, VisitWritesOnlyItsRectangleWithTileStrides) {
    std::vector<TPixelChannel> old(2 * 2);
    for (auto& p : old) p.n = 0xFF0000FFu;
    const std::vector<uint8_t> mask = {255, 0, 255, 255};
    CMaskMixer mixer(10, 20, 2, 2, mask.data(), old.data());
    // A 3 x 2 tile from (9, 20): its left column lies outside the mixer's rectangle.
    std::vector<TPixelChannel> tile(6);
    for (auto& p : tile) p.n = 0xFF00FF00u;
    const TImageTile t{CHANNEL_COLOR, 9, 20, 3, 2, 1, 3, 6, tile.data()};
    EXPECT_EQ(S_OK, mixer.Visit(1, &t, nullptr));
    EXPECT_EQ(0xFF00FF00u, old[0].n);
    EXPECT_EQ(0xFF0000FFu, old[1].n);
    EXPECT_EQ(0xFF00FF00u, old[2].n);
    EXPECT_EQ(0xFF00FF00u, old[3].n);
    // A one-value tile (stride 0) of the default pixel.
    TPixelChannel fill = Px(0x80FF0000u);
    const TImageTile one{CHANNEL_COLOR, 10, 20, 2, 1, 0, 0, 1, &fill};
    EXPECT_EQ(S_OK, mixer.Visit(1, &one, nullptr));
    EXPECT_EQ(0x80FF0000u, old[0].n);
}

TEST(MaskBytes, ExpandInPlaceFromTheLastQuarter) {
    std::vector<TPixelChannel> p(5);
    uint8_t* bytes = reinterpret_cast<uint8_t*>(p.data()) + 15;
    const uint8_t mask[5] = {0, 1, 128, 254, 255};
    std::copy(mask, mask + 5, bytes);
    ExpandMaskInPlace(p.data(), 5);
    EXPECT_EQ(std::vector<uint32_t>({0x00000000u, 0x01000000u, 0x80000000u, 0xFE000000u, 0xFF000000u}),
              shapetest::Words(p));
    const uint8_t* back = CompressMaskInPlace(p.data(), 5);
    EXPECT_EQ(std::vector<uint8_t>(mask, mask + 5), std::vector<uint8_t>(back, back + 5));
}

TEST(MaskState, BytesOutsideTheBoundsAreZero) {
    const std::vector<uint8_t> bytes = {10, 20, 30, 40};
    ComPtr<ISharedStateImageMask> mask = zthost::CreateImageMask(1, 1, 2, 2, 2, bytes.data());
    EXPECT_EQ(S_FALSE, mask->IsRectangular());
    std::vector<uint8_t> out(16, 99);
    EXPECT_EQ(S_OK, mask->GetMask(0, 0, 4, 4, 4, out.data()));
    EXPECT_EQ(std::vector<uint8_t>({0, 0, 0, 0, 0, 10, 20, 0, 0, 30, 40, 0, 0, 0, 0, 0}), out);
}

TEST(MaskState, BytesAreAMaskEvenWhenAllAreSetOnlyARectangleIsPlain) {
    EXPECT_EQ(S_OK, zthost::CreateRectangularMask(-2, 3, 3, 2)->IsRectangular());
    const std::vector<uint8_t> bytes(6, 255);
    ComPtr<ISharedStateImageMask> mask = zthost::CreateImageMask(-2, 3, 3, 2, 3, bytes.data());
    EXPECT_NE(S_OK, mask->IsRectangular());
    int32_t x, y;
    uint32_t w, h;
    mask->GetBounds(&x, &y, &w, &h);
    EXPECT_EQ(-2, x);
    EXPECT_EQ(3, y);
    EXPECT_EQ(3u, w);
    EXPECT_EQ(2u, h);
    uint8_t one = 0;
    mask->GetMask(-1, 4, 1, 1, 1, &one);
    EXPECT_EQ(255, one);
}

TEST(MaskState, NullBytesOrZeroSizeMakeAnEmptyMask) {
    ComPtr<ISharedStateImageMask> mask = zthost::CreateImageMask(1, 1, 5, 5, 5, nullptr);
    uint32_t w = 9, h = 9;
    mask->GetBounds(nullptr, nullptr, &w, &h);
    EXPECT_EQ(0u, w * h);
    const uint8_t b = 7;
    mask = zthost::CreateImageMask(1, 1, 0, 3, 0, &b);
    mask->GetBounds(nullptr, nullptr, &w, &h);
    EXPECT_EQ(0u, w);
}

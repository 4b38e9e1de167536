#include <gtest/gtest.h>

#include "host/zthost.h"
#include "pixel/colour.h"

using namespace zt;

namespace {
ComPtr<IGammaTableCache> Gamma() { return zthost::Create<IGammaTableCache>(CLSID_GammaTableCache); }
}  // namespace

TEST(SRGBTable, RoundTripReturnsEveryByte) {
    auto gamma = Gamma();
    ASSERT_TRUE(gamma);
    const uint16_t* t = gamma->GetSRGBTable();
    for (uint32_t i = 0; i < 256; ++i) EXPECT_EQ(i, LinearToSRGB8(t, t[i])) << "byte " << i;
}

TEST(LinearToSRGB8, EndsOfTheScale) {
    auto gamma = Gamma();
    ASSERT_TRUE(gamma);
    EXPECT_EQ(255, LinearToSRGB8(gamma->GetSRGBTable(), 65535));
    EXPECT_EQ(0, LinearToSRGB8(gamma->GetSRGBTable(), 0));
}

TEST(LinearToSRGB8, InterpolatesBetweenTableEntries) {
    // A table whose inverse half rises by 256 per entry interpolates to v itself.
    uint16_t t[513] = {};
    for (uint32_t k = 0; k < 256; ++k) t[256 + k] = static_cast<uint16_t>(k * 256);
    t[512] = 65535;
    EXPECT_EQ(0x12, LinearToSRGB8(t, 0x1234));
    // Last segment: a = 65280, b = 65535, f = 128: ((255 * 128 + 128) >> 8) + 65280 = 65408, >> 8 = 255.
    EXPECT_EQ(255, LinearToSRGB8(t, 0xFF80));
}

TEST(EncodeSRGB8, AgreesWithTheExactEncodingOnEveryByte) {
    auto gamma = Gamma();
    ASSERT_TRUE(gamma);
    const TSRGBFloatRecord* record = gamma->GetSRGBFloatTable();
    for (int i = 1; i < 255; ++i) {
        float x = record->toLinear[i];
        EXPECT_EQ(i, EncodeSRGB8(record, x)) << "byte " << i;
        EXPECT_EQ(i, FloatToSRGB8(x)) << "byte " << i;
    }
}

TEST(FloatToSRGB8, LimitsAndNegatives) {
    EXPECT_EQ(255, FloatToSRGB8(1.0f));
    EXPECT_EQ(255, FloatToSRGB8(1.5f));
    EXPECT_EQ(0, FloatToSRGB8(0.0f));
    EXPECT_EQ(0, FloatToSRGB8(-0.0f));
    EXPECT_EQ(0, FloatToSRGB8(-0.5f));
    EXPECT_EQ(0, FloatToSRGB8(-1e30f));
    // The linear segment: 0.003 * 12.92 * 255 + 0.5 = 10.38.
    EXPECT_EQ(10, FloatToSRGB8(0.003f));
    // Mid grey of linear light: 0.5 encodes to 187.5 + 0.5.
    EXPECT_EQ(188, FloatToSRGB8(0.5f));
}

TEST(SRGBToLinear, BothSegments) {
    EXPECT_FLOAT_EQ(0.0f, SRGBToLinear(0.0f));
    EXPECT_FLOAT_EQ(0.04f / 12.92f, SRGBToLinear(0.04f));
    EXPECT_NEAR(1.0f, SRGBToLinear(1.0f), 1e-6f);
    EXPECT_NEAR(0.2140411f, SRGBToLinear(0.5f), 1e-6f);
}

TEST(HLSChannel, PiecewiseOverTheTurn) {
    EXPECT_FLOAT_EQ(0.25f, HLSChannel(0.0f, 1.0f, 15.0f));
    EXPECT_FLOAT_EQ(1.0f, HLSChannel(0.0f, 1.0f, 60.0f));
    EXPECT_FLOAT_EQ(1.0f, HLSChannel(0.0f, 1.0f, 179.0f));
    EXPECT_FLOAT_EQ(0.5f, HLSChannel(0.0f, 1.0f, 210.0f));
    EXPECT_FLOAT_EQ(0.0f, HLSChannel(0.0f, 1.0f, 240.0f));
    EXPECT_FLOAT_EQ(0.0f, HLSChannel(0.0f, 1.0f, 359.0f));
}

TEST(HLSChannel, FoldsOneTurnOnly) {
    EXPECT_FLOAT_EQ(HLSChannel(0.2f, 0.8f, 0.0f), HLSChannel(0.2f, 0.8f, 720.0f));
    EXPECT_FLOAT_EQ(HLSChannel(0.2f, 0.8f, 0.0f), HLSChannel(0.2f, 0.8f, -360.0f));
    // -400 + 360 = -40 is not folded again: the first segment extrapolates below low.
    EXPECT_LT(HLSChannel(0.2f, 0.8f, -400.0f), 0.2f);
}

TEST(HLSToRGB, PrimaryAndGreyAndClamp) {
    SRGBf red = HLSToRGB(0.0f, 0.5f, 1.0f);
    EXPECT_FLOAT_EQ(1.0f, red.r);
    EXPECT_FLOAT_EQ(0.0f, red.g);
    EXPECT_FLOAT_EQ(0.0f, red.b);
    SRGBf green = HLSToRGB(120.0f, 0.5f, 1.0f);
    EXPECT_FLOAT_EQ(0.0f, green.r);
    EXPECT_FLOAT_EQ(1.0f, green.g);
    SRGBf grey = HLSToRGB(77.0f, 0.3f, 0.0f);
    EXPECT_FLOAT_EQ(0.3f, grey.r);
    EXPECT_FLOAT_EQ(0.3f, grey.b);
    SRGBf over = HLSToRGB(0.0f, 0.9f, 1.5f);  // high above 1 is clamped
    EXPECT_FLOAT_EQ(1.0f, over.r);
}

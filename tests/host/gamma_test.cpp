// The gamma service's tables.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "host/zthost.h"

namespace {

ComPtr<IGammaTableCache> Gamma() { return zthost::Create<IGammaTableCache>(CLSID_GammaTableCache); }

// Linear 16-bit value to an sRGB byte by the interpolation the module uses.
int LinearToSRGB8(const uint16_t* aTable, int aValue) {
    int i = aValue >> 8, f = aValue & 255;
    int a = aTable[256 + i], b = aTable[257 + i];
    return ((((b - a) * f + 128) >> 8) + a) >> 8;
}

// The fast float encoder: clamp to [2^-13, 1 - 2^-24], pick the segment, interpolate.
int EncodeSRGB8(const TSRGBFloatRecord& aRecord, float aValue) {
    const float lowest = std::ldexp(1.0f, -13), highest = 1.0f - std::ldexp(1.0f, -24);
    if (!(aValue > lowest)) aValue = lowest;
    if (aValue > highest) aValue = highest;
    uint32_t bits;
    std::memcpy(&bits, &aValue, 4);
    uint32_t entry = aRecord.encoder[(bits - 0x39000000u) >> 20];
    uint32_t bias = (entry >> 16) << 9, scale = entry & 0xFFFF, t = (bits >> 12) & 0xFF;
    return int((bias + scale * t) >> 16);
}

TEST(GammaTables, RoundTripOfThe16BitSRGBTableReturnsEveryByte) {
    auto gamma = Gamma();
    ASSERT_TRUE(gamma);
    const uint16_t* table = gamma->GetSRGBTable();
    for (int i = 0; i < 256; ++i) EXPECT_EQ(LinearToSRGB8(table, table[i]), i) << "byte " << i;
}

TEST(GammaTables, TheEndsOfTheScaleMapToTheEndsOfTheBytes) {
    const uint16_t* table = Gamma()->GetSRGBTable();
    EXPECT_EQ(table[0], 0);
    EXPECT_EQ(table[255], 65535);
    EXPECT_EQ(table[512], 65535);
    EXPECT_EQ(LinearToSRGB8(table, 0), 0);
    EXPECT_EQ(LinearToSRGB8(table, 65535), 255);
}

// Values worked out from the transfer functions with a calculator.
TEST(GammaTables, EntriesFollowTheTransferFunctionsWithTheirRounding) {
    const uint16_t* table = Gamma()->GetSRGBTable();
    EXPECT_EQ(table[1], 20);    // 1/255/12.92 * 65535 = 19.89
    EXPECT_EQ(table[10], 199);  // still on the straight segment
    EXPECT_EQ(table[11], 219);  // the first byte on the power curve
    EXPECT_EQ(table[128], 14146);
    EXPECT_EQ(table[254], 64952);
    EXPECT_EQ(table[256], 128);  // 0 * 65280 + 128.5
    EXPECT_EQ(table[257], 3370);
    EXPECT_EQ(table[320], 35190);
    EXPECT_EQ(table[384], 48132);
    EXPECT_EQ(table[511], 65296);
    for (int i = 1; i < 256; ++i) EXPECT_LT(table[i - 1], table[i]);
    for (int i = 257; i < 513; ++i) EXPECT_LT(table[i - 1], table[i]);
}

TEST(GammaTables, FloatRecordEncodesTheLinearValueOfEveryByteBackToIt) {
    const TSRGBFloatRecord* record = Gamma()->GetSRGBFloatTable();
    for (int i = 0; i < 256; ++i) EXPECT_EQ(EncodeSRGB8(*record, record->toLinear[i]), i) << "byte " << i;
}

TEST(GammaTables, FloatLinearValuesRunFromZeroToOne) {
    const TSRGBFloatRecord* record = Gamma()->GetSRGBFloatTable();
    EXPECT_EQ(record->toLinear[0], 0.0f);
    EXPECT_EQ(record->toLinear[255], 1.0f);
    for (int i = 1; i <= 10; ++i) EXPECT_EQ(record->toLinear[i], float(i / 255.0 / 12.92)) << i;
    EXPECT_NEAR(record->toLinear[128], 0.2158605, 1e-6);
    for (int i = 1; i < 256; ++i) EXPECT_LT(record->toLinear[i - 1], record->toLinear[i]);
}

TEST(GammaTables, FloatEncoderAgreesWithTheExactCurveWithinOne) {
    const TSRGBFloatRecord* record = Gamma()->GetSRGBFloatTable();
    for (int k = 0; k <= 4096; ++k) {
        double x = k / 4096.0;
        double exact = x <= 0.0031308 ? x * 12.92 : std::pow(x, 1 / 2.4) * 1.055 - 0.055;
        EXPECT_NEAR(EncodeSRGB8(*record, float(x)), exact * 255, 1.0) << x;
    }
}

TEST(GammaTables, TheTablesAreSharedByAllUsers) {
    EXPECT_EQ(Gamma()->GetSRGBTable(), Gamma()->GetSRGBTable());
    EXPECT_EQ(Gamma()->GetSRGBFloatTable(), Gamma()->GetSRGBFloatTable());
}

}  // namespace

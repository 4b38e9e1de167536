// The 16-bit table pair lin / gam and the mapping back to bytes.
#include <gtest/gtest.h>

#include "tests/unit/shape_test_support.h"

using namespace zt;
using shapetest::Tables;

TEST(ShapeLinearTables, LinearValuesOfBytesMatchTheSRGBCurve) {
    // ((u + 0.055) / 1.055)^2.4 x 65535 + 0.5, cut; u / 12.92 below 0.04045.
    EXPECT_EQ(0, Tables().lin[0]);
    EXPECT_EQ(20, Tables().lin[1]);
    EXPECT_EQ(2090, Tables().lin[50]);
    EXPECT_EQ(8352, Tables().lin[100]);
    EXPECT_EQ(14146, Tables().lin[128]);
    EXPECT_EQ(37852, Tables().lin[200]);
    EXPECT_EQ(65535, Tables().lin[255]);
}

TEST(ShapeLinearTables, EncodedValuesEndInFourGuardWords) {
    EXPECT_EQ(0, Tables().gam[0]);
    EXPECT_EQ(3266, Tables().gam[1]);
    EXPECT_EQ(48276, Tables().gam[128]);
    EXPECT_EQ(65422, Tables().gam[254]);
    EXPECT_EQ(65535, Tables().gam[255]);
    for (int i = 256; i < 260; ++i) EXPECT_EQ(0xFF00, Tables().gam[i]);
}

TEST(ShapeLinearTables, MappingBackInterpolatesAndReachesTheEnds) {
    EXPECT_EQ(0, LinearToByte(Tables(), 0));
    EXPECT_EQ(255, LinearToByte(Tables(), 65535));  // reads the guard word, a step down
    EXPECT_EQ(128, LinearToByte(Tables(), Tables().lin[128]));
    EXPECT_EQ(188, LinearToByte(Tables(), 32768));
    EXPECT_EQ(33, LinearToByte(Tables(), 1000));
}

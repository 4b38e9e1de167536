// The blur window's slider: radius on a logarithmic scale, angle and zoom linear.
#include <gtest/gtest.h>

#include "operations/blur/blur_slider.h"

using namespace zt;

TEST(BlurSlider, RadiusToPositionIsLogarithmicAndClamped) {
    // trunc(100 * log(2r) / log(500) + 0.5), worked out apart.
    EXPECT_EQ(0, BlurRadiusToPosition(0.5f));
    EXPECT_EQ(0, BlurRadiusToPosition(0.1f));  // held at 0.5
    EXPECT_EQ(11, BlurRadiusToPosition(1.0f));
    EXPECT_EQ(26, BlurRadiusToPosition(2.5f));
    EXPECT_EQ(29, BlurRadiusToPosition(3.0f));
    EXPECT_EQ(48, BlurRadiusToPosition(10.0f));
    EXPECT_EQ(59, BlurRadiusToPosition(20.0f));
    EXPECT_EQ(100, BlurRadiusToPosition(250.0f));
    EXPECT_EQ(100, BlurRadiusToPosition(1000.0f));  // held at 250
}

TEST(BlurSlider, PositionToRadiusRoundsByRange) {
    EXPECT_EQ(0.5f, BlurPositionToRadius(0));
    EXPECT_EQ(0.93f, BlurPositionToRadius(10));  // 0.9308 to hundredths
    EXPECT_EQ(1.73f, BlurPositionToRadius(20));  // 1.7329
    EXPECT_EQ(3.2f, BlurPositionToRadius(30));   // 3.226 to tenths
    EXPECT_EQ(9.9f, BlurPositionToRadius(48));   // 9.8736
    EXPECT_EQ(11.2f, BlurPositionToRadius(50));  // 11.180
    EXPECT_EQ(24.0f, BlurPositionToRadius(62));  // 23.568 to whole pixels
    EXPECT_EQ(72.0f, BlurPositionToRadius(80));  // 72.135
    EXPECT_EQ(250.0f, BlurPositionToRadius(100));
}

TEST(BlurSlider, AngleMapsFiveStepsPerDegree) {
    EXPECT_EQ(10, BlurAngleToPosition(2.0f));
    EXPECT_EQ(13, BlurAngleToPosition(2.5f));  // 12.5 + 0.5
    EXPECT_EQ(0, BlurAngleToPosition(-4.0f));
    EXPECT_EQ(100, BlurAngleToPosition(35.0f));
    EXPECT_EQ(2.0f, BlurPositionToAngle(10));
    EXPECT_EQ(20.0f, BlurPositionToAngle(100));
    EXPECT_EQ(float(13) * 0.2f, BlurPositionToAngle(13));
}

TEST(BlurSlider, ZoomIsThePositionUpToAHundred) {
    EXPECT_EQ(10, BlurZoomToPosition(10));
    EXPECT_EQ(100, BlurZoomToPosition(300));
    EXPECT_EQ(40, BlurPositionToZoom(40));
}

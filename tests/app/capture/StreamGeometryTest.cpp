#include "app/capture/StreamGeometry.h"
#include "tests/support/NoNumbers.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

/// Returns a length as an encoder that truncates scales it.
std::int64_t scaled(std::int64_t length, double scale) {
  return static_cast<std::int64_t>(static_cast<double>(length) * scale);
}

TEST(StreamGeometry, TheConfiguredSizeIsPointsTimesScaleTruncated) {
  EXPECT_EQ(configuredSize({1512, 982}, 2.0), (PixelSize{3024, 1964}));
  EXPECT_EQ(configuredSize({1512, 982}, 1.0), (PixelSize{1512, 982}));
  EXPECT_EQ(configuredSize({101, 33}, 1.5), (PixelSize{151, 49}));
  EXPECT_EQ(configuredSize({1, 1}, 1.0), (PixelSize{2, 2}));
  EXPECT_EQ(configuredSize({0, -10}, 2.0), (PixelSize{2, 2}));
}

TEST(StreamGeometryDeathTest, ASizeThatIsNoNumberStopsTheProgram) {
  EXPECT_DEATH(configuredSize({infinity, 10}, 2.0), "captured size");
  EXPECT_DEATH(configuredSize({10, nan}, 2.0), "captured size");
  EXPECT_DEATH(configuredSize({1e300, 10}, 2.0), "captured size");
}

TEST(StreamGeometry, APictureOfTheConfiguredSizeIsReducedExactlyAsAsked) {
  for (const double reduction : {1.0, 0.5, 1 / 1.5, 1 / 1.7, 1 / 1.1}) {
    EXPECT_EQ(fittingScale({3024, 1964}, {3024, 1964}, reduction), reduction);
  }
}

TEST(StreamGeometry, ALargerPictureIsReducedToFit) {
  EXPECT_EQ(scaled(3840, fittingScale({3840, 2160}, {2880, 1620}, 1.0)), 2880);
  EXPECT_EQ(scaled(3840, fittingScale({3840, 2160}, {3840, 2000}, 1.0)), 3555);
  EXPECT_EQ(scaled(2160, fittingScale({3840, 2160}, {3840, 2000}, 1.0)), 2000);
}

TEST(StreamGeometry, ASmallerPictureIsNeverEnlarged) {
  EXPECT_EQ(fittingScale({800, 600}, {1920, 1080}, 1.0), 1.0);
  EXPECT_EQ(fittingScale({800, 600}, {1920, 1200}, 0.5), 1.0);
}

TEST(StreamGeometry, APlainScreenIsSentAsItIsForBoth) {
  const PixelSize configured = configuredSize({1920, 1080}, 2.0);
  EXPECT_EQ(fittingScale({1920, 1080}, configured, 1.0), 1.0);
  EXPECT_EQ(fittingScale({1920, 1080}, configured, 1 / 2.0), 1.0);
}

TEST(StreamGeometry, ADenseScreenIsHalvedForMotion) {
  const PixelSize configured = configuredSize({1920, 1080}, 2.0);
  EXPECT_EQ(fittingScale({3840, 2160}, configured, 1.0), 1.0);
  EXPECT_EQ(fittingScale({3840, 2160}, configured, 1 / 2.0), 0.5);
}

TEST(StreamGeometry, MotionIsOnePixelPerPointAtEveryScaleAndDensity) {
  for (const double scale : {1.0, 1.1, 1.25, 1.3, 1.5, 1.7, 2.0}) {
    for (const std::int64_t density : {1, 2, 3}) {
      for (const std::int64_t points : {640, 1512, 1919, 1920, 2560}) {
        const PixelSize configured =
            configuredSize({static_cast<double>(points), static_cast<double>(points)}, scale);
        const PixelSize delivered{points * density, points * density};
        const double motion = fittingScale(delivered, configured, 1 / scale);
        EXPECT_NEAR(static_cast<double>(scaled(delivered.width, motion)),
                    static_cast<double>(points), 1)
            << scale << " " << density << " " << points;
      }
    }
  }
}

TEST(StreamGeometry, LessThanAPixelTooMuchStillFits) {
  // 1919 points at scale 1.3 are configured as 2494 pixels, of which 1 / 1.3 is 1918.46
  EXPECT_EQ(fittingScale({1919, 1000}, configuredSize({1919, 1000}, 1.3), 1 / 1.3), 1.0);
  EXPECT_LT(fittingScale({1920, 1000}, {1919, 1000}, 1.0), 1.0);
}

TEST(StreamGeometry, RoundingLosesNoPixel) {
  for (std::int64_t width = 400; width < 4000; ++width) {
    const double scale = fittingScale({width * 3, 300}, {width, 300}, 1.0);
    EXPECT_EQ(scaled(width * 3, scale), width);
  }
}

TEST(StreamGeometry, AnEmptyPictureIsLeftAlone) {
  EXPECT_EQ(fittingScale({0, 0}, {1920, 1080}, 0.5), 1.0);
}

}  // namespace
}  // namespace tarvinel

#include "core/frames/PixelBuffer.h"
#include "tests/support/NoNumbers.h"

#include <gtest/gtest.h>

#include <optional>

namespace tarvinel {
namespace {

constexpr PixelRegion whole{0, 0, 1920, 1080};

PixelRegion cropped(const std::optional<Rect>& crop) {
  return croppedRegion(1920, 1080, crop);
}

TEST(PixelRegion, WithoutACropItIsTheWholePicture) {
  EXPECT_EQ(cropped(std::nullopt), whole);
}

TEST(PixelRegion, ACropThatAsksForEverythingOrNothingIsTheWholePicture) {
  EXPECT_EQ(cropped(Rect{0, 0, 1920, 1080}), whole);
  EXPECT_EQ(cropped(Rect{-5, -5, 4000, 4000}), whole);
  EXPECT_EQ(cropped(Rect{1920, 0, 100, 100}), whole);
  EXPECT_EQ(cropped(Rect{-200, -200, 100, 100}), whole);
  EXPECT_EQ(cropped(Rect{10, 10, 0, 50}), whole);
  EXPECT_EQ(cropped(Rect{10, 10, 50, -1}), whole);
}

TEST(PixelRegion, ACropIsWidenedToWholePixels) {
  EXPECT_EQ(cropped(Rect{10.4, 20.6, 100.2, 50.1}), (PixelRegion{10, 20, 101, 51}));
  EXPECT_EQ(cropped(Rect{3.25, 3.25, 0.5, 0.5}), (PixelRegion{3, 3, 1, 1}));
}

TEST(PixelRegion, ACropIsCutAtTheEdges) {
  EXPECT_EQ(cropped(Rect{1900, 10, 100, 50}), (PixelRegion{1900, 10, 20, 50}));
  EXPECT_EQ(cropped(Rect{-10, -20, 50, 50}), (PixelRegion{0, 0, 40, 30}));
}

TEST(PixelRegion, RoundingNeverReachesPastTheEdge) {
  for (double x = 0.1; x < 1900; x += 0.7) {
    const PixelRegion region = cropped(Rect{x, x / 2, 1920 - x, 1080 - x / 2});
    EXPECT_EQ(region.x + region.width, 1920U) << x;
    EXPECT_EQ(region.y + region.height, 1080U) << x;
  }
}

TEST(PixelRegion, WildNumbersAreSafe) {
  EXPECT_EQ(cropped(Rect{-1e300, -1e300, 1e308, 1e308}), whole);
  EXPECT_EQ(cropped(Rect{nan, 0, 10, 10}), whole);
  EXPECT_EQ(cropped(Rect{0, nan, 10, 10}), whole);
  EXPECT_EQ(cropped(Rect{0, 0, nan, 10}), whole);
  EXPECT_EQ(cropped(Rect{-infinity, 0, infinity, 10}), whole);
  EXPECT_EQ(cropped(Rect{infinity, infinity, 10, 10}), whole);
  EXPECT_EQ(cropped(Rect{5, 5, infinity, infinity}), (PixelRegion{5, 5, 1915, 1075}));
}

TEST(PixelRegion, APictureWithoutPixelsStaysEmpty) {
  EXPECT_EQ(croppedRegion(0, 0, Rect{0, 0, 10, 10}), (PixelRegion{0, 0, 0, 0}));
}

}  // namespace
}  // namespace tarvinel

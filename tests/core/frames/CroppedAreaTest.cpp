#include "core/frames/PixelBuffer.h"
#include "tests/support/NoNumbers.h"

#include <gtest/gtest.h>

#include <optional>

namespace tarvinel {
namespace {

constexpr PixelRect fullHD{0, 0, 1920, 1080};

PixelRect cropped(const std::optional<Rect>& crop) {
  return croppedArea(1920, 1080, crop);
}

TEST(CroppedArea, WithoutACropItIsTheWholePicture) {
  EXPECT_EQ(cropped(std::nullopt), fullHD);
}

TEST(CroppedArea, ACropThatAsksForEverythingOrNothingIsTheWholePicture) {
  EXPECT_EQ(cropped(Rect{0, 0, 1920, 1080}), fullHD);
  EXPECT_EQ(cropped(Rect{-5, -5, 4000, 4000}), fullHD);
  EXPECT_EQ(cropped(Rect{1920, 0, 100, 100}), fullHD);
  EXPECT_EQ(cropped(Rect{-200, -200, 100, 100}), fullHD);
  EXPECT_EQ(cropped(Rect{10, 10, 0, 50}), fullHD);
  EXPECT_EQ(cropped(Rect{10, 10, 50, -1}), fullHD);
}

TEST(CroppedArea, ACropIsWidenedToWholePixels) {
  EXPECT_EQ(cropped(Rect{10.4, 20.6, 100.2, 50.1}), (PixelRect{10, 20, 101, 51}));
  EXPECT_EQ(cropped(Rect{3.25, 3.25, 0.5, 0.5}), (PixelRect{3, 3, 1, 1}));
}

TEST(CroppedArea, ACropIsCutAtTheEdges) {
  EXPECT_EQ(cropped(Rect{1900, 10, 100, 50}), (PixelRect{1900, 10, 20, 50}));
  EXPECT_EQ(cropped(Rect{-10, -20, 50, 50}), (PixelRect{0, 0, 40, 30}));
}

TEST(CroppedArea, RoundingNeverReachesPastTheEdge) {
  for (double x = 0.1; x < 1900; x += 0.7) {
    const PixelRect region = cropped(Rect{x, x / 2, 1920 - x, 1080 - x / 2});
    EXPECT_EQ(region.x + region.width, 1920) << x;
    EXPECT_EQ(region.y + region.height, 1080) << x;
  }
}

TEST(CroppedArea, WildNumbersAreSafe) {
  EXPECT_EQ(cropped(Rect{-1e300, -1e300, 1e308, 1e308}), fullHD);
  EXPECT_EQ(cropped(Rect{nan, 0, 10, 10}), fullHD);
  EXPECT_EQ(cropped(Rect{0, nan, 10, 10}), fullHD);
  EXPECT_EQ(cropped(Rect{0, 0, nan, 10}), fullHD);
  EXPECT_EQ(cropped(Rect{-infinity, 0, infinity, 10}), fullHD);
  EXPECT_EQ(cropped(Rect{infinity, infinity, 10, 10}), fullHD);
  EXPECT_EQ(cropped(Rect{5, 5, infinity, infinity}), (PixelRect{5, 5, 1915, 1075}));
}

TEST(CroppedArea, APictureWithoutPixelsStaysEmpty) {
  EXPECT_EQ(croppedArea(0, 0, Rect{0, 0, 10, 10}), (PixelRect{0, 0, 0, 0}));
}

}  // namespace
}  // namespace tarvinel

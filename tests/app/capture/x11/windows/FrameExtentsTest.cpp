#include "app/capture/x11/windows/FrameExtents.h"

#include <gtest/gtest.h>

namespace tarvinel::x11 {
namespace {

TEST(WithoutMargins, TakesOffWhatIsAroundTheWindow) {
  EXPECT_EQ(withoutMargins({100, 50, 400, 300}, {10, 20, 30, 40}), (PixelRect{110, 80, 370, 230}));
  EXPECT_EQ(withoutMargins({1, 2, 3, 4}, {}), (PixelRect{1, 2, 3, 4}));
}

TEST(WithoutMargins, NonsenseCountsAsNone) {
  const PixelRect window{0, 0, 400, 300};
  EXPECT_EQ(withoutMargins(window, {200, 200, 0, 0}), window);
  EXPECT_EQ(withoutMargins(window, {0, 0, 0xFFFFFFFF, 0xFFFFFFFF}), window);
  EXPECT_EQ(withoutMargins({}, {}), PixelRect{});
}

TEST(MarginsIn, ReadsFourNumbersAndNothingElse) {
  const std::string four("\1\0\0\0\2\0\0\0\3\0\0\0\4\0\0\0", 16);
  EXPECT_EQ(marginsIn(Property{6, 32, four}), (FrameExtents::Widths{1, 2, 3, 4}));
  EXPECT_EQ(marginsIn(Property{6, 8, four}), FrameExtents::Widths{});
  EXPECT_EQ(marginsIn(Property{6, 32, four.substr(0, 12)}), FrameExtents::Widths{});
  EXPECT_EQ(marginsIn(std::nullopt), FrameExtents::Widths{});
}

}  // namespace
}  // namespace tarvinel::x11

#include "app/capture/CursorImage.h"
#include "core/support/Bytes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel {
namespace {

using testing::Each;
using testing::ElementsAre;

/// A picture of 4 × 3 pixels with every byte 100, of a display at (10, 20).
struct Picture {
  static constexpr PixelRect frame{10, 20, 4, 3};
  Bytes bytes = Bytes(48, 100);

  void blend(const CursorImage& cursor) { blendCursor(cursor, frame, bytes.data(), 16); }
  std::vector<std::uint8_t> pixel(std::size_t x, std::size_t y) const {
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(y * 16 + x * 4);
    return {first, first + 4};
  }
};

CursorImage onePixel(std::int32_t x, std::int32_t y, std::uint32_t argb) {
  return {{x, y, 1, 1}, 1, {argb}};
}

TEST(BlendCursor, OpaquePixelsReplace) {
  Picture picture;
  picture.blend(onePixel(11, 21, 0xFF010203));
  EXPECT_THAT(picture.pixel(1, 1), ElementsAre(3, 2, 1, 100));
}

TEST(BlendCursor, TransparentPixelsLeaveEverything) {
  Picture picture;
  picture.blend(onePixel(11, 21, 0));
  EXPECT_THAT(picture.bytes, Each(100));
}

TEST(BlendCursor, HalfTransparentPixelsMixPremultiplied) {
  Picture picture;
  picture.blend(onePixel(11, 21, 0x80800040));
  // 100 × 127 / 255 = 49.8
  EXPECT_THAT(picture.pixel(1, 1), ElementsAre(64 + 50, 50, 128 + 50, 100));
}

TEST(BlendCursor, ColoursBrighterThanTheirAlphaAreCapped) {
  Picture picture;
  picture.blend(onePixel(11, 21, 0x00FFFFFF));
  EXPECT_THAT(picture.pixel(1, 1), ElementsAre(255, 255, 255, 100));
}

TEST(BlendCursor, IsCutAtEveryEdge) {
  Picture picture;
  picture.blend({{8, 18, 3, 3}, 1, std::vector<std::uint32_t>(9, 0xFF000000)});
  EXPECT_THAT(picture.pixel(0, 0), ElementsAre(0, 0, 0, 100));
  EXPECT_THAT(picture.pixel(1, 0), Each(100));
  EXPECT_THAT(picture.pixel(0, 1), Each(100));
  picture.blend({{13, 22, 3, 3}, 1, std::vector<std::uint32_t>(9, 0xFF000000)});
  EXPECT_THAT(picture.pixel(3, 2), ElementsAre(0, 0, 0, 100));
  EXPECT_THAT(picture.pixel(2, 2), Each(100));
}

TEST(BlendCursor, TakesTheRightPartOfACutCursor) {
  Picture picture;
  picture.blend({{9, 19, 2, 2}, 1, {0xFF000001, 0xFF000002, 0xFF000003, 0xFF000004}});
  EXPECT_THAT(picture.pixel(0, 0), ElementsAre(4, 0, 0, 100));
}

TEST(BlendCursor, ElsewhereDrawsNothing) {
  Picture picture;
  picture.blend(onePixel(14, 21, 0xFF000000));
  picture.blend(onePixel(-30000, 21, 0xFF000000));
  EXPECT_THAT(picture.bytes, Each(100));
}

TEST(CursorRows, AreThoseInsideTheFrame) {
  EXPECT_EQ(cursorRows({{11, 18, 1, 3}, 1, {}}, Picture::frame), (RowBand{0, 1}));
  EXPECT_EQ(cursorRows({{11, 22, 1, 9}, 1, {}}, Picture::frame), (RowBand{2, 1}));
  EXPECT_EQ(cursorRows({{14, 20, 1, 1}, 1, {}}, Picture::frame), std::nullopt);
}

TEST(CursorImage, IsTheSameWithTheSamePictureAtTheSamePlace) {
  const CursorImage cursor{{1, 2, 3, 4}, 5, {}};
  EXPECT_TRUE(cursor.sameAs({{1, 2, 3, 4}, 5, {}}));
  EXPECT_FALSE(cursor.sameAs({{2, 2, 3, 4}, 5, {}}));
  EXPECT_FALSE(cursor.sameAs({{1, 2, 3, 4}, 6, {}}));
}

}  // namespace
}  // namespace tarvinel

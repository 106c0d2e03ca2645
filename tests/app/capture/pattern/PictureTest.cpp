#include "app/capture/pattern/Picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstring>
#include <set>

namespace tarvinel::pattern {
namespace {

using testing::IsEmpty;

Bytes bytesOf(const MemoryPixelBuffer& buffer) {
  return {buffer.baseAddress(), buffer.baseAddress() + buffer.bytesPerRow() * buffer.height()};
}

Bytes drawn(std::int64_t step) {
  MemoryPixelBuffer buffer(Picture::pixelWidth, Picture::pixelHeight);
  Picture::draw(buffer, step);
  return bytesOf(buffer);
}

/// Returns whether a pixel is in rectangles of points.
bool isInside(const std::vector<Rect>& rects, std::size_t x, std::size_t y) {
  const Point point{static_cast<double>(x) / Picture::density,
                    static_cast<double>(y) / Picture::density};
  for (const Rect& rect : rects) {
    if (rect.contains(point)) return true;
  }
  return false;
}

TEST(PatternPicture, IsTheSameForTheSameStepAndDiffersForAnother) {
  EXPECT_EQ(drawn(41), drawn(41));
  EXPECT_NE(drawn(41), drawn(42));
}

TEST(PatternPicture, HasColourBarsOnTop) {
  const Bytes picture = drawn(0);
  const auto colourAt = [&](std::size_t x) {
    return std::vector<int>{picture[x * 4 + 2], picture[x * 4 + 1], picture[x * 4]};
  };
  EXPECT_EQ(colourAt(0), (std::vector<int>{255, 255, 255}));
  EXPECT_EQ(colourAt(320), (std::vector<int>{255, 255, 0}));
  EXPECT_EQ(colourAt(1599), (std::vector<int>{255, 0, 255}));
  EXPECT_EQ(colourAt(1600), (std::vector<int>{255, 0, 0}));
  EXPECT_EQ(colourAt(2559), (std::vector<int>{0, 0, 0}));
}

TEST(PatternPicture, RedrawingEqualsDrawingAndChangesOnlyWhatItSays) {
  MemoryPixelBuffer buffer(Picture::pixelWidth, Picture::pixelHeight);
  std::int64_t from = 0;
  Picture::draw(buffer, from);
  for (const std::int64_t to : {1, 2, 9, 10, 60, 74, 75, 99, 100, 999999, 1000000, 148}) {
    const Bytes before = bytesOf(buffer);
    const auto changed = Picture::redraw(buffer, from, to);
    const Bytes after = bytesOf(buffer);
    ASSERT_EQ(after, drawn(to)) << to;
    for (std::size_t i = 0; i < after.size(); i += 4) {
      const std::size_t pixel = i / 4;
      if (std::memcmp(&before[i], &after[i], 4) == 0) continue;
      ASSERT_TRUE(isInside(changed, pixel % Picture::pixelWidth, pixel / Picture::pixelWidth))
          << to;
    }
    from = to;
  }
}

TEST(PatternPicture, TheNextStepChangesASmallPart) {
  MemoryPixelBuffer buffer(Picture::pixelWidth, Picture::pixelHeight);
  Picture::draw(buffer, 7);
  double area = 0;
  for (const Rect& rect : Picture::redraw(buffer, 7, 8))
    area += rect.area();
  EXPECT_GT(area, 0.005 * Picture::width * Picture::height);
  EXPECT_LT(area, 0.03 * Picture::width * Picture::height);
}

TEST(PatternPicture, TheSameStepChangesNothing) {
  MemoryPixelBuffer buffer(Picture::pixelWidth, Picture::pixelHeight);
  Picture::draw(buffer, 7);
  EXPECT_THAT(Picture::redraw(buffer, 7, 7), IsEmpty());
}

TEST(PatternFont, GlyphsDifferAndFitTheirCell) {
  std::set<Glyph> glyphs;
  for (const char character : std::string("0123456789EPST")) {
    const Glyph glyph = patternGlyph(character);
    EXPECT_TRUE(glyphs.insert(glyph).second) << character;
    for (const std::uint8_t row : glyph)
      EXPECT_LT(row, 1U << glyphWidth);
  }
  EXPECT_EQ(patternGlyph(' '), Glyph{});
  EXPECT_EQ(patternGlyph('\xFF'), Glyph{});
}

}  // namespace
}  // namespace tarvinel::pattern

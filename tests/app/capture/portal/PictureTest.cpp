#include "app/capture/portal/Picture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <vector>

namespace tarvinel::portal {
namespace {

using testing::ElementsAre;

constexpr std::int32_t wide = 8;
constexpr std::int32_t high = 6;

using Bytes4 = std::array<std::uint8_t, 4>;

/// A producer's picture, in its own memory.
class Drawing {
 public:
  explicit Drawing(PixelOrder order = PixelOrder::bgr) : order_(order) {}

  void set(std::int32_t x, std::int32_t y, const Bytes4& pixel) {
    std::copy(pixel.begin(), pixel.end(), memory_.begin() + (y * wide + x) * 4);
  }

  RawPicture picture() const { return {memory_.data(), wide, high, wide * 4, order_}; }

 private:
  PixelOrder order_;
  std::vector<std::uint8_t> memory_ = std::vector<std::uint8_t>(wide * high * 4);
};

Bytes4 pixelAt(const CapturedFrame& frame, std::size_t x, std::size_t y) {
  const std::uint8_t* at = frame.buffer->baseAddress() + y * frame.buffer->bytesPerRow() + x * 4;
  return {at[0], at[1], at[2], at[3]};
}

constexpr Bytes4 ink{1, 2, 3, 255};

TEST(PortalPicture, TheFirstPictureIsWhole) {
  Picture shown;
  Drawing drawing;
  drawing.set(7, 5, ink);
  const auto frame = shown.update(drawing.picture(), PixelRects{{0, 0, 1, 1}});
  ASSERT_TRUE(frame);
  EXPECT_EQ(pixelAt(*frame, 7, 5), ink);
  EXPECT_THAT(*frame->dirtyRects, ElementsAre(Rect{0, 0, wide, high}));
}

TEST(PortalPicture, WhatDiffersInTheDamageIsTakenOver) {
  Picture shown;
  Drawing drawing;
  shown.update(drawing.picture(), std::nullopt);
  drawing.set(2, 3, ink);
  drawing.set(4, 4, ink);
  drawing.set(0, 0, ink);
  const auto frame = shown.update(drawing.picture(), PixelRects{{1, 2, 5, 3}});
  ASSERT_TRUE(frame);
  EXPECT_EQ(pixelAt(*frame, 2, 3), ink);
  EXPECT_EQ(pixelAt(*frame, 4, 4), ink);
  EXPECT_EQ(pixelAt(*frame, 0, 0), Bytes4{});
  EXPECT_THAT(*frame->dirtyRects, ElementsAre(Rect{2, 3, 3, 2}));
}

TEST(PortalPicture, DamageThatChangedNothingIsNoFrame) {
  Picture shown;
  const Drawing drawing;
  shown.update(drawing.picture(), std::nullopt);
  EXPECT_FALSE(shown.update(drawing.picture(), PixelRects{{0, 0, wide, high}}));
}

TEST(PortalPicture, WithoutDamageWhatDiffersIsFound) {
  Picture shown;
  Drawing drawing;
  shown.update(drawing.picture(), std::nullopt);
  drawing.set(2, 1, ink);
  drawing.set(5, 2, ink);
  drawing.set(7, 4, ink);
  const auto frame = shown.update(drawing.picture(), std::nullopt);
  ASSERT_TRUE(frame);
  EXPECT_THAT(*frame->dirtyRects, ElementsAre(Rect{2, 1, 4, 2}, Rect{7, 4, 1, 1}));
  EXPECT_EQ(pixelAt(*frame, 5, 2), ink);
  EXPECT_EQ(pixelAt(*frame, 7, 4), ink);
}

TEST(PortalPicture, ThatNothingDiffersIsNoFrame) {
  Picture shown;
  const Drawing drawing;
  shown.update(drawing.picture(), std::nullopt);
  EXPECT_FALSE(shown.update(drawing.picture(), std::nullopt));
  EXPECT_FALSE(shown.update(drawing.picture(), PixelRects{}));
}

TEST(PortalPicture, ThePaddingOfAPixelIsNoDifference) {
  Picture shown;
  Drawing drawing;
  shown.update(drawing.picture(), std::nullopt);
  drawing.set(2, 1, {0, 0, 0, 77});
  EXPECT_FALSE(shown.update(drawing.picture(), std::nullopt));
}

TEST(PortalPicture, RedAndBlueAreExchangedWhereTheyStandTheOtherWayRound) {
  Picture shown;
  Drawing drawing(PixelOrder::rgb);
  drawing.set(1, 0, {10, 20, 30, 40});
  const auto first = shown.update(drawing.picture(), std::nullopt);
  ASSERT_TRUE(first);
  EXPECT_EQ(pixelAt(*first, 1, 0), (Bytes4{30, 20, 10, 40}));
  EXPECT_FALSE(shown.update(drawing.picture(), std::nullopt));
  drawing.set(3, 2, {1, 2, 3, 0});
  const auto second = shown.update(drawing.picture(), std::nullopt);
  ASSERT_TRUE(second);
  EXPECT_THAT(*second->dirtyRects, ElementsAre(Rect{3, 2, 1, 1}));
  EXPECT_EQ(pixelAt(*second, 3, 2), (Bytes4{3, 2, 1, 0}));
}

CursorImage whiteCursorAt(std::int32_t x, std::int32_t y) {
  return {{x, y, 2, 2}, 1, std::vector<std::uint32_t>(4, 0xFFFFFFFF)};
}

constexpr Bytes4 white{255, 255, 255, 0};
constexpr Bytes4 black{0, 0, 0, 0};

TEST(PortalPicture, TheCursorIsDrawnWhereItIsAndNowhereElse) {
  Picture shown;
  const Drawing drawing;
  EXPECT_FALSE(shown.showCursor(whiteCursorAt(1, 1)));  // nothing to draw it on
  const auto first = shown.update(drawing.picture(), std::nullopt);
  EXPECT_EQ(pixelAt(*first, 2, 2), white);
  const auto moved = shown.showCursor(whiteCursorAt(7, 5));
  ASSERT_TRUE(moved);
  EXPECT_EQ(pixelAt(*moved, 2, 2), black);
  EXPECT_EQ(pixelAt(*moved, 7, 5), white);
  EXPECT_THAT(*moved->dirtyRects, ElementsAre(Rect{1, 1, 2, 2}, Rect{7, 5, 1, 1}));
  const auto hidden = shown.showCursor(std::nullopt);
  EXPECT_EQ(pixelAt(*hidden, 7, 5), black);
  EXPECT_FALSE(shown.showCursor(whiteCursorAt(-2, 0)));
  EXPECT_FALSE(shown.showCursor(whiteCursorAt(8, 0)));
}

TEST(PortalPicture, TheCursorIsNoDifferenceBetweenPictures) {
  Picture shown;
  Drawing drawing;
  shown.update(drawing.picture(), std::nullopt);
  shown.showCursor(whiteCursorAt(3, 3));
  EXPECT_FALSE(shown.update(drawing.picture(), std::nullopt));
  drawing.set(3, 3, ink);
  const auto below = shown.update(drawing.picture(), std::nullopt);
  ASSERT_TRUE(below);
  EXPECT_EQ(pixelAt(*below, 3, 3)[0], 255);
  EXPECT_EQ(pixelAt(*shown.showCursor(std::nullopt), 3, 3), ink);
}

TEST(PortalPicture, TheCursorStaysInAPictureOfAnotherSize) {
  Picture shown;
  const Drawing drawing;
  shown.update(drawing.picture(), std::nullopt);
  shown.showCursor(whiteCursorAt(0, 0));
  const auto smaller = shown.update(drawing.picture().part({1, 1, 3, 2}), std::nullopt);
  EXPECT_EQ(pixelAt(*smaller, 1, 1), white);
}

TEST(PortalPicture, AnotherSizeMakesAnotherBuffer) {
  Picture shown;
  const Drawing drawing;
  const auto before = shown.update(drawing.picture(), std::nullopt);
  const auto after = shown.update(drawing.picture().part({1, 1, 3, 2}), PixelRects{});
  ASSERT_TRUE(after);
  EXPECT_NE(after->buffer, before->buffer);
  EXPECT_EQ(after->buffer->width(), 3U);
  EXPECT_EQ(after->buffer->height(), 2U);
  EXPECT_THAT(*after->dirtyRects, ElementsAre(Rect{0, 0, 3, 2}));
}

}  // namespace
}  // namespace tarvinel::portal

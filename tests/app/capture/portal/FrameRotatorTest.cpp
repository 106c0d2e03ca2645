#include "app/capture/portal/VideoTransform.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>
#include <stdexcept>
#include <vector>

namespace tarvinel::portal {
namespace {

using testing::ElementsAre;
using Pixels = std::vector<std::uint32_t>;

// Three wide and two high:  1 2 3
//                           4 5 6
const Pixels drawn{1, 2, 3, 4, 5, 6};

RawPicture pictureOf(const Pixels& pixels, std::int32_t width) {
  return {reinterpret_cast<const std::uint8_t*>(pixels.data()), width,
          static_cast<std::int32_t>(pixels.size()) / width,
          static_cast<std::size_t>(width) * bytesPerPixel, PixelOrder::bgr};
}

Pixels pixelsOf(const RawPicture& picture) {
  Pixels pixels(static_cast<std::size_t>(picture.width) * static_cast<std::size_t>(picture.height));
  for (std::int32_t y = 0; y < picture.height; ++y) {
    std::memcpy(pixels.data() + static_cast<std::size_t>(y * picture.width), picture.row(y),
                static_cast<std::size_t>(picture.width) * bytesPerPixel);
  }
  return pixels;
}

Pixels turned(std::uint32_t transform) {
  FrameRotator upright;
  return pixelsOf(
      upright.turn(pictureOf(drawn, 3), VideoTransform::read(transform), std::nullopt).picture);
}

TEST(FrameRotator, UndoesWhatTheProducerDid) {
  EXPECT_THAT(turned(0), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(turned(1), ElementsAre(4, 1, 5, 2, 6, 3));
  EXPECT_THAT(turned(2), ElementsAre(6, 5, 4, 3, 2, 1));
  EXPECT_THAT(turned(3), ElementsAre(3, 6, 2, 5, 1, 4));
  EXPECT_THAT(turned(4), ElementsAre(3, 2, 1, 6, 5, 4));
  EXPECT_THAT(turned(5), ElementsAre(1, 4, 2, 5, 3, 6));
  EXPECT_THAT(turned(6), ElementsAre(4, 5, 6, 1, 2, 3));
  EXPECT_THAT(turned(7), ElementsAre(6, 3, 5, 2, 4, 1));
}

TEST(FrameRotator, ANumberThatMeansNothingIsUpright) {
  EXPECT_THAT(turned(8), ElementsAre(1, 2, 3, 4, 5, 6));
  EXPECT_THAT(turned(std::numeric_limits<std::uint32_t>::max()), ElementsAre(1, 2, 3, 4, 5, 6));
}

class EachTransform : public testing::TestWithParam<std::uint32_t> {
 protected:
  const VideoTransform transform = VideoTransform::read(GetParam());
  const PixelRect area{0, 0, 3, 2};
  FrameRotator upright;
};

TEST_P(EachTransform, ChangesStandWhereTheirPixelsAre) {
  upright.turn(pictureOf(drawn, 3), transform, std::nullopt);
  Pixels again = drawn;
  again[2] = 30;  // top right
  const auto result = upright.turn(pictureOf(again, 3), transform, PixelRects{{1, 0, 2, 1}});
  FrameRotator whole;
  EXPECT_EQ(pixelsOf(result.picture),
            pixelsOf(whole.turn(pictureOf(again, 3), transform, std::nullopt).picture));
  ASSERT_TRUE(result.changed);
  ASSERT_EQ(result.changed->size(), 1U);
  const PixelRect place = result.changed->front();
  Pixels found = pixelsOf(result.picture.part(place));
  std::sort(found.begin(), found.end());
  EXPECT_THAT(found, ElementsAre(2, 30));
}

TEST_P(EachTransform, WhatDidNotChangeIsNotLookedAt) {
  const Pixels before =
      pixelsOf(upright.turn(pictureOf(drawn, 3), transform, std::nullopt).picture);
  const Pixels others(6, 99);
  const auto result = upright.turn(pictureOf(others, 3), transform, PixelRects{});
  EXPECT_THAT(result.changed, testing::Optional(testing::IsEmpty()));
  if (!transform.isUpright()) {
    EXPECT_EQ(pixelsOf(result.picture), before);
  }
}

TEST_P(EachTransform, ThePlaceOfThePictureIsThePlaceOfAllOfIt) {
  EXPECT_EQ(transform.upright(area, area), transform.uprightArea(area));
}

TEST_P(EachTransform, ACursorIsTurnedWithThePicture) {
  const CursorImage cursor{{0, 1, 3, 1}, 7, {4, 5, 6}};
  const CursorImage back = transform.upright(cursor, area);
  EXPECT_EQ(back.serial, 7U);
  const auto picture = upright.turn(pictureOf(drawn, 3), transform, std::nullopt).picture;
  EXPECT_EQ(back.pixels, pixelsOf(picture.part(back.area)));
}

INSTANTIATE_TEST_SUITE_P(All, EachTransform, testing::Range(0U, 8U));

TEST(FrameRotator, RowsThatAreNotWholePixelsApartEndNothing) {
  const std::vector<std::uint8_t> bytes(64);
  const RawPicture skewed{bytes.data(), 3, 2, 13, PixelOrder::bgr};
  for (const std::uint32_t transform : {1U, 3U, 5U, 7U}) {
    FrameRotator upright;
    EXPECT_THROW(upright.turn(skewed, VideoTransform::read(transform), std::nullopt),
                 std::runtime_error);
  }
}

TEST(FrameRotator, AnotherTransformOrSizeChangesAll) {
  FrameRotator upright;
  upright.turn(pictureOf(drawn, 3), VideoTransform::read(1), std::nullopt);
  const auto other = upright.turn(pictureOf(drawn, 3), VideoTransform::read(3), PixelRects{});
  EXPECT_EQ(other.changed, std::nullopt);
  EXPECT_THAT(pixelsOf(other.picture), ElementsAre(3, 6, 2, 5, 1, 4));
  const auto size = upright.turn(pictureOf(drawn, 2), VideoTransform::read(3), PixelRects{});
  EXPECT_EQ(size.changed, std::nullopt);
  const auto none = upright.turn(pictureOf(drawn, 2), VideoTransform::read(0), PixelRects{});
  EXPECT_EQ(none.changed, std::nullopt);
}

}  // namespace
}  // namespace tarvinel::portal

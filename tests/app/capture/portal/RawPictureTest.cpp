#include "app/capture/portal/RawPicture.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <limits>
#include <vector>

namespace tarvinel::portal {
namespace {

using Int = std::numeric_limits<std::int32_t>;
using Unsigned = std::numeric_limits<std::uint32_t>;

// Four pixels wide and three rows high, rows of five pixels.
constexpr VideoFormat fourByThree{PixelOrder::bgr, 4, 3};
constexpr std::uint32_t bytesNeeded = 2 * 20 + 16;

class RawPictureTest : public testing::Test {
 protected:
  RawBuffer buffer() const { return {memory.data(), memory.size(), 8, bytesNeeded, 20, false}; }

  const std::vector<std::uint8_t> memory = std::vector<std::uint8_t>(8 + bytesNeeded);
};

TEST_F(RawPictureTest, ABufferThatJustHoldsThePictureIsTaken) {
  const auto picture = pictureIn(buffer(), fourByThree);
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->pixels, memory.data() + 8);
  EXPECT_EQ(picture->width, 4);
  EXPECT_EQ(picture->height, 3);
  EXPECT_EQ(picture->bytesPerRow, 20U);
}

TEST_F(RawPictureTest, WithoutAStrideRowsHaveNoGaps) {
  RawBuffer given = buffer();
  given.stride = 0;
  EXPECT_EQ(pictureIn(given, fourByThree)->bytesPerRow, 16U);
}

TEST_F(RawPictureTest, ABufferWithoutAPictureIsNotTaken) {
  RawBuffer corrupted = buffer();
  corrupted.corrupted = true;
  EXPECT_FALSE(pictureIn(corrupted, fourByThree));
  RawBuffer empty = buffer();
  empty.size = 0;
  EXPECT_FALSE(pictureIn(empty, fourByThree));
  EXPECT_FALSE(pictureIn({}, fourByThree));
}

TEST_F(RawPictureTest, SizesThatDoNotFitTheMemoryAreNotTaken) {
  const auto refuses = [&](auto spoil) {
    RawBuffer given = buffer();
    spoil(given);
    return !pictureIn(given, fourByThree);
  };
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.mapped -= 1; }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.mapped = 0; }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.size -= 1; }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.offset += 1; }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.offset = Unsigned::max(); }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.stride = 15; }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.stride = 21; }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.stride = Int::max(); }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.stride = -20; }));
  EXPECT_TRUE(refuses([](RawBuffer& given) { given.stride = Int::min(); }));
}

TEST_F(RawPictureTest, RowsThatAreNotWholePixelsApartAreNotTaken) {
  const std::vector<std::uint8_t> large(1000);
  for (std::int32_t stride = 16; stride <= 32; ++stride) {
    const RawBuffer given{large.data(), large.size(), 0, 1000, stride, false};
    EXPECT_EQ(pictureIn(given, fourByThree).has_value(), stride % 4 == 0) << stride;
  }
}

TEST_F(RawPictureTest, RowsThatAreFartherApartThanAnIntCountsAreNotTaken) {
  RawBuffer given = buffer();
  given.offset = 0;
  given.mapped = Unsigned::max();  // as claimed; nothing of it is read here
  given.size = Unsigned::max();
  given.stride = (Int::max() - 16) / 2 / 4 * 4;
  EXPECT_TRUE(pictureIn(given, fourByThree));
  given.stride += 8;
  EXPECT_FALSE(pictureIn(given, fourByThree));
}

TEST_F(RawPictureTest, APictureLargerThanItsMemoryIsNotTaken) {
  RawBuffer given = buffer();
  given.size = Unsigned::max();
  const auto longest = static_cast<std::int32_t>(VideoFormat::longest);
  given.stride = longest * 4;
  EXPECT_FALSE(pictureIn(given, {PixelOrder::bgr, longest, longest}));
}

TEST_F(RawPictureTest, APartKeepsItsPlace) {
  const auto part = pictureIn(buffer(), fourByThree)->part({1, 2, 3, 1});
  EXPECT_EQ(part.pixels, memory.data() + 8 + 2 * 20 + 4);
  EXPECT_EQ(part.width, 3);
  EXPECT_EQ(part.height, 1);
  EXPECT_EQ(part.bytesPerRow, 20U);
}

TEST(ClippedRegion, IsThePartInside) {
  const PixelRect area{0, 0, 100, 50};
  EXPECT_EQ(clipped({10, 20, 30, 40}, area), (PixelRect{10, 20, 30, 30}));
  EXPECT_EQ(clipped({-10, -20, 30, 40}, area), (PixelRect{0, 0, 20, 20}));
  EXPECT_EQ(clipped({0, 0, 100, 50}, area), area);
}

TEST(ClippedRegion, IsEmptyOutside) {
  const PixelRect area{0, 0, 100, 50};
  EXPECT_TRUE(clipped({100, 0, 10, 10}, area).isEmpty());
  EXPECT_TRUE(clipped({0, -10, 10, 10}, area).isEmpty());
  EXPECT_TRUE(clipped({5, 5, 0, 10}, area).isEmpty());
}

TEST(ClippedRegion, SurvivesAnyNumbers) {
  const PixelRect area{0, 0, 100, 50};
  EXPECT_EQ(clipped({Int::min(), Int::min(), Unsigned::max(), Unsigned::max()}, area), area);
  EXPECT_TRUE(clipped({Int::max(), Int::max(), Unsigned::max(), Unsigned::max()}, area).isEmpty());
  EXPECT_EQ(clipped({0, 0, Unsigned::max(), 1}, area), (PixelRect{0, 0, 100, 1}));
}

}  // namespace
}  // namespace tarvinel::portal

#include "app/capture/portal/PictureCopy.h"
#include "tests/support/MemoryFile.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel {
namespace {

using test::MemoryFile;
/// A picture of one byte over and over, in memory that its owner can cut off.
class PictureCopyTest : public testing::TestWithParam<std::size_t> {
 public:
  static constexpr std::int32_t columns = 4;
  static constexpr std::int32_t rows = 3;
  static constexpr std::size_t noGaps = columns * bytesPerPixel;
  static constexpr std::size_t withGaps = noGaps + 4;

 protected:
  static constexpr std::size_t place = 8;  // bytes before the first row

  static std::uint8_t at(const RawPicture& picture, std::int32_t x, std::int32_t y) {
    return picture.row(y)[static_cast<std::size_t>(x) * bytesPerPixel];
  }

  RawPicture layout(std::int32_t height) const {
    return {nullptr, columns, height, bytesPerRow(), PixelOrder::rgb};
  }

  std::size_t bytesPerRow() const { return GetParam(); }
  std::size_t bytes() const { return place + (rows - 1) * bytesPerRow() + noGaps; }

  void fill(std::uint8_t byte) {
    ASSERT_TRUE(file.write(0, std::vector<std::uint8_t>(bytes(), byte)));
  }

  std::optional<RawPicture> read(const std::optional<PictureCopy::Rects>& changed) {
    return copy.read(SharedMemory(file.descriptor()), place, layout(rows), changed);
  }

  MemoryFile file{{}, MemoryFile::Seals::refused};
  PictureCopy copy;
};

TEST_P(PictureCopyTest, TheFirstIsReadWhateverHasChanged) {
  fill(1);
  const auto picture = read(PictureCopy::Rects{{0, 0, 1, 1}});
  ASSERT_TRUE(picture);
  EXPECT_EQ(picture->area(), (PixelRect{0, 0, columns, rows}));
  EXPECT_EQ(picture->order, PixelOrder::rgb);
  EXPECT_EQ(at(*picture, 0, 0), 1);
  EXPECT_EQ(at(*picture, columns - 1, rows - 1), 1);
}

TEST_P(PictureCopyTest, OnlyWhatHasChangedIsRead) {
  fill(1);
  ASSERT_TRUE(read(std::nullopt));
  fill(2);
  const auto picture = read(PictureCopy::Rects{{1, 1, 2, 1}, {0, 2, columns, 1}});
  ASSERT_TRUE(picture);
  const std::vector<std::vector<int>> expected{{1, 1, 1, 1}, {1, 2, 2, 1}, {2, 2, 2, 2}};
  for (std::int32_t y = 0; y < rows; ++y) {
    for (std::int32_t x = 0; x < columns; ++x)
      EXPECT_EQ(at(*picture, x, y),
                expected[static_cast<std::size_t>(y)][static_cast<std::size_t>(x)]);
  }
}

TEST_P(PictureCopyTest, AllIsReadWhenWhatHasChangedIsNotKnown) {
  fill(1);
  ASSERT_TRUE(read(std::nullopt));
  fill(2);
  EXPECT_EQ(at(*read(std::nullopt), 0, 0), 2);
}

TEST_P(PictureCopyTest, MemoryThatEndsBeforeGivesNone) {
  fill(1);
  ASSERT_TRUE(file.resize(bytes() - 1));
  EXPECT_FALSE(read(std::nullopt));
  ASSERT_TRUE(file.resize(0));
  EXPECT_FALSE(read(std::nullopt));
}

TEST_P(PictureCopyTest, AllIsReadAfterOneThatWasCutOff) {
  fill(1);
  ASSERT_TRUE(read(std::nullopt));
  ASSERT_TRUE(file.resize(0));
  EXPECT_FALSE(read(PictureCopy::Rects{{0, 0, columns, rows}}));
  fill(2);
  const auto picture = read(PictureCopy::Rects{{0, 0, 1, 1}});
  ASSERT_TRUE(picture);
  EXPECT_EQ(at(*picture, columns - 1, rows - 1), 2);
}

TEST_P(PictureCopyTest, AnotherSizeIsReadInFull) {
  fill(1);
  ASSERT_TRUE(copy.read(SharedMemory(file.descriptor()), place, layout(rows - 1), std::nullopt));
  const auto picture = read(PictureCopy::Rects{});
  ASSERT_TRUE(picture);
  EXPECT_EQ(at(*picture, columns - 1, rows - 1), 1);
}

INSTANTIATE_TEST_SUITE_P(RowsWithoutAndWithGaps, PictureCopyTest,
                         testing::Values(PictureCopyTest::noGaps, PictureCopyTest::withGaps));

}  // namespace
}  // namespace tarvinel

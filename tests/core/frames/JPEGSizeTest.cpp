#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBuffer.h"

#include <gtest/gtest.h>

namespace tarvinel {
namespace {

Bytes pictureOf(std::size_t width, std::size_t height) {
  const MemoryPixelBuffer picture(width, height);
  return writeJPEG({picture.baseAddress(), width, height, picture.bytesPerRow()}, 80,
                   ChromaSampling::quartered);
}

TEST(JPEGSize, IsThatOfTheWrittenPicture) {
  EXPECT_EQ(sizeOfJPEG(pictureOf(641, 300)), (PixelSize{641, 300}));
  EXPECT_EQ(sizeOfJPEG(pictureOf(1, 1)), (PixelSize{1, 1}));
}

TEST(JPEGSize, IsNothingWhereAFileEndsTooEarlyOrIsNoJPEG) {
  const Bytes whole = pictureOf(64, 64);
  EXPECT_EQ(sizeOfJPEG({}), std::nullopt);
  EXPECT_EQ(sizeOfJPEG({whole.begin(), whole.begin() + 20}), std::nullopt);
  EXPECT_EQ(sizeOfJPEG(bytesOf("\x89PNG and so on, long enough for a frame header")), std::nullopt);
  // a segment whose length exceeds the file
  EXPECT_EQ(sizeOfJPEG({0xFF, 0xD8, 0xFF, 0xE0, 0xFF, 0xFF, 0, 0, 0, 0, 0, 0}), std::nullopt);
}

}  // namespace
}  // namespace tarvinel

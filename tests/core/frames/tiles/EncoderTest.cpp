#include "core/frames/tiles/Encoder.h"
#include "tests/support/DecodedJPEG.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>

namespace tarvinel::tiles {
namespace {

using test::DecodedJPEG;
using testing::Le;

/// A smooth picture whose every tile looks different.
class Slope : public MemoryPixelBuffer {
 public:
  Slope(std::size_t width, std::size_t height) : MemoryPixelBuffer(width, height) {
    for (std::size_t y = 0; y < height; ++y) {
      for (std::size_t x = 0; x < width; ++x) {
        std::uint8_t* pixel = pixels() + y * bytesPerRow() + x * 4;
        pixel[0] = static_cast<std::uint8_t>(x / 4);
        pixel[1] = static_cast<std::uint8_t>(y * 2);
        pixel[2] = static_cast<std::uint8_t>(255 - x / 4);
      }
    }
  }
};

PixelView viewOf(const MemoryPixelBuffer& buffer) {
  return {buffer.baseAddress(), buffer.width(), buffer.height(), buffer.bytesPerRow()};
}

DecodedJPEG decoded(const Encoder& encoder, const std::vector<Segment>& segments) {
  Bytes file = encoder.head(segments.size());
  const Bytes data = spliced(segments);
  file.insert(file.end(), data.begin(), data.end());
  file.insert(file.end(), {0xFF, 0xD9});
  return DecodedJPEG::decode(file);
}

// Returns the largest difference of a sample between a tile of the picture and its place in the
// stack of decoded tiles; padding is left out.
int difference(const MemoryPixelBuffer& picture, const PixelRect& area, const DecodedJPEG& stack,
               std::size_t position) {
  int worst = 0;
  for (int y = 0; y < area.height; ++y) {
    for (int x = 0; x < area.width; ++x) {
      const std::uint8_t* wanted = picture.baseAddress() +
                                   static_cast<std::size_t>(area.y + y) * picture.bytesPerRow() +
                                   static_cast<std::size_t>(area.x + x) * 4;
      const auto found = stack.at(static_cast<std::size_t>(x),
                                  position * Grid::tileHeight + static_cast<std::size_t>(y));
      for (std::size_t i = 0; i < 3; ++i)
        worst = std::max(worst, std::abs(int{found[i]} - int{wanted[2 - i]}));
    }
  }
  return worst;
}

class TileEncoderTest : public testing::Test {
 protected:
  void expectTiles(const std::vector<Index>& tiles, const std::vector<Segment>& segments) {
    const DecodedJPEG stack = decoded(encoder, segments);
    ASSERT_EQ(stack.width, 128U);
    ASSERT_EQ(stack.height, tiles.size() * 16);
    for (std::size_t i = 0; i < tiles.size(); ++i)
      EXPECT_THAT(difference(picture, grid.area(tiles[i]), stack, i), Le(4)) << tiles[i];
  }

  Slope picture{700, 120};
  Grid grid{700, 120};
  Encoder encoder{Look{.quality = 92}};
  const std::vector<Index> all = grid.touchedBy({{0, 0, 700, 120}});
};

TEST_F(TileEncoderTest, TheTilesOfAPictureDecodeToIt) {
  expectTiles(all, encoder.encode(viewOf(picture), grid, all));
}

TEST_F(TileEncoderTest, EveryTileHasASegmentOfItsOwn) {
  EXPECT_EQ(encoder.encode(viewOf(picture), grid, all).size(), all.size());
  EXPECT_EQ(encoder.encode(viewOf(picture), grid, {3}).size(), 1U);
  EXPECT_TRUE(encoder.encode(viewOf(picture), grid, {}).empty());
}

TEST_F(TileEncoderTest, SegmentsOfDifferentCallsFormAPictureInAnyOrder) {
  const std::vector<Segment> many = encoder.encode(viewOf(picture), grid, all);
  const std::vector<Segment> one = encoder.encode(viewOf(picture), grid, {7});
  expectTiles({20, 7, 3, 41}, {many[20], one[0], many[3], many[41]});
}

TEST_F(TileEncoderTest, ASegmentDoesNotDependOnItsNeighbours) {
  const std::vector<Segment> many = encoder.encode(viewOf(picture), grid, all);
  EXPECT_EQ(*encoder.encode(viewOf(picture), grid, {7})[0], *many[7]);
}

TEST_F(TileEncoderTest, MoreTilesThanOnePictureHoldsAreEncodedInSeveral) {
  const MemoryPixelBuffer tall(128, 16 * 600);
  const Grid column(128, 16 * 600);
  const std::vector<Index> tiles = column.touchedBy({{0, 0, 128, 16 * 600}});
  ASSERT_EQ(tiles.size(), 600U);
  const std::vector<Segment> segments = encoder.encode(viewOf(tall), column, tiles);
  ASSERT_EQ(segments.size(), 600U);
  EXPECT_EQ(*segments[599], *segments[0]);
}

TEST_F(TileEncoderTest, ATypedCharacterIsAFewHundredBytes) {
  MemoryPixelBuffer page(1920, 1080);
  std::fill_n(page.pixels(), 1920 * 1080 * 4, 0xFF);
  for (std::size_t y = 20; y < 30; ++y)
    std::fill_n(page.pixels() + y * page.bytesPerRow() + 200 * 4, 2 * 4, 0x00);
  const Grid full(1920, 1080);
  const auto segments = encoder.encode(viewOf(page), full, full.touchedBy({{200, 20, 8, 10}}));
  ASSERT_EQ(segments.size(), 1U);
  EXPECT_THAT(segments[0]->size(), Le(200U));
}

TEST_F(TileEncoderTest, HalfTheColourOfASmoothPictureIsEnough) {
  for (const bool isHalved : {false, true}) {
    Encoder colourless{Look{.quality = 92, .isHalved = isHalved, .hasHalfColour = true}};
    const std::vector<Index> tiles{0, 7, 40};
    const DecodedJPEG stack = decoded(colourless, colourless.encode(viewOf(picture), grid, tiles));
    const std::size_t shrink = isHalved ? 2 : 1;
    ASSERT_EQ(stack.height, 3 * 16 / shrink);
    for (std::size_t i = 0; i < tiles.size(); ++i) {
      const PixelRect area = grid.area(tiles[i]);
      const auto found = stack.at(8 / shrink, (i * 16 + 4) / shrink);
      const std::uint8_t* pixel = picture.baseAddress() +
                                  (static_cast<std::size_t>(area.y) + 4) * picture.bytesPerRow() +
                                  (static_cast<std::size_t>(area.x) + 8) * 4;
      for (std::size_t k = 0; k < 3; ++k)
        EXPECT_NEAR(found[k], pixel[2 - k], 5) << tiles[i];
    }
  }
}

TEST_F(TileEncoderTest, AHalvedTileHasAPixelForFour) {
  Encoder halving{Look{.quality = 92, .isHalved = true}};
  const std::vector<Index> tiles{0, 7, 47};  // the last one is partial both ways
  const DecodedJPEG stack = decoded(halving, halving.encode(viewOf(picture), grid, tiles));
  ASSERT_EQ(stack.width, 64U);
  ASSERT_EQ(stack.height, 24U);
  for (std::size_t i = 0; i < tiles.size(); ++i) {
    const PixelRect area = grid.area(tiles[i]);
    const auto found = stack.at(4, i * 8 + 2);
    const auto x = static_cast<std::size_t>(area.x) + 8;
    const auto y = static_cast<std::size_t>(area.y) + 4;
    const std::uint8_t* pixel = picture.baseAddress() + y * picture.bytesPerRow() + x * 4;
    for (std::size_t k = 0; k < 3; ++k)
      EXPECT_NEAR(found[k], pixel[2 - k], 5) << tiles[i];
  }
}

}  // namespace
}  // namespace tarvinel::tiles

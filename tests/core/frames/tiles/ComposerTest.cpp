#include "core/frames/tiles/Composer.h"
#include "tests/support/TileCanvas.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <random>

namespace tarvinel::tiles {
namespace {

using test::TileCanvas;
using testing::Each;
using testing::Field;
using testing::IsNull;
using testing::Le;
using testing::NotNull;

constexpr int nearly = 24;  // the largest error of a sharp sample in these pictures

std::uint8_t* at(MemoryPixelBuffer& buffer, std::int32_t x, std::int32_t y) {
  return buffer.pixels() + static_cast<std::size_t>(y) * buffer.bytesPerRow() +
         static_cast<std::size_t>(x) * 4;
}

void paint(MemoryPixelBuffer& buffer, const PixelRect& area, std::uint8_t shade) {
  for (std::int32_t y = area.y; y < area.maxY(); ++y)
    std::fill(at(buffer, area.x, y), at(buffer, area.maxX(), y), shade);
}

/// Moves the content of an area; where it came from, the pixels stay.
void scroll(MemoryPixelBuffer& buffer, const PixelRect& area, std::int32_t down) {
  const std::vector<std::uint8_t> before(at(buffer, 0, 0), at(buffer, 0, area.maxY()));
  for (std::int32_t y = area.y; y < area.maxY(); ++y) {
    if (y - down < area.y || y - down >= area.maxY()) continue;
    const std::uint8_t* row =
        before.data() + static_cast<std::size_t>(y - down) * buffer.bytesPerRow();
    std::copy(row + area.x * 4, row + area.maxX() * 4, at(buffer, area.x, y));
  }
}

/// Gives every row other pixels, smooth enough for JPEG.
void fillWithNoise(MemoryPixelBuffer& buffer, std::mt19937& random) {
  const auto width = static_cast<std::int32_t>(buffer.width());
  for (std::int32_t y = 0; y < static_cast<std::int32_t>(buffer.height()); ++y) {
    for (std::int32_t x = 0; x < width; x += 64)
      paint(buffer, {x, y, std::min(64, width - x), 1},
            static_cast<std::uint8_t>(y % 64 + static_cast<std::int32_t>(random() % 8)));
  }
}

/// A picture of 1000 tiles, in ten columns.
class ComposerTest : public testing::Test {
 protected:
  static constexpr std::int32_t width = 1280;
  static constexpr std::int32_t height = 1600;

  ComposerTest() { begin(); }

  void begin(bool isMotionHalved = false) {
    composer.begin(Grid(width, height), {}, isMotionHalved);
  }

  PixelView view() const {
    return {buffer.baseAddress(), buffer.width(), buffer.height(), buffer.bytesPerRow()};
  }

  void fill(const PixelRect& area, std::uint8_t shade) {
    paint(buffer, area, shade);
    composer.touch({area});
  }

  void scrollBy(const PixelRect& area, std::int32_t down) {
    scroll(buffer, area, down);
    composer.touch({area});
  }

  /// Brings the canvas up to date; returns whether there was anything new.
  bool compose(double at) {
    const auto table = composer.compose(view(), at);
    if (table) {
      latest = table;
      canvas.apply(updateMessage(*table, canvas.version()).value());
    }
    return table != nullptr;
  }

  /// Brings the canvas up to date with what was composed for who joins.
  void follow() {
    latest = composer.composeAll(view(), 1.0);
    canvas.apply(updateMessage(*latest, canvas.version()).value());
  }

  void noise() { fillWithNoise(buffer, random); }

  Quality qualityAt(std::size_t tile) const { return latest->tiles.at(tile).quality; }

  static constexpr PixelRect character{300, 194, 10, 12};  // one tile
  static constexpr PixelRect film{0, 0, 640, 368};         // 115 tiles
  static constexpr PixelRect slide{0, 0, width, height};
  static constexpr PixelRect page{128, 320, 640, 800};  // of whole tiles

  MemoryPixelBuffer buffer{width, height};
  std::mt19937 random{7};  // NOLINT(bugprone-random-generator-seed): repeatable
  Composer composer;
  std::shared_ptr<const Table> latest;
  TileCanvas canvas;
};

TEST_F(ComposerTest, TheFirstPictureIsWholeAndGoesOutAtOnce) {
  EXPECT_TRUE(compose(1.0));
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 1000U);
  EXPECT_EQ(qualityAt(0), Quality::motion);
  EXPECT_TRUE(composer.isUnsettled());
}

TEST_F(ComposerTest, ASmallChangeIsSharpAtOnceAndNothingFollows) {
  composer.composeAll(view(), 1.0);
  fill(character, 200);
  const auto table = composer.compose(view(), 1.1);
  ASSERT_THAT(table, NotNull());
  EXPECT_EQ(table->tiles.at(122).version, table->version);
  EXPECT_EQ(table->tiles.at(122).quality, Quality::settled);
  EXPECT_FALSE(composer.isUnsettled());
  EXPECT_THAT(composer.compose(view(), 2.0), IsNull());
}

TEST_F(ComposerTest, SmallChangesWaitForNothing) {
  compose(1.0);
  compose(1.5);
  compose(1.6);
  for (std::uint8_t shade = 50; shade < 200; shade += 50) {
    fill(character, shade);
    EXPECT_TRUE(compose(2.0 + shade * 0.0001));
    EXPECT_EQ(canvas.tilesOfLastUpdate(), 1U);
  }
}

TEST_F(ComposerTest, ALargeChangeIsSentAsMotionAndSharpenedOnceItIsStill) {
  composer.composeAll(view(), 1.0);
  composer.setMotionFPS(10);
  fill(film, 90);
  EXPECT_TRUE(compose(2.0));
  EXPECT_EQ(qualityAt(0), Quality::motion);
  EXPECT_EQ(qualityAt(5), Quality::settled);
  EXPECT_GT(composer.motionBytes(), 0U);
  EXPECT_FALSE(compose(2.45));
  EXPECT_TRUE(compose(2.5));
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 115U);
  EXPECT_EQ(qualityAt(0), Quality::settled);
  EXPECT_FALSE(composer.isUnsettled());
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

TEST_F(ComposerTest, LargeChangesKeepToTheMotionRate) {
  compose(1.0);
  composer.setMotionFPS(10);
  fill(film, 10);
  EXPECT_TRUE(compose(1.1));
  fill(film, 20);
  EXPECT_FALSE(compose(1.15));
  EXPECT_EQ(composer.motionBytes(), 0U);
  fill(film, 30);
  EXPECT_TRUE(compose(1.2));
  EXPECT_THAT(canvas.at(3, 3), Each(testing::AllOf(testing::Ge(26), Le(34))));
}

TEST_F(ComposerTest, WhatChangedLastInMotionIsNotLost) {
  compose(1.0);
  fill(film, 10);
  compose(1.01);
  fill(film, 20);
  EXPECT_FALSE(compose(1.02));
  EXPECT_TRUE(composer.isUnsettled());
  EXPECT_TRUE(compose(2.1));
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

TEST_F(ComposerTest, OnlyTilesThatAreStillAreSharpened) {
  composer.composeAll(view(), 1.0);
  composer.setMotionFPS(20);
  fill(slide, 50);
  compose(2.0);
  for (int i = 1; i <= 10; ++i) {
    fill(film, static_cast<std::uint8_t>(60 + i));
    compose(2.0 + i * 0.06);
  }
  EXPECT_EQ(qualityAt(0), Quality::motion);
  EXPECT_EQ(qualityAt(999), Quality::settled);
}

TEST_F(ComposerTest, TheLongestStillAreSharpenedFirst) {
  compose(1.0);
  composer.setMotionFPS(100);
  fill({0, 800, width, 800}, 99);
  compose(1.1);
  compose(1.6);
  EXPECT_EQ(qualityAt(0), Quality::settled);
  EXPECT_EQ(qualityAt(499), Quality::settled);
  EXPECT_EQ(qualityAt(999), Quality::motion);
  EXPECT_TRUE(compose(1.7));
  EXPECT_EQ(qualityAt(999), Quality::settled);
}

TEST_F(ComposerTest, WhatIsTouchedWithoutADifferenceIsNotSent) {
  compose(1.0);
  compose(1.5);
  compose(1.6);
  composer.touchAll();
  EXPECT_FALSE(compose(2.0));
}

TEST_F(ComposerTest, AScrollIsMovedAndOnlyWhatItRevealsIsSent) {
  noise();
  composer.composeAll(view(), 1.0);
  follow();
  scrollBy(page, -48);
  EXPECT_TRUE(compose(2.0));
  EXPECT_EQ(canvas.movesOfLastUpdate(), 1U);
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 0U);  // what is revealed looks as before
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
  EXPECT_FALSE(composer.isUnsettled()) << "what was sharp is sharp";
}

TEST_F(ComposerTest, WhatIsNotSharpWhenItScrollsIsSharpenedLater) {
  noise();
  composer.composeAll(view(), 1.0);
  follow();
  fill(film, 90);
  noise();
  composer.touchAll();
  composer.setMotionFPS(10);
  compose(2.0);
  scrollBy(page, -16);
  EXPECT_TRUE(compose(2.2));
  EXPECT_EQ(qualityAt(100), Quality::motion);
  EXPECT_TRUE(compose(2.8));
  EXPECT_EQ(qualityAt(100), Quality::settled);
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

TEST_F(ComposerTest, WhoNeedsSegmentsOfWhatScrolledGetsThem) {
  noise();
  composer.composeAll(view(), 1.0);
  follow();
  scrollBy(page, -48);
  compose(2.0);
  EXPECT_FALSE(composer.isComplete());
  EXPECT_EQ(updateMessage(*latest, 0), std::nullopt);
  const auto table = composer.composeComplete(view(), 2.1);
  EXPECT_TRUE(composer.isComplete());
  EXPECT_EQ(table->version, latest->version) << "nothing new for who has moved it";
  TileCanvas joined;
  joined.apply(updateMessage(*table, 0).value());
  EXPECT_THAT(joined.differenceFrom(view()), Le(nearly));
}

TEST_F(ComposerTest, WhatChangedSinceTheScrollIsEncodedForWhoNeedsSegments) {
  noise();
  composer.composeAll(view(), 1.0);
  follow();
  composer.setMotionFPS(1);
  scrollBy(page, -48);
  compose(2.0);
  fill(film, 33);
  EXPECT_FALSE(compose(2.1)) << "the motion rate";
  const auto table = composer.composeComplete(view(), 2.2);
  TileCanvas joined;
  joined.apply(updateMessage(*table, 0).value());
  EXPECT_THAT(joined.differenceFrom(view()), Le(nearly));
}

TEST_F(ComposerTest, WhoWaitsForNothingGetsAllSegmentsAfterAScroll) {
  noise();
  composer.composeAll(view(), 1.0);
  follow();
  scrollBy(page, -48);
  compose(2.0);
  EXPECT_NE(updateMessage(*composer.composeAll(view(), 3.0), 0), std::nullopt);
}

TEST_F(ComposerTest, EverythingIsSharpForWhoJoins) {
  fill(film, 77);
  const auto table = composer.composeAll(view(), 1.0);
  EXPECT_THAT(table->tiles, Each(Field(&Tile::quality, Quality::settled)));
  EXPECT_THAT(composer.composeAll(view(), 1.1), NotNull()) << "also when nothing is new";
  EXPECT_FALSE(composer.isUnsettled());
}

TEST_F(ComposerTest, ARestartMakesEverythingNew) {
  composer.composeAll(view(), 1.0);
  composer.restart();
  EXPECT_TRUE(compose(1.01));
  EXPECT_EQ(canvas.tilesOfLastUpdate(), 1000U);
}

TEST_F(ComposerTest, BeginningTheSameAgainChangesNothing) {
  compose(1.0);
  compose(1.5);
  compose(1.6);
  begin();
  EXPECT_FALSE(compose(2.0));
}

TEST_F(ComposerTest, MotionOfDoubleDensityIsHalved) {
  begin(true);
  fill(slide, 120);
  EXPECT_TRUE(compose(1.0));
  EXPECT_THAT(canvas.differenceFrom(view()), Le(nearly));
}

/// Viewers of different speeds follow random changes of random size; whenever the picture rests,
/// all of them have it.
TEST(Composer, EveryViewerEndsWithThePicture) {
  std::mt19937 random(20261122);  // NOLINT(bugprone-random-generator-seed): repeatable
  const auto below = [&random](std::int32_t limit) {
    return static_cast<std::int32_t>(random() % static_cast<std::uint32_t>(limit));
  };
  Composer composer;
  composer.setMotionFPS(20);
  std::vector<TileCanvas> viewers(3);
  std::shared_ptr<const Table> latest;
  double now = 0;
  int completions = 0;
  std::size_t moves = 0;
  for (int round = 0; round < 12; ++round) {
    const Grid grid(1 + below(900), 1 + below(500));
    MemoryPixelBuffer buffer(static_cast<std::size_t>(grid.width()),
                             static_cast<std::size_t>(grid.height()));
    const PixelView view{buffer.baseAddress(), buffer.width(), buffer.height(),
                         buffer.bytesPerRow()};
    composer.begin(grid, {}, round % 3 == 0);
    const auto follow = [&](std::size_t slowest) {
      if (const auto table = composer.compose(view, now)) latest = table;
      for (std::size_t i = 0; i < viewers.size(); ++i) {
        TileCanvas& viewer = viewers[i];
        const bool isReady = below(static_cast<std::int32_t>(i * slowest + 1)) == 0;
        if (isReady && viewer.version() != latest->version) {
          auto update = updateMessage(*latest, viewer.version());
          if (!update) {
            latest = composer.composeComplete(view, now);
            update = updateMessage(*latest, viewer.version());
            ++completions;
          }
          viewer.apply(update.value());
          moves += viewer.movesOfLastUpdate();
        }
      }
    };
    for (int change = 0; change < 60; ++change) {
      if (change % 10 == 0) {
        fillWithNoise(buffer, random);
        composer.touchAll();
      }
      const PixelRect area{below(grid.width()), below(grid.height()), 1 + below(grid.width()),
                           1 + below(grid.height())};
      const auto inside = area.intersection({0, 0, grid.width(), grid.height()});
      if (below(3) > 0) {
        scroll(buffer, inside, below(80) - 40);
      } else {
        paint(buffer, inside, static_cast<std::uint8_t>(random()));
      }
      composer.touch({area});
      now += 0.001 * below(300);
      follow(5);
    }
    for (int tick = 0; tick < 20; ++tick) {
      now += 0.1;
      follow(0);
    }
    for (const TileCanvas& viewer : viewers)
      ASSERT_THAT(viewer.differenceFrom(view), Le(nearly)) << round;
  }
  EXPECT_GT(moves, 100U);
  EXPECT_GT(completions, 10);
}

}  // namespace
}  // namespace tarvinel::tiles

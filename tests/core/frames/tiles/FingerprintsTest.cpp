#include "core/frames/tiles/Fingerprints.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel::tiles {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class FingerprintsTest : public testing::Test {
 protected:
  PixelView view() const {
    return {buffer.baseAddress(), buffer.width(), buffer.height(), buffer.bytesPerRow()};
  }

  std::vector<Index> update(const std::vector<Index>& candidates) {
    return fingerprints.update(view(), candidates);
  }

  void touch(std::size_t x, std::size_t y) { ++buffer.pixels()[y * buffer.bytesPerRow() + x * 4]; }

  MemoryPixelBuffer buffer{300, 40};
  Grid grid{300, 40};
  Fingerprints fingerprints{grid};
  const std::vector<Index> all = grid.touchedBy({{0, 0, 300, 40}});
};

TEST_F(FingerprintsTest, AtFirstEveryTileDiffers) {
  EXPECT_EQ(update(all), all);
}

TEST_F(FingerprintsTest, TheSamePictureAgainDiffersNowhere) {
  update(all);
  EXPECT_THAT(update(all), IsEmpty());
}

TEST_F(FingerprintsTest, OnlyTilesWithOtherPixelsDiffer) {
  update(all);
  touch(128, 16);  // the first pixel of tile 4
  touch(299, 39);  // the last one of tile 8
  EXPECT_THAT(update(all), ElementsAre(4, 8));
  EXPECT_THAT(update(all), IsEmpty());
}

TEST_F(FingerprintsTest, OnlyCandidatesAreLookedAt) {
  update(all);
  touch(0, 0);
  touch(299, 39);
  EXPECT_THAT(update({7, 8}), ElementsAre(8));
  EXPECT_THAT(update({0, 1}), ElementsAre(0));
}

TEST_F(FingerprintsTest, WhatIsShownIsOutdatedUntilTheSamePixelsAreThereAgain) {
  update(all);
  EXPECT_TRUE(fingerprints.isOutdated(0));
  fingerprints.markShown(all);
  EXPECT_FALSE(fingerprints.isOutdated(0));
  touch(0, 0);
  update(all);
  EXPECT_TRUE(fingerprints.isOutdated(0));
  EXPECT_FALSE(fingerprints.isOutdated(1));
  --buffer.pixels()[0];
  update(all);
  EXPECT_FALSE(fingerprints.isOutdated(0));
}

}  // namespace
}  // namespace tarvinel::tiles

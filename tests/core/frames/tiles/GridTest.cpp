#include "core/frames/tiles/Grid.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace tarvinel::tiles {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

TEST(TileGrid, CoversThePictureWithPartialTilesAtItsEdges) {
  const Grid grid(300, 40);
  EXPECT_EQ(grid.columns(), 3);
  EXPECT_EQ(grid.rows(), 3);
  EXPECT_EQ(grid.count(), 9U);
  EXPECT_EQ(grid.area(0), (PixelRect{0, 0, 128, 16}));
  EXPECT_EQ(grid.area(2), (PixelRect{256, 0, 44, 16}));
  EXPECT_EQ(grid.area(8), (PixelRect{256, 32, 44, 8}));
}

TEST(TileGrid, OfAFullHDPictureHas1020Tiles) {
  EXPECT_EQ(Grid(1920, 1080).count(), 1020U);
}

TEST(TileGrid, AnAreaTouchesEveryTileThatItReaches) {
  const Grid grid(300, 40);
  EXPECT_THAT(grid.touchedBy({{127, 15, 1, 1}}), ElementsAre(0));
  EXPECT_THAT(grid.touchedBy({{127, 15, 2, 2}}), ElementsAre(0, 1, 3, 4));
  EXPECT_THAT(grid.touchedBy({{0, 0, 300, 40}}), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
}

TEST(TileGrid, SeveralAreasTouchATileOnce) {
  EXPECT_THAT(Grid(300, 40).touchedBy({{260, 33, 5, 5}, {3, 3, 5, 5}, {0, 0, 9, 9}}),
              ElementsAre(0, 8));
}

TEST(TileGrid, WhatLiesOutsideOfThePictureIsIgnored) {
  const Grid grid(300, 40);
  EXPECT_THAT(grid.touchedBy({{-50, -50, 20, 20}, {300, 0, 10, 10}, {0, 40, 10, 10}, {5, 5, 0, 3}}),
              IsEmpty());
  EXPECT_THAT(grid.touchedBy({{-10, -10, 20, 20}, {290, 35, 1000, 1000}}), ElementsAre(0, 8));
}

}  // namespace
}  // namespace tarvinel::tiles

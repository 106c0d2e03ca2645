#include "core/frames/tiles/Table.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

namespace tarvinel::tiles {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;

Segment segment(const std::string& text) {
  return std::make_shared<const Bytes>(bytesOf(text));
}

/// Returns the lines one behind the other.
Bytes joined(const std::vector<Bytes>& lines) {
  Bytes all;
  for (const Bytes& line : lines)
    all.insert(all.end(), line.begin(), line.end());
  return all;
}

std::shared_ptr<const Heads> heads() {
  return std::make_shared<const Heads>(Heads{bytesOf("M"), bytesOf("SS")});
}

/// Returns the message, which the table can make.
Bytes message(const Table& table, Version from) {
  return updateMessage(table, from).value();
}

class TileTableTest : public testing::Test {
 protected:
  const Table empty = Table{}.restarted(Grid(300, 40), heads());  // nine tiles
  const Table first =
      empty.changed({0, 1, 2, 3, 4, 5, 6, 7, 8},
                    {segment("a"), segment("b"), segment("c"), segment("d"), segment("e"),
                     segment("f"), segment("g"), segment("h"), segment("i")},
                    Quality::settled);
};

TEST_F(TileTableTest, AChangeReplacesItsTilesAndCountsTheVersion) {
  const Table next = first.changed({4}, {segment("new")}, Quality::motion);
  EXPECT_EQ(first.version, 1U);
  EXPECT_EQ(next.version, 2U);
  EXPECT_EQ(*next.tiles[4].segment, bytesOf("new"));
  EXPECT_EQ(next.tiles[4].version, 2U);
  EXPECT_EQ(next.tiles[5].segment, first.tiles[5].segment);
  EXPECT_EQ(next.tiles[5].version, 1U);
  EXPECT_EQ(*first.tiles[4].segment, bytesOf("e"));
}

TEST_F(TileTableTest, AnUpdateHoldsOnlyWhatIsNewer) {
  const Table next = first.changed({4}, {segment("new")}, Quality::settled);
  EXPECT_THAT(message(next, 1), ElementsAreArray(joined({{0, 0, 0, 1},
                                                         {0, 0, 0, 2},
                                                         {300 >> 8, 300 & 0xFF, 0, 40},
                                                         {0},
                                                         {1},
                                                         {1, 0, 1, 4},
                                                         {0, 0, 0, 3},
                                                         bytesOf("new")})));
}

TEST_F(TileTableTest, OfATileThatChangedTwiceOnlyTheNewestPixelsAreSent) {
  const Table next = first.changed({4}, {segment("old")}, Quality::motion)
                         .changed({4}, {segment("new")}, Quality::settled);
  EXPECT_THAT(message(next, 1), ElementsAreArray(joined({{0, 0, 0, 1, 0, 0, 0, 3, 1, 44, 0, 40, 0},
                                                         {1, 1, 0, 1, 4, 0, 0, 0, 3},
                                                         bytesOf("new")})));
}

TEST_F(TileTableTest, BothQualitiesAreStacksOfTheirOwn) {
  const Table next = first.changed({8}, {segment("sharp")}, Quality::settled)
                         .changed({1, 3}, {segment("x"), segment("y")}, Quality::motion);
  EXPECT_THAT(message(next, 1), ElementsAreArray(joined({{0, 0, 0, 1, 0, 0, 0, 3, 1, 44, 0, 40, 0},
                                                         {2, 0, 0, 2, 1, 2, 0, 0, 0, 4},
                                                         {'x', 0xFF, 0xD0, 'y'},
                                                         {1, 0, 1, 8, 0, 0, 0, 5},
                                                         bytesOf("sharp")})));
}

TEST_F(TileTableTest, WhoHasTheNewestVersionGetsNoTiles) {
  EXPECT_THAT(message(first, 1), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 1, 44, 0, 40, 0, 0));
}

TEST_F(TileTableTest, WhoJoinsGetsEveryTile) {
  const Bytes update = message(first, 0);
  EXPECT_THAT(Bytes(update.begin() + 12, update.begin() + 32),
              ElementsAre(0, 1, 'M', 0, 2, 'S', 'S', 1, 1, 0, 9, 0, 1, 1, 1, 1, 1, 1, 1, 1));
}

TEST_F(TileTableTest, AnotherPictureIsSentAsToWhoJoins) {
  const Table other = first.restarted(Grid(128, 16), heads()).changed({0}, {segment("z")}, {});
  const Bytes whole{0, 0, 0,   0,   0, 0, 0, 2, 0, 128, 0, 16, 0, 1,  'M',
                    0, 2, 'S', 'S', 1, 0, 0, 1, 0, 0,   0, 0,  1, 'z'};
  EXPECT_THAT(message(other, 0), ElementsAreArray(whole));
  EXPECT_THAT(message(other, 1), ElementsAreArray(whole));
}

TEST_F(TileTableTest, AScrollIsMovedByWhoHasTheVersionBefore) {
  const Table next = first.scrolled({.down = -8, .moved = {0, 1, 3, 4}, .either = {}});
  EXPECT_EQ(next.version, 2U);
  EXPECT_EQ(next.tiles[4].segment, nullptr);
  EXPECT_EQ(next.tiles[4].version, 2U);
  EXPECT_EQ(next.movedSince(1, 4), -8);
  EXPECT_EQ(next.movedSince(1, 2), 0);
  EXPECT_THAT(message(next, 1),
              ElementsAreArray(joined({{0, 0, 0, 1, 0, 0, 0, 2, 1, 44, 0, 40},
                                       {1},  // move: x, y, width, height, and y before
                                       {0, 0, 0, 0, 1, 0, 0, 32, 0, 8},
                                       {0}})));
}

TEST(TileTable, WhoIsFurtherBehindMovesByTheSum) {
  const Table four =
      Table{}
          .restarted(Grid(128, 64), heads())
          .changed({0, 1, 2, 3}, std::vector<Segment>(4, segment("s")), Quality::settled);
  const Table next = four.scrolled({.down = -5, .moved = {0, 1}, .either = {2}})
                         .changed({3}, {segment("x")}, Quality::settled)
                         .scrolled({.down = -3, .moved = {0, 1}, .either = {}});
  EXPECT_EQ(next.movedSince(3, 0), -3);
  EXPECT_EQ(next.movedSince(2, 0), -3);
  EXPECT_EQ(next.movedSince(1, 0), -8);
  EXPECT_EQ(next.movedSince(1, 1), -8) << "the tile below it is the same either way";
}

TEST_F(TileTableTest, WhatWasEncodedInBetweenIsNotMoved) {
  const Table next = first.changed({4}, {segment("x")}, Quality::settled)
                         .scrolled({.down = -16, .moved = {0, 1}, .either = {}});
  EXPECT_EQ(next.movedSince(2, 1), -16);
  EXPECT_EQ(next.movedSince(1, 1), std::nullopt);
  EXPECT_EQ(next.movedSince(1, 0), -16);
  EXPECT_EQ(updateMessage(next, 1), std::nullopt) << "no segment of tile 1";
}

TEST_F(TileTableTest, WhatIsBackAtItsPlaceIsNotSent) {
  const Table next = first.scrolled({.down = -8, .moved = {1, 4}, .either = {}})
                         .scrolled({.down = 8, .moved = {4, 7}, .either = {}});
  EXPECT_EQ(next.movedSince(1, 4), 0);
  EXPECT_EQ(next.movedSince(1, 7), 0);
}

TEST_F(TileTableTest, WhoHasNothingOrTooOldAVersionMovesNothing) {
  Table next = first;
  for (std::size_t i = 0; i <= Table::maxSteps; ++i)
    next = next.scrolled({.down = -1, .moved = {1}, .either = {4}});
  EXPECT_EQ(next.movedSince(0, 1), std::nullopt);
  EXPECT_EQ(next.movedSince(1, 1), std::nullopt);
  EXPECT_EQ(next.movedSince(2, 1), -16);
  EXPECT_EQ(updateMessage(next, 0), std::nullopt);
}

TEST_F(TileTableTest, ACompletedTableServesWhoCannotMove) {
  const Table next =
      first.scrolled({.down = -16, .moved = {1}, .either = {}}).completed({1}, {segment("moved")});
  EXPECT_EQ(next.version, 2U);
  EXPECT_EQ(next.tiles[1].version, 2U);
  EXPECT_THAT(message(next, 0), testing::Contains('m'));
  EXPECT_EQ(message(next, 1).size(), 24U) << "who can move it does";
}

TEST_F(TileTableTest, WhatMovesIsAsSharpAsItWas) {
  const Table blurred = first.changed({4}, {segment("x")}, Quality::motion);
  const Table next = blurred.scrolled({.down = -8, .moved = {0, 1}, .either = {4}});
  EXPECT_EQ(next.tiles[0].quality, Quality::settled);
  EXPECT_EQ(next.tiles[1].quality, Quality::motion);
}

TEST_F(TileTableTest, NobodyMovesBlurredContentToWhereItIsSharp) {
  const Table blurred = first.changed({7}, {segment("x")}, Quality::motion);
  const Table next = blurred.scrolled({.down = -8, .moved = {1}, .either = {4}})
                         .scrolled({.down = -8, .moved = {1}, .either = {}});
  EXPECT_EQ(next.movedSince(2, 1), std::nullopt) << "tile 4 was kept, not moved";
}

TEST(TileTable, LargeIndicesTakeSeveralGroups) {
  const Table large =
      Table{}
          .restarted(Grid(3840, 2160), heads())
          .changed({127, 128, 4049}, {segment("a"), segment("b"), segment("c")}, Quality::motion);
  const Bytes update = message(large, 0);
  EXPECT_THAT(Bytes(update.begin() + 23, update.begin() + 27), ElementsAre(127, 1, 0xD1, 30));
}

TEST(TileTable, AStackHoldsAsManyTilesAsBrowsersDecode) {
  const Grid grid(128, 16 * 600);
  const std::vector<Segment> segments(600, segment("s"));
  const Table tall =
      Table{}
          .restarted(grid, heads())
          .changed(grid.touchedBy({{0, 0, 128, 16 * 600}}), segments, Quality::settled);
  const Bytes update = message(tall, 0);
  EXPECT_EQ(update[19], 2);
  EXPECT_EQ(update[21] << 8 | update[22], 512);
}

}  // namespace
}  // namespace tarvinel::tiles

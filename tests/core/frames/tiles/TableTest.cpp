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
  EXPECT_THAT(updateMessage(next, 1), ElementsAreArray(joined({{0, 0, 0, 1},
                                                               {0, 0, 0, 2},
                                                               {300 >> 8, 300 & 0xFF, 0, 40},
                                                               {1},
                                                               {1, 0, 1, 4},
                                                               {0, 0, 0, 3},
                                                               bytesOf("new")})));
}

TEST_F(TileTableTest, OfATileThatChangedTwiceOnlyTheNewestPixelsAreSent) {
  const Table next = first.changed({4}, {segment("old")}, Quality::motion)
                         .changed({4}, {segment("new")}, Quality::settled);
  EXPECT_THAT(
      updateMessage(next, 1),
      ElementsAreArray(joined(
          {{0, 0, 0, 1, 0, 0, 0, 3, 1, 44, 0, 40}, {1, 1, 0, 1, 4, 0, 0, 0, 3}, bytesOf("new")})));
}

TEST_F(TileTableTest, BothQualitiesAreStacksOfTheirOwn) {
  const Table next = first.changed({8}, {segment("sharp")}, Quality::settled)
                         .changed({1, 3}, {segment("x"), segment("y")}, Quality::motion);
  EXPECT_THAT(updateMessage(next, 1),
              ElementsAreArray(joined({{0, 0, 0, 1, 0, 0, 0, 3, 1, 44, 0, 40},
                                       {2, 0, 0, 2, 1, 2, 0, 0, 0, 4},
                                       {'x', 0xFF, 0xD0, 'y'},
                                       {1, 0, 1, 8, 0, 0, 0, 5},
                                       bytesOf("sharp")})));
}

TEST_F(TileTableTest, WhoHasTheNewestVersionGetsNoTiles) {
  EXPECT_THAT(updateMessage(first, 1), ElementsAre(0, 0, 0, 1, 0, 0, 0, 1, 1, 44, 0, 40, 0));
}

TEST_F(TileTableTest, WhoJoinsGetsEveryTile) {
  const Bytes message = updateMessage(first, 0);
  EXPECT_THAT(Bytes(message.begin() + 12, message.begin() + 32),
              ElementsAre(0, 1, 'M', 0, 2, 'S', 'S', 1, 1, 0, 9, 0, 1, 1, 1, 1, 1, 1, 1, 1));
}

TEST_F(TileTableTest, AnotherPictureIsSentAsToWhoJoins) {
  const Table other = first.restarted(Grid(128, 16), heads()).changed({0}, {segment("z")}, {});
  const Bytes whole{0, 0, 0,   0,   0, 0, 0, 2, 0, 128, 0, 16, 0, 1,  'M',
                    0, 2, 'S', 'S', 1, 0, 0, 1, 0, 0,   0, 0,  1, 'z'};
  EXPECT_THAT(updateMessage(other, 0), ElementsAreArray(whole));
  EXPECT_THAT(updateMessage(other, 1), ElementsAreArray(whole));
}

TEST(TileTable, LargeIndicesTakeSeveralGroups) {
  const Table large =
      Table{}
          .restarted(Grid(3840, 2160), heads())
          .changed({127, 128, 4049}, {segment("a"), segment("b"), segment("c")}, Quality::motion);
  const Bytes message = updateMessage(large, 0);
  EXPECT_THAT(Bytes(message.begin() + 23, message.begin() + 27), ElementsAre(127, 1, 0xD1, 30));
}

TEST(TileTable, AStackHoldsAsManyTilesAsBrowsersDecode) {
  const Grid grid(128, 16 * 600);
  const std::vector<Segment> segments(600, segment("s"));
  const Table tall =
      Table{}
          .restarted(grid, heads())
          .changed(grid.touchedBy({{0, 0, 128, 16 * 600}}), segments, Quality::settled);
  const Bytes message = updateMessage(tall, 0);
  EXPECT_EQ(message[19], 2);
  EXPECT_EQ(message[21] << 8 | message[22], 512);
}

}  // namespace
}  // namespace tarvinel::tiles

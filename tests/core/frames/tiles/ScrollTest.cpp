#include "core/frames/tiles/Scroll.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>

namespace tarvinel::tiles {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

/// A picture of two columns and six rows of tiles, 90 pixels high: the last row is partial.
class ScrollTest : public testing::Test {
 protected:
  static constexpr std::uint64_t blank = 7;

  ScrollTest() {
    for (std::int32_t y = 0; y < 90; ++y) {
      set(before, 0, y, 1000U + static_cast<unsigned>(y));
      set(before, 1, y, blank);
    }
    now = before;
  }

  static void set(RowHashes& rows, std::int32_t column, std::int32_t y, std::uint64_t hash) {
    rows.of(static_cast<Index>(y / 16 * 2 + column))[static_cast<std::size_t>(y % 16)] = hash;
  }

  /// Scrolls the rows of the first column in [top, bottom) down; new ones appear.
  void scroll(std::int32_t top, std::int32_t bottom, std::int32_t down) {
    for (std::int32_t y = top; y < bottom; ++y) {
      const std::int32_t from = y - down;
      const bool isNew = from < top || from >= bottom;
      set(now, 0, y, isNew ? 5000U + static_cast<unsigned>(y) : before.at(0, from));
    }
  }

  const Grid grid{200, 90};
  RowHashes before{grid};
  RowHashes now{grid};
  const std::vector<Index> left{0, 2, 4, 6, 8, 10};
};

TEST_F(ScrollTest, FindsWhatMovedUp) {
  scroll(0, 90, -20);
  const auto found = findScroll(before, now, left);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->down, -20);
  EXPECT_THAT(found->moved, ElementsAre(0, 2, 4, 6));
}

TEST_F(ScrollTest, FindsWhatMovedDown) {
  scroll(0, 90, 5);
  const auto found = findScroll(before, now, left);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->down, 5);
  EXPECT_THAT(found->moved, ElementsAre(2, 4, 6, 8, 10));
}

TEST_F(ScrollTest, UnchangedTilesThatLookTheSameEitherWayAreNamed) {
  scroll(0, 90, -32);
  const auto found = findScroll(before, now, left);
  ASSERT_TRUE(found);
  EXPECT_THAT(found->either, ElementsAre(1, 3, 5));
}

TEST_F(ScrollTest, TilesAtTheEdgeOfTheAreaAreNotMoved) {
  scroll(8, 72, -8);
  const auto found = findScroll(before, now, {0, 2, 4, 6, 8});
  ASSERT_TRUE(found);
  EXPECT_THAT(found->moved, ElementsAre(2, 4, 6));
}

TEST_F(ScrollTest, NothingIsFoundWhereEverythingIsNew) {
  for (std::int32_t y = 0; y < 90; ++y)
    set(now, 0, y, 9000U + static_cast<unsigned>(y));
  EXPECT_FALSE(findScroll(before, now, left));
}

TEST_F(ScrollTest, NothingIsFoundInAnUnchangedPicture) {
  EXPECT_FALSE(findScroll(before, now, {}));
}

TEST_F(ScrollTest, WhatWasNeverShownIsNotMoved) {
  before = RowHashes(grid);
  EXPECT_FALSE(findScroll(before, now, left));
}

TEST_F(ScrollTest, RowsThatAreThereSeveralTimesDoNotDecide) {
  for (std::int32_t y = 0; y < 90; ++y)
    set(before, 0, y, y % 2 == 0 ? blank : blank + 1);
  now = before;
  scroll(0, 90, -1);
  EXPECT_FALSE(findScroll(before, now, left));
}

TEST_F(ScrollTest, TheScrollOfMostRowsIsTaken) {
  scroll(0, 32, 3);
  scroll(32, 90, -4);
  const auto found = findScroll(before, now, left);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->down, -4);
  EXPECT_THAT(found->moved, ElementsAre(4, 6, 8));
}

TEST_F(ScrollTest, FewRowsDoNotPay) {
  scroll(0, 17, -2);
  EXPECT_FALSE(findScroll(before, now, {0, 2}));
}

}  // namespace
}  // namespace tarvinel::tiles

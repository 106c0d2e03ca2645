#include "core/http/TileFeed.h"

#include <gtest/gtest.h>

#include <chrono>

namespace tarvinel {
namespace {

using std::chrono::milliseconds;

constexpr double unlimitedRate = 1e9;  // bytes per second

std::shared_ptr<const tiles::Table> table(tiles::Version version, std::size_t bytes = 10) {
  const auto heads = std::make_shared<const tiles::Heads>();
  tiles::Table made = tiles::Table{}.restarted(tiles::Grid(100, 32), heads);
  made.version = version - 1;
  return std::make_shared<const tiles::Table>(
      made.changed({0}, {std::make_shared<const Bytes>(bytes)}, tiles::Quality::settled));
}

TilePicture of(const std::shared_ptr<const tiles::Table>& table) {
  return {.table = table, .whole = nullptr};
}

/// Returns the number at the beginning of an update: the version that it continues.
int from(const TileFeed::Part& part) {
  return part.body->at(3);
}

class TileFeedTest : public testing::Test {
 protected:
  TileFeed::Part take(double byteRate = unlimitedRate) {
    return feed.take(start, byteRate).value();
  }
  milliseconds pause() const {
    return std::chrono::duration_cast<milliseconds>(feed.due() - start);
  }

  const TileFeed::Clock::time_point start{std::chrono::seconds(1000)};
  TileUpdates updates;
  TileFeed feed{updates};
};

TEST_F(TileFeedTest, HasNothingBeforeAnything) {
  EXPECT_FALSE(feed.hasNext());
}

TEST_F(TileFeedTest, ContinuesFromWhatTheViewerHas) {
  feed.offer(of(table(5)));
  ASSERT_TRUE(feed.hasNext());
  const auto first = take();
  EXPECT_EQ(first.contentType, "application/x-tarvinel-tiles");
  EXPECT_EQ(from(first), 0);
  EXPECT_FALSE(feed.hasNext());
  feed.offer(of(table(6)));
  feed.offer(of(table(9)));
  EXPECT_EQ(from(take()), 5);
  feed.offer(of(table(10)));
  EXPECT_EQ(from(take()), 9);
}

TEST_F(TileFeedTest, AWholePictureStartsAgainFromNothing) {
  feed.offer(of(table(5)));
  take();
  const Frame card = std::make_shared<const Bytes>(7);
  feed.offer({.table = nullptr, .whole = card});
  const auto part = take();
  EXPECT_EQ(part.contentType, "image/jpeg");
  EXPECT_EQ(part.body, card);
  EXPECT_FALSE(feed.hasNext());
  feed.offer(of(table(5)));
  EXPECT_EQ(from(take()), 0);
}

TEST_F(TileFeedTest, WhatTheTableDoesNotHaveMustBeRequested) {
  const tiles::Scroll scroll{.down = -16, .moved = {0}, .either = {}};
  const auto scrolled = std::make_shared<const tiles::Table>(table(5)->scrolled(scroll));
  feed.offer(of(scrolled));
  EXPECT_EQ(feed.take(start, unlimitedRate), std::nullopt);
  EXPECT_TRUE(feed.hasNext());
  feed.offer(of(std::make_shared<const tiles::Table>(
      scrolled->completed({0}, {std::make_shared<const Bytes>(3)}))));
  EXPECT_EQ(from(take()), 0);
  EXPECT_FALSE(feed.hasNext());
}

TEST_F(TileFeedTest, PausesForAThirtiethOfASecond) {
  feed.offer(of(table(1)));
  take();
  EXPECT_EQ(pause(), milliseconds(33));
}

TEST_F(TileFeedTest, PausesForAsLongAsItsShareOfTheBudgetTakes) {
  feed.offer(of(table(1, 20000)));
  const auto part = take(100000);
  EXPECT_EQ(pause(), milliseconds(part.body->size() / 100));
}

TEST_F(TileFeedTest, NeverPausesForLongerThanHalfASecond) {
  feed.offer(of(table(1, 1000000)));
  take(1);
  EXPECT_EQ(pause(), milliseconds(500));
}

TEST(TileUpdates, ViewersWithTheSameVersionShareAnUpdate) {
  TileUpdates updates;
  const auto newest = table(8);
  const auto one = updates.update(newest, 7);
  EXPECT_EQ(updates.update(newest, 7), one);
  EXPECT_NE(updates.update(newest, 6), one);
}

TEST(TileUpdates, ANewTableMeansNewUpdates) {
  TileUpdates updates;
  const auto one = updates.update(table(8), 7);
  const auto next = updates.update(table(9), 7);
  EXPECT_EQ(one->at(7), 8);
  EXPECT_EQ(next->at(7), 9);
}

TEST(TileUpdates, AreKeptOnlyAsLongAsTheyAreSent) {
  TileUpdates updates;
  const auto newest = table(8);
  const std::weak_ptr<const Bytes> update = updates.update(newest, 7);
  EXPECT_TRUE(update.expired());
}

}  // namespace
}  // namespace tarvinel

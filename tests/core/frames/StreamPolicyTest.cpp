#include "core/frames/StreamPolicy.h"
#include "tests/support/NoNumbers.h"

#include <gtest/gtest.h>

#include <limits>

namespace tarvinel {
namespace {

constexpr bool wired = true;
constexpr bool wireless = false;

TEST(StreamPolicy, RateFollowsTheBudgetTheViewersAndTheLink) {
  EXPECT_EQ(StreamPolicy::motionFPS(1, 60000, wired, 300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(10, 60000, wireless, 300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(30, 80000, wired, 300), 15);
  EXPECT_EQ(StreamPolicy::motionFPS(30, 80000, wireless, 300), 7);
  EXPECT_EQ(StreamPolicy::motionFPS(25, 150000, wired, 300), 10);
  EXPECT_EQ(StreamPolicy::motionFPS(100, 100000, wireless, 300), 4);
}

TEST(StreamPolicy, NothingToMeasureGivesTheCeiling) {
  EXPECT_EQ(StreamPolicy::motionFPS(0, 60000, wired, 300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(-1, 60000, wired, 300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(30, 0, wired, 300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(30, -5, wired, 300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(30, 80000, wired, 0), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(30, 80000, wired, -300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(30, 80000, wired, nan), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(0, 60000, wired, 300, 4, 12), 12);
}

TEST(StreamPolicy, RateIsRoundedDown) {
  // one viewer, a frame of 125 bytes: 1000 bits, so the budget in kilobits is the quotient
  EXPECT_EQ(StreamPolicy::motionFPS(1, 125, wired, 0.015999), 15);
  EXPECT_EQ(StreamPolicy::motionFPS(1, 125, wired, 0.0039), 4);
  EXPECT_EQ(StreamPolicy::motionFPS(1, 125, wired, 0.0059), 5);
  EXPECT_EQ(StreamPolicy::motionFPS(1, 125, wired, 1.0), 20);
}

TEST(StreamPolicy, ACeilingBelowTheFloorWins) {
  EXPECT_EQ(StreamPolicy::motionFPS(1, 60000, wired, 300, 10, 5), 5);
  EXPECT_EQ(StreamPolicy::motionFPS(100, 100000, wireless, 300, 10, 5), 5);
  EXPECT_EQ(StreamPolicy::motionFPS(0, 0, wired, 300, 10, 5), 5);
}

TEST(StreamPolicy, OnWiFiFramesMustBeHalfAsLargeForTheSameRate) {
  EXPECT_EQ(StreamPolicy::motionFPS(1, 1875000, wired, 300), 20);
  EXPECT_EQ(StreamPolicy::motionFPS(1, 1875000, wireless, 300), 10);
  EXPECT_EQ(StreamPolicy::motionFPS(1, 937500, wireless, 300), 20);
}

TEST(StreamPolicy, ViewersTimesBytesDoNotOverflow) {
  constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
  EXPECT_EQ(StreamPolicy::motionFPS(most, most, wireless, 300), 4);
}

TEST(StreamPolicy, AirTimeCountsWiFiTwice) {
  EXPECT_DOUBLE_EQ(StreamPolicy::airtimeMbps(10, 100000, 8, wired), 64.0);
  EXPECT_DOUBLE_EQ(StreamPolicy::airtimeMbps(10, 100000, 8, wireless), 128.0);
  EXPECT_DOUBLE_EQ(StreamPolicy::airtimeMbps(-1, 125000, 1, wired), -1.0);
}

TEST(StreamPolicyDeathTest, ARateThatNoIntegerHoldsStopsTheProgram) {
  EXPECT_DEATH(StreamPolicy::motionFPS(1, 60000, wired, infinity), "motion rate");
  EXPECT_DEATH(StreamPolicy::motionFPS(1, 1, wired, 1e20), "motion rate");
}

TEST(StreamPolicy, EachViewerGetsItsShareOfTheBudget) {
  EXPECT_DOUBLE_EQ(StreamPolicy::byteRate(30, true, 300), 1'250'000);
  EXPECT_DOUBLE_EQ(StreamPolicy::byteRate(30, false, 300), 625'000);
  EXPECT_DOUBLE_EQ(StreamPolicy::byteRate(0, true, 80), 10'000'000);
}

}  // namespace
}  // namespace tarvinel

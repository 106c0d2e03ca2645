#include "app/capture/pattern/Service.h"

#include <gtest/gtest.h>

#include <limits>

namespace tarvinel::pattern {
namespace {

using namespace std::chrono_literals;

TEST(PatternSchedule, MovesForFiveSecondsAtItsRate) {
  const Schedule schedule(20);
  EXPECT_EQ(schedule.stepAt(0s), 0);
  EXPECT_EQ(schedule.stepAt(49999999ns), 0);
  EXPECT_EQ(schedule.stepAt(50ms), 1);
  EXPECT_EQ(schedule.stepAt(4949999999ns), 98);
  EXPECT_EQ(schedule.stepAt(4950ms), 99);
}

TEST(PatternSchedule, IsStillForTheNextFive) {
  const Schedule schedule(20);
  EXPECT_EQ(schedule.stepAt(5s), 99);
  EXPECT_EQ(schedule.stepAt(9999999999ns), 99);
  EXPECT_EQ(schedule.stepAt(10s), 100);
  EXPECT_EQ(schedule.timeOf(99), 4950ms);
  EXPECT_EQ(schedule.timeOf(100), 10s);
}

TEST(PatternSchedule, EveryStepHasBegunAtItsTimeAndNotBefore) {
  for (const std::int32_t rate : {1, 3, 7, 20, 30, 60, 1000}) {
    const Schedule schedule(rate);
    for (std::int64_t step = 1; step < 3 * 5 * rate; ++step) {
      ASSERT_EQ(schedule.stepAt(schedule.timeOf(step)), step) << rate;
      ASSERT_EQ(schedule.stepAt(schedule.timeOf(step) - 1ns), step - 1) << rate;
    }
  }
}

TEST(PatternSchedule, TakesAnyRate) {
  EXPECT_EQ(Schedule(0).timeOf(1), 1s);
  EXPECT_EQ(Schedule(std::numeric_limits<std::int32_t>::min()).timeOf(1), 1s);
  EXPECT_EQ(Schedule(std::numeric_limits<std::int32_t>::max()).timeOf(1), 1ms);
}

}  // namespace
}  // namespace tarvinel::pattern

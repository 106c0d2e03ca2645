#include "app/updates/UpdateController.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/ManualMainQueue.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <utility>

namespace tarvinel {
namespace {

using test::CapturedLog;
using test::ManualMainQueue;
using test::TemporaryFolder;
using namespace std::chrono_literals;

using Time = UpdateSchedule::Time;

constexpr Time noon = Time(std::chrono::seconds(1'795'262'400));

/// A queue that records the interval of a repeated task.
class TimedQueue : public ManualMainQueue {
 public:
  std::unique_ptr<Timer> repeat(std::chrono::milliseconds interval,
                                std::function<void()> task) override {
    interval_ = interval;
    return ManualMainQueue::repeat(interval, std::move(task));
  }

  std::chrono::milliseconds interval() const { return interval_; }

 private:
  std::chrono::milliseconds interval_{0};
};

class UpdateScheduleTest : public testing::Test {
 protected:
  /// Starts a run of the program, whose saved values are in the file.
  void start() {
    schedule.reset();
    memory = std::make_unique<UserDefaults>(UserDefaults::Place{folder / "updates.json"},
                                            log.category("app"));
    schedule = std::make_unique<UpdateSchedule>(
        UpdateSchedule::Environment{queue, *memory, [this] { return now; }}, [this] { ++due; });
  }

  int dueAt(Time time) {
    now = time;
    due = 0;
    queue.tick();
    return due;
  }

  TemporaryFolder folder;
  CapturedLog log;
  TimedQueue queue;
  Time now = noon;
  int due = 0;
  std::unique_ptr<UserDefaults> memory;
  std::unique_ptr<UpdateSchedule> schedule;
};

TEST_F(UpdateScheduleTest, ACheckIsDueADayAfterTheLast) {
  EXPECT_TRUE(UpdateSchedule::isDue(noon, std::nullopt));
  EXPECT_FALSE(UpdateSchedule::isDue(noon, noon));
  EXPECT_FALSE(UpdateSchedule::isDue(noon + 24h - 1s, noon));
  EXPECT_TRUE(UpdateSchedule::isDue(noon + 24h, noon));
  EXPECT_TRUE(UpdateSchedule::isDue(noon + 9000h, noon));
}

TEST_F(UpdateScheduleTest, ACheckInTheFutureDoesNotCount) {
  EXPECT_TRUE(UpdateSchedule::isDue(noon - 1s, noon));
}

TEST_F(UpdateScheduleTest, NothingHappensInTheFirstMinute) {
  start();
  EXPECT_EQ(due, 0);
  EXPECT_GT(queue.interval(), 1min + 5s);
}

TEST_F(UpdateScheduleTest, TheFirstCheckComesWithTheFirstLook) {
  start();
  EXPECT_EQ(dueAt(noon + 2min), 1);
}

TEST_F(UpdateScheduleTest, ChecksDaily) {
  start();
  EXPECT_EQ(dueAt(noon), 1);
  schedule->checkMade();
  EXPECT_EQ(dueAt(noon + 24h - 1s), 0);
  EXPECT_EQ(dueAt(noon + 24h), 1);
  schedule->checkMade();
  EXPECT_EQ(dueAt(noon + 24h + 2min), 0);
  EXPECT_EQ(dueAt(noon + 48h), 1);
}

TEST_F(UpdateScheduleTest, ACheckThatWasNotMadeIsDueAgainADayLater) {
  start();
  EXPECT_EQ(dueAt(noon), 1);
  EXPECT_EQ(dueAt(noon + 2min), 0);
  EXPECT_EQ(dueAt(noon + 24h - 1s), 0);
  EXPECT_EQ(dueAt(noon + 24h), 1);
}

TEST_F(UpdateScheduleTest, AnyCheckPutsOffTheNext) {
  start();
  EXPECT_EQ(dueAt(noon), 1);
  now = noon + 23h;
  schedule->checkMade();
  EXPECT_EQ(dueAt(noon + 24h), 0);
  EXPECT_EQ(dueAt(noon + 47h), 1);
}

TEST_F(UpdateScheduleTest, RemembersTheLastCheckFromOneRunToTheNext) {
  start();
  schedule->checkMade();
  start();
  EXPECT_EQ(dueAt(noon + 24h - 1s), 0);
  EXPECT_EQ(dueAt(noon + 24h), 1);
}

TEST_F(UpdateScheduleTest, ACheckThatWasNotMadeIsNotRemembered) {
  start();
  EXPECT_EQ(dueAt(noon), 1);
  start();
  EXPECT_EQ(dueAt(noon + 2min), 1);
}

TEST_F(UpdateScheduleTest, AMemoryThatMakesNoSenseIsNone) {
  for (const char* content :
       {"", "{", R"({"lastUpdateCheck": 7})", R"({"lastUpdateCheck": "x"})",
        R"({"lastUpdateCheck": "1795262400x"})", R"({"lastUpdateCheck": "-1"})",
        R"({"lastUpdateCheck": "99999999999999999999"})", R"({"lastUpdateCheck": "4294967295"})"}) {
    folder.write("updates.json", content);
    start();
    EXPECT_EQ(dueAt(noon), 1) << content;
  }
  folder.write("updates.json", R"({"lastUpdateCheck": "1795262400"})");
  start();
  EXPECT_EQ(dueAt(noon + 24h - 1s), 0);
}

}  // namespace
}  // namespace tarvinel

#include "core/support/RepeatingTimer.h"

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>

namespace tarvinel {
namespace {

using std::chrono::milliseconds;

/// A queue with a timer that counts its ticks and stops itself after a given number.
class CountingTimer {
 public:
  explicit CountingTimer(int wanted) : wanted_(wanted) {}
  ~CountingTimer() { queue_.stop(); }
  CountingTimer(const CountingTimer&) = delete;
  CountingTimer& operator=(const CountingTimer&) = delete;

  void run(bool wanted) {
    queue_.sync([&] { timer_.run(wanted); });
  }
  void awaitLastTick() { lastTick_.get_future().wait(); }
  int ticks() {
    return queue_.sync([this] { return ticks_; });
  }

 private:
  void tick() {
    if (++ticks_ < wanted_) return;
    timer_.run(false);
    lastTick_.set_value();
  }

  SerialQueue queue_{".test"};
  QueueTimer timer_{queue_, milliseconds(1), [this] { tick(); }};
  std::promise<void> lastTick_;
  int ticks_ = 0;
  const int wanted_;
};

TEST(QueueTimer, TicksUntilItIsStopped) {
  CountingTimer timer(3);
  timer.run(true);
  timer.awaitLastTick();
  EXPECT_EQ(timer.ticks(), 3);
}

TEST(QueueTimer, RunsAgainAfterAStop) {
  CountingTimer timer(3);
  timer.run(true);
  timer.run(true);
  timer.run(false);
  timer.run(false);
  timer.run(true);
  timer.awaitLastTick();
  EXPECT_EQ(timer.ticks(), 3);
}

TEST(QueueTimer, MayGoWhileItRuns) {
  CountingTimer timer(1000000);
  timer.run(true);
}

}  // namespace
}  // namespace tarvinel

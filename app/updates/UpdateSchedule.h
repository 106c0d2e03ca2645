#pragma once

#include "app/platform/MainQueue.h"
#include "app/platform/UserDefaults.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace tarvinel {

/// When scheduled checks for updates are made: a day after the last check of any kind, which is
/// remembered from one run to the next, and never in the first minute of a run.
///
/// Lives on the main queue.
class UpdateSchedule {
 public:
  using Time = std::chrono::system_clock::time_point;

  static constexpr std::chrono::hours interval{24};

  /// How often the clock is read, first after this time; a toolkit's timer may be early by a
  /// twentieth.
  static constexpr std::chrono::minutes step{2};

  struct Environment {
    MainQueue& mainQueue;
    UserDefaults& memory;
    std::function<Time()> now;
  };

  /// Begins; `onDue` is called whenever a check is due, and again a day later if it was not made.
  UpdateSchedule(Environment environment, std::function<void()> onDue);

  /// A check is being made; it is remembered.
  void checkMade();

  /// Whether a check is due when the last one was at that time, if ever. One in the future, since
  /// the clock was set back, does not count.
  static bool isDue(Time now, std::optional<Time> last);

 private:
  void look();

  const Environment environment_;
  const std::function<void()> onDue_;
  std::optional<Time> last_;
  const std::unique_ptr<MainQueue::Timer> timer_;
};

}  // namespace tarvinel

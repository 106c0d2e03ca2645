#pragma once

#include <chrono>
#include <cstdint>

namespace tarvinel::pattern {

/// When the built-in picture moves: five seconds at a steady rate, five of stillness, over and
/// over. Pure; times count from the start of the stream.
class Schedule {
 public:
  using Duration = std::chrono::nanoseconds;

  /// The rate is taken as 1 to 1000 steps a second.
  explicit Schedule(std::int32_t stepsPerSecond);

  /// The step shown at that time, from 0 on.
  std::int64_t stepAt(Duration elapsed) const;

  /// When that step begins; the inverse of `stepAt`.
  Duration timeOf(std::int64_t step) const;

 private:
  std::int64_t rate_;
};

}  // namespace tarvinel::pattern

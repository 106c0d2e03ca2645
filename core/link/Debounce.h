#pragma once

#include <algorithm>
#include <chrono>
#include <optional>

namespace tarvinel {

/// When to act on events that come in bursts: once none has come for a while, but not for ever
/// later than the first. Plain value; time is passed in.
class Debounce {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;

  Debounce(std::chrono::milliseconds quiet, std::chrono::milliseconds longest)
      : quiet_(quiet), longest_(longest) {}

  /// An event has come; returns when to act unless another one comes.
  TimePoint event(TimePoint now) {
    first_ = first_.value_or(now);
    return std::min(now + quiet_, *first_ + longest_);
  }

  /// The next event is the first of another burst.
  void acted() { first_.reset(); }

 private:
  std::chrono::milliseconds quiet_;
  std::chrono::milliseconds longest_;
  std::optional<TimePoint> first_;
};

}  // namespace tarvinel

#pragma once

#include <chrono>
#include <cstdint>

namespace tarvinel::x11 {

/// When a stream may look at the screen again. Pure: the time is passed in.
class CapturePacing {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// A rate below 1 counts as 1.
  explicit CapturePacing(std::int32_t framesPerSecond);

  /// The earliest time of the next look; long ago at first.
  Time notBefore() const { return notBefore_; }

  /// Takes notice of a look begun at `now`. After a frame the next comes an interval later at the
  /// earliest. A look in vain (something moved, but not here) holds back a frame for a fraction of
  /// that only, and yet a busy neighbour cannot cause looks without end.
  void looked(Time now, bool delivered);

 private:
  std::chrono::nanoseconds interval_;
  Time notBefore_{};
};

}  // namespace tarvinel::x11

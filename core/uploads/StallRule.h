#pragma once

#include <algorithm>
#include <chrono>
#include <cstdint>

namespace tarvinel {

/// When an upload no longer moves: it has been silent for too long, or it is, over its whole life,
/// too slow. Pure; times are durations of monotonic time.
struct StallRule {
  using Seconds = std::chrono::duration<double>;

  /// The age before which no upload is too slow.
  static constexpr Seconds grace{10};

  Seconds timeout{30};                     ///< the longest silence allowed
  std::int64_t minBytesPerSecond = 20000;  ///< on average since the start

  /// How often to look.
  Seconds checkInterval() const { return std::min(timeout / 2, Seconds(5)); }

  bool isStalled(Seconds idle, Seconds age, std::int64_t bytes) const {
    if (idle >= timeout) return true;
    return age >= grace &&
           static_cast<double>(bytes) / age.count() < static_cast<double>(minBytesPerSecond);
  }
};

}  // namespace tarvinel

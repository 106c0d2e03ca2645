#pragma once

#include "app/doctor/Finding.h"
#include "core/support/UniqueFd.h"

#include <sys/types.h>

#include <chrono>
#include <functional>
#include <optional>

namespace tarvinel {

/// A check at work in a process of its own: whatever it waits for (an X server that hangs, a disk
/// that is gone), and even its crash, is nothing to this process. Make it while this process has
/// one thread.
class CheckProcess {
 public:
  using Clock = std::chrono::steady_clock;

  /// Begins to run it. Throws std::system_error.
  explicit CheckProcess(const std::function<Findings()>& run);

  /// Ends it, if it still runs.
  ~CheckProcess();
  CheckProcess(const CheckProcess&) = delete;
  CheckProcess& operator=(const CheckProcess&) = delete;

  /// What it found; nothing when it has not come to an end by then, or ended without a result.
  /// Blocks until then at the most. To be called once.
  std::optional<Findings> await(Clock::time_point deadline);

 private:
  UniqueFd output_;
  pid_t process_ = 0;
};

}  // namespace tarvinel

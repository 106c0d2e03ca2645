#pragma once

#include "core/support/Log.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace tarvinel {

/// A log line that clients can cause at will, and so fill the disk with. The first is logged at
/// once; of those that follow within a second only the last is, with their number. Lives on the
/// server's queue, which must have been stopped before this is destroyed.
class ThrottledLine {
 public:
  static constexpr std::chrono::seconds interval{1};

  ThrottledLine(SerialQueue& queue, Logger logger, spdlog::level::level_enum level);

  void log(std::string line);

  /// Logs the pending line, if any, and stops the timer.
  void finish();

 private:
  void intervalIsOver();
  void report();

  const Logger logger_;
  const spdlog::level::level_enum level_;
  QueueTimer timer_;         ///< runs after a line was logged
  std::string last_;         ///< of the lines not yet logged
  std::size_t waiting_ = 0;  ///< number of lines not yet logged
};

}  // namespace tarvinel

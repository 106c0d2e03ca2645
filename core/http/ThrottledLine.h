#pragma once

#include "core/support/Log.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace tarvinel {

/// A log line that clients can cause as often as they like, and so fill the disk with. The first is
/// logged at once; of those that follow within a second only the last, with their number. Lives on
/// the server's queue, which must have been stopped before this is destroyed.
class ThrottledLine {
 public:
  static constexpr std::chrono::seconds interval{1};

  ThrottledLine(SerialQueue& queue, Logger logger, spdlog::level::level_enum level);

  void log(std::string line);

  /// Logs what is still to be logged, and waits for nothing more.
  void finish();

 private:
  void intervalIsOver();
  void report();

  const Logger logger_;
  const spdlog::level::level_enum level_;
  QueueTimer timer_;         ///< runs after a line was logged
  std::string last_;         ///< of those that were not
  std::size_t waiting_ = 0;  ///< how many were not
};

}  // namespace tarvinel

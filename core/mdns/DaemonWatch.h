#pragma once

#include "core/support/SerialQueue.h"

#include <cstdint>
#include <functional>
#include <memory>

namespace tarvinel {

/// Tells whether a daemon runs that publishes names, now and whenever that changes, until it is
/// destroyed. Lives on a queue.
class DaemonWatch {
 public:
  enum class Finding : std::uint8_t {
    running,  ///< it runs, or has been replaced by another that runs
    absent,   ///< there is none
    unknown,  ///< who should know does not answer; nothing more is found
  };
  using Callback = std::function<void(Finding)>;
  using Factory =
      std::function<std::unique_ptr<DaemonWatch>(SerialQueue& queue, Callback onFinding)>;

  virtual ~DaemonWatch() = default;
  DaemonWatch() = default;
  DaemonWatch(const DaemonWatch&) = delete;
  DaemonWatch& operator=(const DaemonWatch&) = delete;
};

}  // namespace tarvinel

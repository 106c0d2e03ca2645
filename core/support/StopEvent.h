#pragma once

#include "core/support/UniqueFd.h"

#include <sys/eventfd.h>

#include <cerrno>
#include <system_error>

namespace tarvinel {

/// Tells a thread that waits in poll(2) to stop: a descriptor that becomes readable, for good.
class StopEvent {
 public:
  /// Throws std::system_error.
  StopEvent() : fd_(eventfd(0, EFD_CLOEXEC)) {
    if (!fd_) throw std::system_error(errno, std::generic_category(), "eventfd");
  }

  int fd() const { return fd_.get(); }
  void set() const { eventfd_write(fd_.get(), 1); }

 private:
  UniqueFd fd_;
};

}  // namespace tarvinel

#pragma once

#include <cstdint>
#include <future>
#include <optional>

namespace tarvinel {

/// A disk whose free space can be queried once, which hangs until the disk is released.
class HangingDisk {
 public:
  explicit HangingDisk(std::int64_t freeBytes) : freeBytes_(freeBytes) {}

  /// Returns when released; called by the code under test.
  std::optional<std::int64_t> freeSpace() {
    asked_.set_value();
    released_.get_future().wait();
    return freeBytes_;
  }

  void waitUntilAsked() { asked_.get_future().wait(); }
  void release() { released_.set_value(); }

 private:
  const std::int64_t freeBytes_;
  std::promise<void> asked_;
  std::promise<void> released_;
};

}  // namespace tarvinel

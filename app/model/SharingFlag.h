#pragma once

#include "core/http/StatusSnapshot.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace tarvinel {

/// The few values of the application model that other threads read. Thread-safe: every access takes
/// the lock.
class SharingFlag {
 public:
  /// Records that a source with this display name is shared.
  void startSharing(std::string source);
  void stopSharing();
  void setMotionFPS(std::int64_t motionFPS);

  /// Returns the state for "/status"; the server fills in the viewers.
  StatusSnapshot snapshot() const;

 private:
  mutable std::mutex mutex_;
  std::optional<std::string> source_;  ///< present while sharing
  std::int64_t motionFPS_ = 0;
};

}  // namespace tarvinel

#pragma once

#include "core/http/StatusSnapshot.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace tarvinel {

/// The few values of the application model that other threads read; every access takes the lock.
class SharingFlag {
 public:
  /// Sharing is on, of a source with this display name.
  void startSharing(std::string source);
  void stopSharing();
  void setMotionFPS(std::int64_t motionFPS);

  /// For "/status"; the viewers are filled in by the server.
  StatusSnapshot snapshot() const;

 private:
  mutable std::mutex mutex_;
  std::optional<std::string> source_;  ///< present while sharing
  std::int64_t motionFPS_ = 0;
};

}  // namespace tarvinel

#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace tarvinel {

/// Limits how long the program takes to end. An orderly end waits for disks, for the display and
/// for the desktop's services, and any of them may hang. Declare it before everything whose
/// destructor can wait. Thread-safe.
class EndingLimit {
 public:
  /// Sufficient for a slow memory card to store the rest of a large photo.
  static constexpr std::chrono::milliseconds usualLimit{10000};
  static constexpr int exitStatus = 1;

  explicit EndingLimit(std::chrono::milliseconds limit = usualLimit) : limit_(limit) {}

  /// Cancels the limit: the program has ended in time.
  ~EndingLimit();
  EndingLimit(const EndingLimit&) = delete;
  EndingLimit& operator=(const EndingLimit&) = delete;

  /// Starts the limit: if this object is not destroyed within it, the process writes a message to
  /// standard error and exits with `exitStatus`, without running any destructor. Idempotent.
  void begin();

 private:
  void watch();
  [[noreturn]] void giveUp() const;

  const std::chrono::milliseconds limit_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool ended_ = false;  // guarded by mutex_
  std::thread watch_;   // guarded by mutex_ until the destructor
};

}  // namespace tarvinel

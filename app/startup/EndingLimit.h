#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace tarvinel {

/// Bounds how long the program takes to end. An orderly end waits for disks, for the display and
/// for the desktop's services, and any of them may hang. Declared before everything whose
/// destructor can wait; safe from any thread.
class EndingLimit {
 public:
  /// Long enough for a slow memory card to take the end of a large photo.
  static constexpr std::chrono::milliseconds usualLimit{10000};
  static constexpr int exitStatus = 1;

  explicit EndingLimit(std::chrono::milliseconds limit = usualLimit) : limit_(limit) {}

  /// The program has ended in time.
  ~EndingLimit();
  EndingLimit(const EndingLimit&) = delete;
  EndingLimit& operator=(const EndingLimit&) = delete;

  /// The program is ending: when this is not destroyed within the limit, the process says so on
  /// standard error and exits with `exitStatus`, without any destructor. Idempotent.
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

#pragma once

#include <csignal>
#include <cstddef>
#include <cstdint>

namespace tarvinel::portal {

/// A part of a file, as it is mapped into memory.
struct SharedMap {
  const std::uint8_t* begin = nullptr;
  std::size_t bytes = 0;  ///< 0: none
  int file = -1;
  std::int64_t offset = 0;  ///< where in the file it begins
};

/// While it exists, its thread may read a map whose file another process may truncate. The kernel
/// then sends SIGBUS (mmap(2), "Use of a mapped region"), which would end the program; with the
/// guard the missing pages read as zeros. It handles the signal for the whole process, so there is
/// one guard at a time.
class TruncationGuard {
 public:
  explicit TruncationGuard(const SharedMap& map);

  /// Maps the file again where it was truncated: it may have grown since.
  ~TruncationGuard();

  TruncationGuard(const TruncationGuard&) = delete;
  TruncationGuard& operator=(const TruncationGuard&) = delete;

  /// Returns whether a part was missing when it was read.
  bool wasTruncated() const { return truncated_ != 0; }

 private:
  static void handle(int signal, siginfo_t* info, void* context);
  bool fillWithZeros(const void* missing);

  std::uint8_t* begin_;  ///< of its first page
  std::size_t bytes_;
  int file_;
  std::int64_t offset_;
  struct sigaction before_{};
  volatile std::sig_atomic_t truncated_ = 0;
};

}  // namespace tarvinel::portal

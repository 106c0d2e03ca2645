#pragma once

#include "core/support/BlockingPool.h"
#include "core/support/Log.h"
#include "core/support/Result.h"
#include "core/uploads/PartialFile.h"
#include "core/uploads/UploadStore.h"

#include <asio/steady_timer.hpp>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>

namespace tarvinel {

/// The error of bytes of an upload that did not reach the disk.
class UploadSinkError : public std::runtime_error {
 public:
  enum class Case : std::uint8_t {
    ioFailure,  ///< the file system reported an error
    closed,     ///< the sink was finished or aborted before
  };

  static UploadSinkError couldNotOpen(const std::filesystem::path& path) {
    return {Case::ioFailure, "could not open " + path.string() + " for writing"};
  }
  static UploadSinkError ioFailure(const std::string& description) {
    return {Case::ioFailure, description};
  }
  static UploadSinkError closed() { return {Case::closed, "the upload has ended"}; }

  Case kind() const { return kind_; }
  bool operator==(const UploadSinkError& other) const {
    return kind_ == other.kind_ && std::string_view(what()) == other.what();
  }

 private:
  UploadSinkError(Case kind, const std::string& text) : std::runtime_error(text), kind_(kind) {}

  Case kind_;
};

/// Decides when an upload has stalled: it has been silent for too long or is, over its whole life,
/// too slow. Pure; times are durations of monotonic time.
struct StallRule {
  using Seconds = std::chrono::duration<double>;

  /// The age before which no upload is too slow.
  static constexpr Seconds grace{10};

  Seconds timeout{30};                     ///< the longest silence allowed
  std::int64_t minBytesPerSecond = 20000;  ///< on average since the start

  /// Returns how often to check.
  Seconds checkInterval() const { return std::min(timeout / 2, Seconds(5)); }

  bool isStalled(Seconds idle, Seconds age, std::int64_t bytes) const {
    if (idle >= timeout) return true;
    return age >= grace &&
           static_cast<double>(bytes) / age.count() < static_cast<double>(minBytesPerSecond);
  }
};

/// The open file of one upload. Writes it on a queue of its own, ".upload." and a UUID, so that a
/// disk that hangs blocks nothing else, and cuts off an upload that has stalled.
///
/// Its operations are safe from any thread and return at once; completions run on its queue. The
/// partial file stays locked until the sink is destroyed.
class UploadSink : public std::enable_shared_from_this<UploadSink> {
 public:
  /// Makes the partial file of a reservation; blocks as long as the disk does. Returns null if
  /// another program has taken the name. `onStall` is called at most once, on the sink's queue.
  /// Throws UploadSinkError.
  static std::shared_ptr<UploadSink> open(BlockingPool& pool,
                                          const UploadStore::Reservation& reservation,
                                          const StallRule& rule, std::function<void()> onStall,
                                          Logger logger);

  /// Writes all of `chunk`, which must stay valid until the completion.
  void write(std::span<const std::uint8_t> chunk, Completion<void> completion);

  /// Ends the file; completes once it would survive a power cut.
  void finish(Completion<void> completion);

  /// Ends the file in any state; `done` is called when no more bytes can reach it.
  void abort(std::function<void()> done);

  /// Returns the number of bytes that reached the file.
  std::int64_t bytesWritten() const { return bytesWritten_; }

  const PooledQueue& queue() const { return queue_; }

  /// Returns the file, for the store to set and remove its names.
  const PartialFile& file() const { return file_; }

 private:
  using Clock = std::chrono::steady_clock;

  UploadSink(BlockingPool& pool, PartialFile file, const StallRule& rule,
             std::function<void()> onStall, Logger logger);

  void awaitCheck();
  void checkStall();
  void append(std::span<const std::uint8_t> chunk);
  void finishFile();
  void end();

  PooledQueue queue_;
  const StallRule rule_;
  const std::function<void()> onStall_;
  const Logger logger_;
  const Clock::time_point startedAt_ = Clock::now();
  std::atomic<std::int64_t> bytesWritten_ = 0;

  // on queue_
  PartialFile file_;
  asio::steady_timer timer_;
  Clock::time_point lastByteAt_ = startedAt_;
  bool closed_ = false;
};

}  // namespace tarvinel

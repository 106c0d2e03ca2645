#pragma once

#include "core/support/BlockingPool.h"
#include "core/support/Log.h"
#include "core/support/Result.h"
#include "core/uploads/PartialFile.h"
#include "core/uploads/StallRule.h"
#include "core/uploads/UploadStore.h"

#include <asio/steady_timer.hpp>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>

namespace tarvinel {

/// The open file of one upload. Writes it on a queue of its own, ".upload." and a UUID, so that a
/// disk that hangs holds up nobody else, and cuts an upload off that no longer moves.
///
/// Its operations are safe from any thread and return at once; completions run on its queue. The
/// partial file stays locked until the sink goes.
class UploadSink : public std::enable_shared_from_this<UploadSink> {
 public:
  /// Makes the partial file of a reservation; blocks as long as the disk does. Returns null when
  /// another program has taken the name. `onStall` is called at most once, on the sink's queue.
  /// Throws UploadSinkError.
  static std::shared_ptr<UploadSink> open(BlockingPool& pool,
                                          const UploadStore::Reservation& reservation,
                                          const StallRule& rule, std::function<void()> onStall,
                                          Logger logger);

  /// Writes all of `chunk`, which must stay until the completion.
  void write(std::span<const std::uint8_t> chunk, Completion<void> completion);

  /// Ends the file; completes once it would survive a power cut.
  void finish(Completion<void> completion);

  /// Ends it in whatever state it is; `done` is called when no more byte can reach the file.
  void abort(std::function<void()> done);

  /// Bytes that reached the file.
  std::int64_t bytesWritten() const { return bytesWritten_; }

  const PooledQueue& queue() const { return queue_; }

  /// For its names, which the store gives and takes.
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

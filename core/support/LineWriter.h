#pragma once

#include "core/support/UniqueFd.h"

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>
#include <ostream>
#include <sstream>
#include <string>
#include <string_view>
#include <thread>

namespace tarvinel {

/// Writes lines on a thread of its own, so that nothing else waits for a terminal that is held
/// (Ctrl+S), a pipe that nobody reads or a connection that is dead.
///
/// The queue is bounded: from the first line that does not fit, lines are dropped until everything
/// queued has been written; then one line reports how many are missing there. Safe from any thread.
class LineWriter {
 public:
  static constexpr std::size_t maxQueuedBytes = std::size_t{1} << 20U;

  /// How long the destructor waits for the queued lines.
  static constexpr std::chrono::seconds endLimit{1};

  /// Opens the output, a descriptor such as `nonBlockingOutput` returns; called by the constructor,
  /// and on the writer's thread after an error. Each line is one datagram if the output takes
  /// datagrams.
  using Open = std::function<UniqueFd()>;

  /// Formats a line from the sentence that reports missing lines; called on the writer's thread.
  using LineOf = std::function<std::string(const std::string& sentence)>;

  LineWriter(Open open, LineOf lineOf);

  /// Writes the queued lines, but drops them after `endLimit`. Waits longer only for an ordinary
  /// file on a disk that hangs.
  ~LineWriter();
  LineWriter(const LineWriter&) = delete;
  LineWriter& operator=(const LineWriter&) = delete;

  /// Queues one line, which includes its line end. Never blocks.
  void write(std::string line);

  /// Waits until everything queued has been written; returns false if it was not within the limit.
  bool flush(std::chrono::milliseconds limit);

 private:
  void run();
  std::optional<std::string> next();
  void written(std::size_t bytes);
  void deliver(std::string_view line);
  bool send(std::string_view line) const;
  bool waitUntilWritable() const;

  const Open open_;
  const LineOf lineOf_;
  const StopEvent givenUp_;  ///< set once the queued lines are to be dropped

  std::mutex mutex_;
  std::condition_variable changed_;
  // guarded by mutex_
  std::deque<std::string> queue_;
  std::size_t queuedBytes_ = 0;  ///< includes the line that is being written
  std::size_t dropped_ = 0;      ///< since the last report
  bool ending_ = false;

  UniqueFd output_;  ///< used on the thread
  std::thread thread_;
};

/// An output stream whose text goes through a LineWriter whenever the stream is flushed, as by
/// std::endl. Writing to it never blocks. Used on one thread.
class LineStream : public std::ostream {
 public:
  /// Writes to the descriptor's output; the descriptor stays open and the caller's.
  explicit LineStream(int fd);
  ~LineStream() override;
  LineStream(const LineStream&) = delete;
  LineStream& operator=(const LineStream&) = delete;

 private:
  class Buffer : public std::stringbuf {
   public:
    explicit Buffer(int fd);

   private:
    int sync() override;

    LineWriter writer_;
  };

  Buffer buffer_;
};

}  // namespace tarvinel

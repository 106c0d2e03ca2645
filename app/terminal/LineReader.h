#pragma once

#include "core/support/UniqueFd.h"

#include <functional>
#include <string>
#include <thread>

namespace tarvinel {

/// Reads lines from a file descriptor on a thread of its own. At the end of input it stops reading.
///
/// It needs a thread because standard input may be anything: an epoll set rejects ordinary files
/// and /dev/null, and a non-blocking descriptor would change it for the shell as well.
class LineReader {
 public:
  static constexpr std::size_t maxLineBytes = 4096;

  /// Starts reading. `onLine` is called on the reader's thread, without the line end; a line over
  /// the limit is skipped. The caller keeps ownership of the descriptor.
  LineReader(int fd, std::function<void(std::string)> onLine);

  /// Ends the thread, even while it waits for input.
  ~LineReader();
  LineReader(const LineReader&) = delete;
  LineReader& operator=(const LineReader&) = delete;

 private:
  void run(int fd);
  bool waitForInput(int fd) const;
  void consume(std::string_view input);

  const std::function<void(std::string)> onLine_;
  std::string line_;
  bool overlong_ = false;
  const StopEvent stop_;
  std::thread thread_;
};

}  // namespace tarvinel

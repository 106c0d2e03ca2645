#pragma once

#include "core/support/UniqueFd.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <stdexcept>
#include <string>
#include <string_view>
#include <system_error>

namespace tarvinel::test {

/// A pipe with a small buffer, both ends blocking.
class Pipe {
 public:
  Pipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::system_category());
    reader_.reset(ends[0]);
    writer_.reset(ends[1]);
    fcntl(writer_.get(), F_SETPIPE_SZ, 8192);
  }

  int reader() const { return reader_.get(); }
  int writer() const { return writer_.get(); }

  /// Writes until nothing more fits.
  void fill() const {
    const int flags = fcntl(writer_.get(), F_GETFL);
    fcntl(writer_.get(), F_SETFL, flags | O_NONBLOCK);
    while (::write(writer_.get(), "x", 1) == 1) {
    }
    fcntl(writer_.get(), F_SETFL, flags);
  }

  /// Waits for data and returns a piece of it; empty at the end.
  std::string read() const {
    std::array<char, 4096> piece{};
    const ssize_t count = ::read(reader_.get(), piece.data(), piece.size());
    if (count < 0) throw std::system_error(errno, std::system_category());
    return {piece.data(), static_cast<std::size_t>(count)};
  }

  /// Reads until the text ends with `end`. Throws if the writer is closed before.
  std::string readUntil(std::string_view end) const {
    std::string text;
    while (!text.ends_with(end)) {
      const std::string piece = read();
      if (piece.empty()) throw std::runtime_error("The pipe ended with: " + text);
      text += piece;
    }
    return text;
  }

 private:
  UniqueFd reader_;
  UniqueFd writer_;
};

}  // namespace tarvinel::test

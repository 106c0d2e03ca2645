#include "app/terminal/LineReader.h"

#include <poll.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdint>
#include <string_view>
#include <utility>

namespace tarvinel {

LineReader::LineReader(int fd, std::function<void(std::string)> onLine)
    : onLine_(std::move(onLine)), thread_([this, fd] { run(fd); }) {}

LineReader::~LineReader() {
  stop_.set();
  thread_.join();
}

void LineReader::run(int fd) {
  std::array<char, 4096> input{};
  while (waitForInput(fd)) {
    const ssize_t count = read(fd, input.data(), input.size());
    if (count > 0) {
      consume({input.data(), static_cast<std::size_t>(count)});
    } else if (count == 0 || (errno != EINTR && errno != EAGAIN)) {
      return;
    }
  }
}

/// Returns false if the reader must stop.
bool LineReader::waitForInput(int fd) const {
  std::array<pollfd, 2> waiting{{{fd, POLLIN, 0}, {stop_.fd(), POLLIN, 0}}};
  while (poll(waiting.data(), waiting.size(), -1) < 0 && errno == EINTR) {
  }
  return waiting[1].revents == 0;
}

void LineReader::consume(std::string_view input) {
  for (const char character : input) {
    if (character == '\n') {
      if (!overlong_) onLine_(std::exchange(line_, {}));
      line_.clear();
      overlong_ = false;
    } else if (line_.size() < maxLineBytes) {
      line_ += character;
    } else {
      overlong_ = true;
    }
  }
}

}  // namespace tarvinel

#include "core/support/NonBlockingOutput.h"

#include <climits>

#include <fcntl.h>
#include <fmt/format.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <string>

namespace tarvinel {

namespace {

bool canBeOpenedAgain(int fd) {
  struct stat status{};
  return isatty(fd) == 1 || (fstat(fd, &status) == 0 && S_ISFIFO(status.st_mode));
}

UniqueFd openedAgain(int fd) {
  const std::string path = fmt::format("/proc/self/fd/{}", fd);
  return UniqueFd(open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC));
}

bool isWritable(int fd) {
  pollfd descriptor{fd, POLLOUT, 0};
  return poll(&descriptor, 1, 0) > 0 && (descriptor.revents & POLLOUT) != 0;
}

}  // namespace

UniqueFd nonBlockingOutput(int fd) {
  UniqueFd output;
  if (canBeOpenedAgain(fd)) output = openedAgain(fd);
  if (!output) output.reset(fcntl(fd, F_DUPFD_CLOEXEC, 0));
  return output;
}

ssize_t writeSome(int fd, std::string_view bytes) {
  const ssize_t sent = send(fd, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
  if (sent >= 0 || errno != ENOTSOCK) return sent;
  // a writable pipe takes this many bytes without blocking, whatever its flags (pipe(7))
  return write(fd, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
}

void writeWithoutWaiting(int fd, std::string_view text) noexcept {
  const UniqueFd output = nonBlockingOutput(fd);
  while (!text.empty() && output && isWritable(output.get())) {
    const ssize_t count = writeSome(output.get(), text);
    if (count < 0 && errno == EINTR) continue;
    if (count <= 0) return;
    text.remove_prefix(static_cast<std::size_t>(count));
  }
}

}  // namespace tarvinel

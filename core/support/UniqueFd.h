#pragma once

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>
#include <utility>

namespace tarvinel {

/// Owns one file descriptor and closes it. −1 means that there is none.
class UniqueFd {
 public:
  UniqueFd() = default;
  explicit UniqueFd(int fd) : fd_(fd) {}
  ~UniqueFd() { reset(); }
  UniqueFd(UniqueFd&& other) noexcept : fd_(other.release()) {}
  UniqueFd& operator=(UniqueFd&& other) noexcept {
    if (this != &other) reset(other.release());
    return *this;
  }
  UniqueFd(const UniqueFd&) = delete;
  UniqueFd& operator=(const UniqueFd&) = delete;

  int get() const { return fd_; }
  explicit operator bool() const { return fd_ >= 0; }

  /// Releases the descriptor without closing it.
  int release() { return std::exchange(fd_, -1); }

  void reset(int fd = -1) {
    if (fd_ >= 0) ::close(fd_);
    fd_ = fd;
  }

 private:
  int fd_ = -1;
};

/// Signals a thread in poll(2) to stop, by a descriptor that becomes permanently readable.
class StopEvent {
 public:
  /// Throws std::system_error if there is no descriptor available.
  StopEvent() : fd_(eventfd(0, EFD_CLOEXEC)) {
    if (!fd_) throw std::system_error(errno, std::generic_category(), "eventfd");
  }

  int fd() const { return fd_.get(); }
  void set() const { eventfd_write(fd_.get(), 1); }

 private:
  UniqueFd fd_;
};

}  // namespace tarvinel

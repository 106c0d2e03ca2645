#pragma once

#include "core/support/UniqueFd.h"

#include <sys/socket.h>
#include <sys/un.h>

#include <cerrno>
#include <cstddef>
#include <string>
#include <system_error>

namespace tarvinel::test {

/// A listener like a local X server that takes connections and never replies.
class SilentDisplay {
 public:
  SilentDisplay() {
    for (number_ = firstNumber; !listens(); ++number_) {
      if (errno != EADDRINUSE) throw std::system_error(errno, std::generic_category(), "bind");
    }
  }

  /// Returns the display's name such as ":60000".
  std::string name() const { return ":" + std::to_string(number_); }

  /// Returns one more connection, or an empty one if no more are taken at once.
  UniqueFd connect() const {
    UniqueFd client(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const Address address = addressOf(number_);
    if (::connect(client.get(), address.generic(), address.length) != 0) client.reset();
    return client;
  }

 private:
  static constexpr int firstNumber = 60000;
  static constexpr int backlog = 3;

  struct Address {
    sockaddr_un local{};
    socklen_t length = 0;

    const sockaddr* generic() const { return reinterpret_cast<const sockaddr*>(&local); }
  };

  /// Returns an address in the abstract namespace, where no file is left behind.
  static Address addressOf(int number) {
    const std::string path = "/tmp/.X11-unix/X" + std::to_string(number);
    Address address;
    address.local.sun_family = AF_UNIX;
    path.copy(address.local.sun_path + 1, path.size());
    address.length = static_cast<socklen_t>(offsetof(sockaddr_un, sun_path) + 1 + path.size());
    return address;
  }

  bool listens() {
    socket_.reset(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0));
    const Address address = addressOf(number_);
    return ::bind(socket_.get(), address.generic(), address.length) == 0 &&
           ::listen(socket_.get(), backlog) == 0;
  }

  int number_ = 0;
  UniqueFd socket_;
};

}  // namespace tarvinel::test

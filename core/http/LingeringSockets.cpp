#include "core/http/LingeringSockets.h"

#include <algorithm>
#include <array>
#include <system_error>
#include <utility>

namespace tarvinel {

void LingeringSockets::adopt(asio::ip::tcp::socket socket, const Timeouts& timeout) {
  if (sockets_.size() >= maxSockets) return;
  std::error_code failed;
  socket.shutdown(asio::ip::tcp::socket::shutdown_send, failed);
  if (failed) return;  // the client has already gone
  const std::uint64_t key = nextKey_++;
  asio::steady_timer deadline(socket.get_executor());
  sockets_[key] =
      std::make_unique<Lingering>(Lingering{std::move(socket), std::move(deadline), timeout.silence,
                                            std::chrono::steady_clock::now() + timeout.total});
  awaitDeadline(key);
  drain(key);
}

void LingeringSockets::awaitDeadline(std::uint64_t key) {
  Lingering& lingering = *sockets_.at(key);
  const auto silent = std::chrono::steady_clock::now() + lingering.silence;
  lingering.deadline.expires_at(std::min(silent, lingering.end));
  lingering.deadline.async_wait([this, key](std::error_code cancelled) {
    if (!cancelled) sockets_.erase(key);
  });
}

void LingeringSockets::drain(std::uint64_t key) {
  sockets_.at(key)->socket.async_wait(asio::ip::tcp::socket::wait_read,
                                      [this, key](std::error_code aborted) {
                                        if (!aborted && sockets_.contains(key)) readable(key);
                                      });
}

void LingeringSockets::readable(std::uint64_t key) {
  std::array<std::uint8_t, 65536> discarded;
  std::error_code error;
  sockets_.at(key)->socket.read_some(asio::buffer(discarded), error);
  if (error && error != asio::error::would_block) {
    sockets_.erase(key);
  } else {
    awaitDeadline(key);
    drain(key);
  }
}

}  // namespace tarvinel

#include "core/http/LingeringSockets.h"

#include <array>
#include <system_error>
#include <utility>

namespace tarvinel {

void LingeringSockets::adopt(asio::ip::tcp::socket socket, bool wasUpload) {
  if (sockets_.size() >= maxSockets) return;
  std::error_code failed;
  socket.shutdown(asio::ip::tcp::socket::shutdown_send, failed);
  if (failed) return;  // the client is gone already
  const std::uint64_t key = nextKey_++;
  asio::steady_timer deadline(socket.get_executor(), wasUpload ? uploadLimit : limit);
  deadline.async_wait([this, key](std::error_code cancelled) {
    if (!cancelled) sockets_.erase(key);
  });
  sockets_[key] = std::make_unique<Lingering>(Lingering{std::move(socket), std::move(deadline)});
  drain(key);
}

void LingeringSockets::drain(std::uint64_t key) {
  sockets_.at(key)->socket.async_wait(asio::ip::tcp::socket::wait_read,
                                      [this, key](std::error_code aborted) {
                                        if (!aborted && sockets_.contains(key)) readable(key);
                                      });
}

void LingeringSockets::readable(std::uint64_t key) {
  std::array<std::uint8_t, 65536> discarded;  // NOLINT(*-member-init): only written to
  std::error_code error;
  sockets_.at(key)->socket.read_some(asio::buffer(discarded), error);
  if (error && error != asio::error::would_block) {
    sockets_.erase(key);
  } else {
    drain(key);
  }
}

}  // namespace tarvinel

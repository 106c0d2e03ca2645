#pragma once

#include "core/support/Bytes.h"
#include "core/support/SerialQueue.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <memory>
#include <unordered_map>

namespace tarvinel {

/// Sees answered connections off. A socket closed with unread bytes in it is reset by the kernel,
/// and the reset can overtake the answer (RFC 9112 section 9.6): so the sending side is closed
/// first and what still comes is read and thrown away until the client closes too, for a second at
/// most. A browser whose upload is refused reads the answer only after it has sent the file or
/// failed to: what it sends is borne for longer.
///
/// Lives on the server's queue.
class LingeringSockets {
 public:
  static constexpr std::chrono::seconds limit{1};
  static constexpr std::chrono::seconds uploadLimit{60};
  static constexpr std::size_t maxSockets = 256;

  LingeringSockets() = default;
  ~LingeringSockets() = default;
  LingeringSockets(const LingeringSockets&) = delete;
  LingeringSockets& operator=(const LingeringSockets&) = delete;

  /// Takes over a socket on which everything has been sent. With `maxSockets` here already it is
  /// closed at once.
  void adopt(asio::ip::tcp::socket socket, bool wasUpload);

  /// Closes all of them.
  void clear() { sockets_.clear(); }

 private:
  struct Lingering {
    asio::ip::tcp::socket socket;
    asio::steady_timer deadline;
  };

  void drain(std::uint64_t key);
  void readable(std::uint64_t key);

  std::unordered_map<std::uint64_t, std::unique_ptr<Lingering>> sockets_;
  std::uint64_t nextKey_ = 0;
};

}  // namespace tarvinel

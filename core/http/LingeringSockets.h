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
/// first and what still comes is read and thrown away until the client closes too or its patience
/// ends.
///
/// Lives on the server's queue.
class LingeringSockets {
 public:
  /// How long a client that does not close is borne: in all, and while nothing comes from it.
  struct Timeouts {
    std::chrono::seconds total;
    std::chrono::seconds silence;
  };
  static constexpr Timeouts ordinary{std::chrono::seconds(1), std::chrono::seconds(1)};
  /// A browser whose upload is refused may read the answer only once it has sent the file (WebKit
  /// does so): in ten minutes a long video gets through slow Wi-Fi, and its owner reads why not.
  static constexpr Timeouts forUploads{std::chrono::minutes(10), std::chrono::seconds(2)};
  static constexpr std::size_t maxSockets = 256;

  LingeringSockets() = default;
  ~LingeringSockets() = default;
  LingeringSockets(const LingeringSockets&) = delete;
  LingeringSockets& operator=(const LingeringSockets&) = delete;

  /// Takes over a socket on which everything has been sent. With `maxSockets` here already it is
  /// closed at once.
  void adopt(asio::ip::tcp::socket socket, const Timeouts& timeout);

  /// Closes all of them.
  void clear() { sockets_.clear(); }

 private:
  struct Lingering {
    asio::ip::tcp::socket socket;
    asio::steady_timer deadline;
    std::chrono::seconds silence;
    std::chrono::steady_clock::time_point end;
  };

  void awaitDeadline(std::uint64_t key);
  void drain(std::uint64_t key);
  void readable(std::uint64_t key);

  std::unordered_map<std::uint64_t, std::unique_ptr<Lingering>> sockets_;
  std::uint64_t nextKey_ = 0;
};

}  // namespace tarvinel

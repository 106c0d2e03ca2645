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

/// Closes finished connections gracefully. A socket closed with unread bytes in it is reset by the
/// kernel, and the reset can overtake the response (RFC 9112 section 9.6), so the sending side is
/// closed first and further input is read and discarded until the client closes too or its timeout
/// expires.
///
/// Lives on the server's queue.
class LingeringSockets {
 public:
  /// The timeouts of a client that does not close: in total, and while nothing arrives from it.
  struct Timeouts {
    std::chrono::seconds total;
    std::chrono::seconds silence;
  };
  static constexpr Timeouts ordinary{std::chrono::seconds(1), std::chrono::seconds(1)};
  /// A browser whose upload is rejected may read the response only once the file is sent (WebKit
  /// does so): in ten minutes a long video gets through slow Wi-Fi, and its owner reads the reason.
  static constexpr Timeouts forUploads{std::chrono::minutes(10), std::chrono::seconds(2)};
  static constexpr std::size_t maxSockets = 256;

  LingeringSockets() = default;
  ~LingeringSockets() = default;
  LingeringSockets(const LingeringSockets&) = delete;
  LingeringSockets& operator=(const LingeringSockets&) = delete;

  /// Takes over a socket on which everything has been sent. Closes it at once if there are
  /// `maxSockets` already.
  void adopt(asio::ip::tcp::socket socket, const Timeouts& timeout);

  /// Closes all sockets.
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

#pragma once

#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"

#include <asio/ip/tcp.hpp>

#include <chrono>
#include <cstddef>
#include <vector>

namespace tarvinel {

/// Keeps the connections of viewers that vanished silently, to end them when they return.
///
/// If such a connection were dropped, its viewer could not be notified: a page only reads, so while
/// the screen is still it would wait on a dead connection for ever once its network is back. Here
/// the kernel keeps probing the viewer, which costs a packet without data every few seconds, and as
/// soon as it replies, the connection is closed: the page notices that and opens another.
///
/// Lives on the queue.
class VanishedViewers {
 public:
  /// A connection is kept for at most this long; beyond `maxSockets` the oldest is closed first.
  static constexpr std::chrono::hours limit{1};
  static constexpr std::size_t maxSockets = 256;

  /// A viewer that has been silent for this long is missing.
  VanishedViewers(SerialQueue& queue, std::chrono::milliseconds silenceLimit);

  bool isMissing(asio::ip::tcp::socket& viewer) const;

  /// Takes over the socket of a missing viewer; no operation may be pending on it.
  void adopt(asio::ip::tcp::socket socket);

  /// Closes all sockets.
  void clear();

  std::size_t count() const { return vanished_.size(); }

 private:
  struct Vanished {
    asio::ip::tcp::socket socket;
    std::chrono::steady_clock::time_point since;
  };

  void check();

  const std::chrono::milliseconds silenceLimit_;
  std::vector<Vanished> vanished_;  ///< the oldest first
  QueueTimer timer_;
};

}  // namespace tarvinel

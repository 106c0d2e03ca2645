#pragma once

#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"

#include <asio/ip/tcp.hpp>

#include <chrono>
#include <cstddef>
#include <vector>

namespace tarvinel {

/// Keeps the connections of viewers that vanished without a word, to end them when they return.
///
/// Were such a connection dropped, nobody could tell its viewer: a page only reads, so while the
/// screen is still it would wait on a dead connection for ever once its network is back. Here the
/// kernel goes on asking for the viewer, which costs a packet without data every few seconds, and
/// as soon as it answers, the connection is closed: the page sees that and opens another.
///
/// Lives on the queue.
class VanishedViewers {
 public:
  /// A connection is kept for so long; of more than `maxSockets` the oldest go first.
  static constexpr std::chrono::hours limit{1};
  static constexpr std::size_t maxSockets = 256;

  /// A viewer that is silent for longer is missing.
  VanishedViewers(SerialQueue& queue, std::chrono::milliseconds silenceLimit);

  bool isMissing(asio::ip::tcp::socket& viewer) const;

  /// Takes over the socket of a missing viewer; no operation may be going on upon it.
  void adopt(asio::ip::tcp::socket socket);

  /// Closes all of them.
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

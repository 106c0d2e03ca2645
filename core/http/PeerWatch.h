#pragma once

#include "core/support/SerialQueue.h"

#include <asio/posix/stream_descriptor.hpp>

#include <cstdint>
#include <functional>
#include <unordered_map>

namespace tarvinel {

/// Reports, without reading from connections, when their peers have ended them.
///
/// A viewer is not read from after its request, so nothing else would notice that it left while the
/// screen is still and nothing is sent. The kernel knows at once; it is queried through a separate
/// epoll set (epoll(7): EPOLLRDHUP), because Asio does not report that event.
///
/// Lives on the server's queue.
class PeerWatch {
 public:
  enum class Event : std::uint8_t {
    sendingEnded,  ///< the peer will send no more; it may still be reading
    gone,          ///< the connection is broken (reset, timed out)
  };
  using Handler = std::function<void(Event)>;

  /// Throws std::system_error if the kernel provides no epoll set.
  explicit PeerWatch(SerialQueue& queue);

  /// Reports on the socket until `remove`; an event that has already happened is reported too. The
  /// handler may call `remove`.
  void add(int socket, Handler handler);

  /// Stops reporting; must be called before the socket is closed.
  void remove(int socket);

 private:
  void waitForEvents();
  void dispatchEvents();
  void report(int socket, std::uint32_t events);

  SerialQueue& queue_;
  asio::posix::stream_descriptor epoll_;
  std::unordered_map<int, Handler> handlers_;
};

}  // namespace tarvinel

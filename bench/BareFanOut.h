#pragma once

#include "core/frames/Frame.h"
#include "core/support/UniqueFd.h"

#include <asio/io_context.hpp>
#include <asio/ip/tcp.hpp>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace tarvinel {

/// The minimal server of a stream: one loop of sendmsg over non-blocking sockets that are set up
/// like the server's, waiting for those that are full. It parses no request and survives no error.
class BareFanOut {
 public:
  BareFanOut();

  std::uint16_t port() const { return acceptor_.local_endpoint().port(); }

  /// Accepts this many viewers that have connected and sends each the head of the stream.
  void accept(std::size_t count);

  /// Sends one part to every viewer; returns when the kernel has accepted all of it.
  void send(const Frame& frame);

 private:
  struct Viewer {
    UniqueFd socket;
    std::size_t sent = 0;  ///< of the part in flight
  };

  bool sendRest(Viewer& viewer) const;
  std::size_t sendToWritable();

  asio::io_context context_{1};
  asio::ip::tcp::acceptor acceptor_;
  UniqueFd epoll_;
  std::vector<Viewer> viewers_;
  std::string partHead_;
  Frame frame_;
};

}  // namespace tarvinel

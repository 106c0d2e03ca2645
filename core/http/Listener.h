#pragma once

#include "core/support/SerialQueue.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <system_error>

namespace tarvinel {

/// A listening TCP socket on all addresses of this computer, IPv6 and IPv4, or IPv4 alone where
/// there is no IPv6. Lives on the server's queue; both handlers are called on it.
class Listener : public std::enable_shared_from_this<Listener> {
 public:
  using ConnectionHandler = std::function<void(asio::ip::tcp::socket)>;
  using FailureHandler = std::function<void(std::error_code)>;

  /// Binds and listens; the address may be bound again at once after a restart. Port 0 takes any
  /// free one. Throws std::system_error when that is refused.
  Listener(SerialQueue& queue, std::uint16_t port);

  /// The port that is bound.
  std::uint16_t port() const { return port_; }

  /// Hands over every connection from now on. `onFailure` is called once if listening ends by
  /// itself. Dropping the listener ends it without a report.
  void start(ConnectionHandler onConnection, FailureHandler onFailure);

 private:
  void acceptNext();
  void accepted(std::error_code error, asio::ip::tcp::socket socket);
  void pause();

  SerialQueue& queue_;
  asio::ip::tcp::acceptor acceptor_;
  asio::steady_timer pauseTimer_;
  std::uint16_t port_ = 0;
  ConnectionHandler onConnection_;
  FailureHandler onFailure_;
};

}  // namespace tarvinel

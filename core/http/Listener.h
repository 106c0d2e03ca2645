#pragma once

#include "core/support/SerialQueue.h"
#include "core/support/UniqueFd.h"

#include <asio/ip/tcp.hpp>
#include <asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <system_error>

namespace tarvinel {

/// Accepts the connections of a listening TCP socket. Lives on the server's queue; both handlers
/// are called on it.
class Listener : public std::enable_shared_from_this<Listener> {
 public:
  using ConnectionHandler = std::function<void(asio::ip::tcp::socket)>;
  using FailureHandler = std::function<void(std::error_code)>;

  /// Listens on all addresses of this computer. Port 0 takes any free port. Throws
  /// std::system_error if that fails.
  Listener(SerialQueue& queue, std::uint16_t port);

  /// Takes over a socket that is already listening.
  Listener(SerialQueue& queue, UniqueFd listeningSocket);

  /// Returns the bound port.
  std::uint16_t port() const { return port_; }

  /// Passes on every connection from now on. `onFailure` is called once if listening ends by
  /// itself. Destroying the listener ends it without a notification.
  void start(ConnectionHandler onConnection, FailureHandler onFailure);

 private:
  void acceptNext();
  void readable(std::error_code error);
  std::error_code accept();
  void pause();

  SerialQueue& queue_;
  asio::ip::tcp::acceptor acceptor_;
  const asio::ip::tcp protocol_;
  asio::steady_timer pauseTimer_;
  std::uint16_t port_ = 0;
  ConnectionHandler onConnection_;
  FailureHandler onFailure_;
};

}  // namespace tarvinel

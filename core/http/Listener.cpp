#include "core/http/Listener.h"

#include "core/http/ListeningSocket.h"

#include <sys/socket.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

using asio::ip::tcp;

constexpr std::chrono::milliseconds pauseWithoutDescriptors{100};

/// Asio's category of the same numbers does not compare equal to std::errc.
std::error_code systemError(const std::error_code& error) {
  return {error.value(), std::system_category()};
}

UniqueFd listening(std::uint16_t port) {
  ListeningSocket outcome = listenOnAllAddresses(port);
  if (outcome.error != 0) throw std::system_error(outcome.error, std::system_category());
  return std::move(outcome.socket);
}

tcp::acceptor acceptorOf(asio::io_context& context, UniqueFd socket) {
  sockaddr_storage address{};
  socklen_t size = sizeof address;
  ::getsockname(socket.get(), reinterpret_cast<sockaddr*>(&address), &size);
  const tcp protocol = address.ss_family == AF_INET6 ? tcp::v6() : tcp::v4();
  tcp::acceptor acceptor(context, protocol, socket.get());
  socket.release();
  acceptor.non_blocking(true);
  return acceptor;
}

/// Returns whether the connection or the moment is at fault, not the socket (accept(2)).
bool isPassing(const std::error_code& error) {
  return error == std::errc::resource_unavailable_try_again ||
         error == std::errc::connection_aborted || error == std::errc::interrupted ||
         error == std::errc::protocol_error || error == std::errc::operation_not_permitted ||
         error == std::errc::network_down || error == std::errc::network_unreachable ||
         error == std::errc::host_unreachable || error == std::errc::timed_out;
}

bool isShortage(const std::error_code& error) {
  return error == std::errc::too_many_files_open ||
         error == std::errc::too_many_files_open_in_system || error == std::errc::no_buffer_space ||
         error == std::errc::not_enough_memory;
}

}  // namespace

Listener::Listener(SerialQueue& queue, std::uint16_t port) : Listener(queue, listening(port)) {}

Listener::Listener(SerialQueue& queue, UniqueFd listeningSocket)
    : queue_(queue),
      acceptor_(acceptorOf(queue.context(), std::move(listeningSocket))),
      protocol_(acceptor_.local_endpoint().protocol()),
      pauseTimer_(queue.context()),
      port_(acceptor_.local_endpoint().port()) {}

void Listener::start(ConnectionHandler onConnection, FailureHandler onFailure) {
  onConnection_ = std::move(onConnection);
  onFailure_ = std::move(onFailure);
  acceptNext();
}

void Listener::acceptNext() {
  acceptor_.async_wait(tcp::acceptor::wait_read, [weak = weak_from_this()](std::error_code error) {
    if (const auto self = weak.lock()) self->readable(systemError(error));
  });
}

void Listener::readable(std::error_code error) {
  queue_.assertCurrent();
  if (!error) error = accept();
  if (isShortage(error)) {
    pause();
  } else if (error && !isPassing(error)) {
    onFailure_(error);
  } else {
    acceptNext();
  }
}

// Asio's own accept does not set close-on-exec, so a program that another thread starts at the same
// moment would keep the connection.
std::error_code Listener::accept() {
  UniqueFd fd(::accept4(acceptor_.native_handle(), nullptr, nullptr, SOCK_CLOEXEC));
  if (!fd) return {errno, std::system_category()};
  tcp::socket socket(queue_.context());
  std::error_code failed;
  socket.assign(protocol_, fd.get(), failed);
  if (failed) return systemError(failed);
  fd.release();
  onConnection_(std::move(socket));
  return {};
}

// The waiting connection stays in the kernel's queue, so accepting again at once would spin.
void Listener::pause() {
  pauseTimer_.expires_after(pauseWithoutDescriptors);
  pauseTimer_.async_wait([weak = weak_from_this()](std::error_code) {
    if (const auto self = weak.lock()) self->acceptNext();
  });
}

}  // namespace tarvinel

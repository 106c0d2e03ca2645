#include "core/http/Listener.h"

#include <asio/ip/v6_only.hpp>

#include <fcntl.h>

#include <chrono>
#include <utility>

namespace tarvinel {

namespace {

using asio::ip::tcp;

constexpr std::chrono::milliseconds pauseWithoutDescriptors{100};

/// Asio's category of the same numbers does not compare with std::errc.
std::error_code systemError(const std::error_code& error) {
  return {error.value(), std::system_category()};
}

std::error_code tryToListen(tcp::acceptor& acceptor, const tcp::endpoint& endpoint) {
  try {
    acceptor.open(endpoint.protocol());
    // a child process that outlived this one would keep the port
    fcntl(acceptor.native_handle(), F_SETFD, FD_CLOEXEC);
    acceptor.set_option(tcp::acceptor::reuse_address(true));
    if (endpoint.protocol() == tcp::v6()) acceptor.set_option(asio::ip::v6_only(false));
    acceptor.bind(endpoint);
    acceptor.listen();
    return {};
  } catch (const std::system_error& error) {
    return systemError(error.code());
  }
}

bool meansNoIPv6(const std::error_code& error) {
  return error == std::errc::address_family_not_supported ||
         error == std::errc::address_not_available || error == std::errc::protocol_not_supported;
}

tcp::acceptor listening(asio::io_context& context, std::uint16_t port) {
  tcp::acceptor acceptor(context);
  std::error_code error = tryToListen(acceptor, {tcp::v6(), port});
  if (meansNoIPv6(error)) {
    acceptor = tcp::acceptor(context);
    error = tryToListen(acceptor, {tcp::v4(), port});
  }
  if (error) throw std::system_error(error);
  return acceptor;
}

/// The connection or this moment is at fault, not the listening socket (accept(2)).
bool isPassing(const std::error_code& error) {
  return error == std::errc::connection_aborted || error == std::errc::interrupted ||
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

Listener::Listener(SerialQueue& queue, std::uint16_t port)
    : queue_(queue),
      acceptor_(listening(queue.context(), port)),
      pauseTimer_(queue.context()),
      port_(acceptor_.local_endpoint().port()) {}

void Listener::start(ConnectionHandler onConnection, FailureHandler onFailure) {
  onConnection_ = std::move(onConnection);
  onFailure_ = std::move(onFailure);
  acceptNext();
}

void Listener::acceptNext() {
  acceptor_.async_accept([weak = weak_from_this()](std::error_code error, tcp::socket socket) {
    if (const auto self = weak.lock()) self->accepted(systemError(error), std::move(socket));
  });
}

void Listener::accepted(std::error_code error, tcp::socket socket) {
  queue_.assertCurrent();
  if (isShortage(error)) {
    pause();
  } else if (error && !isPassing(error)) {
    onFailure_(error);
  } else {
    if (!error) onConnection_(std::move(socket));
    acceptNext();
  }
}

// The waiting connection stays in the kernel's queue, so accepting again at once would spin.
void Listener::pause() {
  pauseTimer_.expires_after(pauseWithoutDescriptors);
  pauseTimer_.async_wait([weak = weak_from_this()](std::error_code) {
    if (const auto self = weak.lock()) self->acceptNext();
  });
}

}  // namespace tarvinel

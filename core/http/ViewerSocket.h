#pragma once

#include <asio/ip/tcp.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace tarvinel {

/// Sets what every accepted socket needs: non-blocking, no delay, a bound on unsent bytes in the
/// kernel, and timeouts that find a client which vanished without a word. A socket that refuses an
/// option works without it.
void prepareViewerSocket(asio::ip::tcp::socket& socket);

/// For how long nothing at all has come from the client's machine, which acknowledges what it is
/// sent and answers when it is asked whether it is there. Zero on a connection that is broken.
std::chrono::milliseconds silenceOf(asio::ip::tcp::socket& socket);

/// Goes on asking whether a silent client is there for so long, instead of giving it up.
void askForViewerFor(asio::ip::tcp::socket& socket, std::chrono::milliseconds limit);

/// The remote address alone; "unknown" once it is gone.
std::string remoteAddressText(const asio::ip::tcp::socket& socket);

/// The remote endpoint for a log line, such as "192.168.1.20:51234"; "unknown" once it is gone.
std::string remoteEndpointText(const asio::ip::tcp::socket& socket);

/// The address of the server that the client has connected to, such as "http://192.168.1.20/" or
/// "http://[fd00::1]:8080/"; nothing once the connection is gone.
std::optional<std::string> localURL(const asio::ip::tcp::socket& socket);

}  // namespace tarvinel

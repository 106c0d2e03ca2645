#pragma once

#include <asio/ip/tcp.hpp>

#include <chrono>
#include <optional>
#include <string>

namespace tarvinel {

/// Sets the options of every accepted socket: non-blocking, no delay, a limit on unsent bytes in
/// the kernel, and timeouts that detect a client which vanished silently. A socket that rejects an
/// option works without it.
void prepareViewerSocket(asio::ip::tcp::socket& socket);

/// Lowers the limit on unsent bytes for a viewer whose updates replace one another: what waits in
/// the kernel cannot be replaced any more.
void leaveLittleUnsent(asio::ip::tcp::socket& socket);

/// Returns how long nothing at all has arrived from the client's machine, which acknowledges data
/// and replies to keep-alive probes. Returns zero on a broken connection.
std::chrono::milliseconds silenceOf(asio::ip::tcp::socket& socket);

/// Keeps probing a silent client for `limit` instead of dropping it.
void keepProbing(asio::ip::tcp::socket& socket, std::chrono::milliseconds limit);

/// Returns the remote address alone, or "unknown" once the connection is gone.
std::string remoteAddressText(const asio::ip::tcp::socket& socket);

/// Returns the remote endpoint for a log line, such as "192.168.1.20:51234", or "unknown".
std::string remoteEndpointText(const asio::ip::tcp::socket& socket);

/// Returns the URL of the server at the address that the client has connected to, such as
/// "http://192.168.1.20/" or "http://[fd00::1]:8080/", or nullopt once the connection is gone.
std::optional<std::string> localURL(const asio::ip::tcp::socket& socket);

}  // namespace tarvinel

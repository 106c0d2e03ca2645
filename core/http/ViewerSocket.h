#pragma once

#include <asio/ip/tcp.hpp>

#include <string>

namespace tarvinel {

/// Sets what every accepted socket needs: non-blocking, no delay, a bound on unsent bytes in the
/// kernel, and timeouts that find a client which vanished without a word. A socket that refuses an
/// option works without it.
void prepareViewerSocket(asio::ip::tcp::socket& socket);

/// The remote endpoint for a log line, such as "192.168.1.20:51234"; "unknown" once it is gone.
std::string remoteEndpointText(const asio::ip::tcp::socket& socket);

}  // namespace tarvinel

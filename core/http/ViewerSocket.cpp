#include "core/http/ViewerSocket.h"

#include "core/link/LocalAddresses.h"

#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>

#include <system_error>

namespace tarvinel {

namespace {

// More unsent bytes in the kernel are a backlog of old frames that the newest cannot overtake.
constexpr int maxUnsentBytes = 128 * 1024;
constexpr int maxUnsentTileBytes = 16 * 1024;

// A silent client is probed after ten seconds and dropped 30 seconds after its last sign of life;
// the same holds for bytes that it does not acknowledge and for a client that keeps its window
// shut. The probes carry no data.
constexpr int keepAliveIdleSeconds = 10;
constexpr int keepAliveIntervalSeconds = 5;
constexpr int userTimeoutMilliseconds = 30000;

void setOption(int socket, int level, int name, int value) {
  setsockopt(socket, level, name, &value, sizeof value);
}

/// Converts the mapped address of an IPv4 client of the dual-stack socket back to IPv4.
asio::ip::address unmapped(const asio::ip::address& address) {
  if (!address.is_v6() || !address.to_v6().is_v4_mapped()) return address;
  return asio::ip::make_address_v4(asio::ip::v4_mapped, address.to_v6());
}

/// Returns the address as written in a URL.
std::string hostText(const asio::ip::address& address) {
  const std::string text = address.to_string();
  return address.is_v6() ? "[" + text + "]" : text;
}

/// Browsers reject addresses with zones.
asio::ip::address withoutZone(const asio::ip::address& address) {
  if (!address.is_v6()) return address;
  return asio::ip::address_v6(address.to_v6().to_bytes());
}

}  // namespace

void prepareViewerSocket(asio::ip::tcp::socket& socket) {
  std::error_code ignored;
  socket.non_blocking(true, ignored);
  const int fd = socket.native_handle();
  setOption(fd, IPPROTO_TCP, TCP_NODELAY, 1);
  setOption(fd, IPPROTO_TCP, TCP_NOTSENT_LOWAT, maxUnsentBytes);
  setOption(fd, SOL_SOCKET, SO_KEEPALIVE, 1);
  setOption(fd, IPPROTO_TCP, TCP_KEEPIDLE, keepAliveIdleSeconds);
  setOption(fd, IPPROTO_TCP, TCP_KEEPINTVL, keepAliveIntervalSeconds);
  setOption(fd, IPPROTO_TCP, TCP_USER_TIMEOUT, userTimeoutMilliseconds);
}

void leaveLittleUnsent(asio::ip::tcp::socket& socket) {
  setOption(socket.native_handle(), IPPROTO_TCP, TCP_NOTSENT_LOWAT, maxUnsentTileBytes);
}

std::chrono::milliseconds silenceOf(asio::ip::tcp::socket& socket) {
  tcp_info info{};
  socklen_t size = sizeof info;
  if (getsockopt(socket.native_handle(), IPPROTO_TCP, TCP_INFO, &info, &size) != 0) return {};
  if (info.tcpi_state == TCP_CLOSE) return {};
  return std::chrono::milliseconds(info.tcpi_last_ack_recv);
}

void keepProbing(asio::ip::tcp::socket& socket, std::chrono::milliseconds limit) {
  setOption(socket.native_handle(), IPPROTO_TCP, TCP_USER_TIMEOUT, static_cast<int>(limit.count()));
}

std::string remoteAddressText(const asio::ip::tcp::socket& socket) {
  std::error_code gone;
  const auto endpoint = socket.remote_endpoint(gone);
  return gone ? "unknown" : unmapped(endpoint.address()).to_string();
}

std::string remoteEndpointText(const asio::ip::tcp::socket& socket) {
  std::error_code gone;
  const auto endpoint = socket.remote_endpoint(gone);
  if (gone) return "unknown";
  return hostText(unmapped(endpoint.address())) + ":" + std::to_string(endpoint.port());
}

std::optional<std::string> localURL(const asio::ip::tcp::socket& socket) {
  std::error_code gone;
  const auto endpoint = socket.local_endpoint(gone);
  if (gone) return std::nullopt;
  return LocalAddresses::url(hostText(withoutZone(unmapped(endpoint.address()))), endpoint.port());
}

}  // namespace tarvinel

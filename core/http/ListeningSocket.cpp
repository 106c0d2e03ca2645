#include "core/http/ListeningSocket.h"

#include <netinet/in.h>
#include <sys/socket.h>

#include <cerrno>
#include <utility>

namespace tarvinel {

namespace {

bool hasSet(int fd, int level, int option, int value) {
  return ::setsockopt(fd, level, option, &value, sizeof value) == 0;
}

template <class Address>
ListeningSocket listenOn(int family, const Address& address) {
  // close-on-exec, because a child process that outlived this one would keep the port
  UniqueFd fd(::socket(family, SOCK_STREAM | SOCK_CLOEXEC, IPPROTO_TCP));
  const bool listens =
      fd && hasSet(fd.get(), SOL_SOCKET, SO_REUSEADDR, 1) &&
      (family != AF_INET6 || hasSet(fd.get(), IPPROTO_IPV6, IPV6_V6ONLY, 0)) &&
      ::bind(fd.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0 &&
      ::listen(fd.get(), SOMAXCONN) == 0;
  if (!listens) return {{}, errno};
  return {std::move(fd), 0};
}

ListeningSocket listenOnIPv6(std::uint16_t port) {
  sockaddr_in6 address{};
  address.sin6_family = AF_INET6;
  address.sin6_port = htons(port);
  return listenOn(AF_INET6, address);
}

ListeningSocket listenOnIPv4(std::uint16_t port) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_port = htons(port);
  return listenOn(AF_INET, address);
}

bool meansNoIPv6(int error) {
  return error == EAFNOSUPPORT || error == EADDRNOTAVAIL || error == EPROTONOSUPPORT;
}

}  // namespace

ListeningSocket listenOnAllAddresses(std::uint16_t port) noexcept {
  ListeningSocket listening = listenOnIPv6(port);
  return meansNoIPv6(listening.error) ? listenOnIPv4(port) : std::move(listening);
}

}  // namespace tarvinel

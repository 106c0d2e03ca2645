#pragma once

#include "core/support/UniqueFd.h"

#include <cstdint>

namespace tarvinel {

/// A TCP socket that listens, or the errno of the failure.
struct ListeningSocket {
  UniqueFd socket;
  int error = 0;
};

/// Listens on all addresses of this computer, IPv6 and IPv4, or IPv4 alone if there is no IPv6. The
/// port is available again at once after a restart; 0 takes any free port. Depends on nothing but
/// the kernel, so that the helper with the privilege for low ports can use it.
ListeningSocket listenOnAllAddresses(std::uint16_t port) noexcept;

}  // namespace tarvinel

#pragma once

#include "core/link/NetworkFacts.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarvinel {

/// One message of an answer of the kernel (rtnetlink(7)).
struct NetlinkMessage {
  std::uint16_t type = 0;
  std::uint16_t flags = 0;
  std::uint32_t sequence = 0;
  std::span<const std::byte> body;  ///< of the datagram it was found in
};

/// The messages of a datagram, up to the first that is cut off or says nonsense about its length.
/// Pure.
std::vector<NetlinkMessage> netlinkMessages(std::span<const std::byte> datagram);

/// Takes what a message says of a link, an address or a default route into the facts. A message
/// that is of no interest, cut off or nonsense changes nothing. Pure.
void addTo(NetworkFacts& facts, const NetlinkMessage& message);

}  // namespace tarvinel

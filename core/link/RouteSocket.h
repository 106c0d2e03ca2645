#pragma once

#include "core/link/NetworkInfo.h"
#include "core/support/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

namespace tarvinel {

/// One message of a response of the kernel (rtnetlink(7)).
struct NetlinkMessage {
  std::uint16_t type = 0;
  std::uint16_t flags = 0;
  std::uint32_t sequence = 0;
  std::span<const std::byte> body;  ///< points into the datagram
};

/// Returns the messages of a datagram, up to the first that is truncated or has an invalid length.
/// Pure.
std::vector<NetlinkMessage> netlinkMessages(std::span<const std::byte> datagram);

/// Adds a link, an address or a default route from a message to `info`. A message that is
/// irrelevant, truncated or invalid changes nothing. Pure.
void addTo(NetworkInfo& info, const NetlinkMessage& message);

/// Reads the state of the network of the calling thread's namespace from the kernel (rtnetlink(7)).
/// Takes a millisecond or two, and times out after two seconds. Throws std::system_error.
NetworkInfo readNetworkInfo();

/// Opens a socket that becomes readable when links, addresses or routes change, and never blocks. A
/// `receiveBuffer` in bytes is for tests. Throws std::system_error.
UniqueFd openNetworkEvents(std::optional<int> receiveBuffer = {});

/// Reads and discards all events: an event is only a reason to read everything again, and so is the
/// loss of some that came too fast. Returns false if the socket is no longer usable.
bool drainNetworkEvents(int events);

}  // namespace tarvinel

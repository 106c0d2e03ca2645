#pragma once

#include "core/link/NetworkInfo.h"
#include "core/support/UniqueFd.h"

#include <cstddef>
#include <cstdint>
#include <optional>
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
void addTo(NetworkInfo& info, const NetlinkMessage& message);

/// What the kernel says of the network of the calling thread's namespace now (rtnetlink(7)).
/// Answers within a millisecond or two, or gives up after two seconds. Throws std::system_error.
NetworkInfo readNetworkInfo();

/// A socket that becomes readable when links, addresses or routes change, and never blocks. A
/// `receiveBuffer` in bytes is for tests. Throws std::system_error.
UniqueFd openNetworkEvents(std::optional<int> receiveBuffer = {});

/// Reads what has come, whatever it says: an event is only a reason to read everything again, and
/// so is the loss of some when they came too fast. False when the socket is of no use any more.
bool drainNetworkEvents(int events);

}  // namespace tarvinel

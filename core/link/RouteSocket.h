#pragma once

#include "core/link/NetworkFacts.h"
#include "core/support/UniqueFd.h"

#include <optional>

namespace tarvinel {

/// What the kernel says of the network of the calling thread's namespace now (rtnetlink(7)).
/// Answers within a millisecond or two, or gives up after two seconds. Throws std::system_error.
NetworkFacts readNetworkFacts();

/// A socket that becomes readable when links, addresses or routes change, and never blocks. A
/// `receiveBuffer` in bytes is for tests. Throws std::system_error.
UniqueFd openNetworkEvents(std::optional<int> receiveBuffer = {});

/// Reads what has come, whatever it says: an event is only a reason to read everything again, and
/// so is the loss of some when they came too fast. False when the socket is of no use any more.
bool drainNetworkEvents(int events);

}  // namespace tarvinel

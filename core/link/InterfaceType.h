#pragma once

#include <cstdint>

namespace tarvinel {

/// What a network interface sends through. Where several are bridged or bonded the first named
/// here counts: what the slowest needs does no harm to the others.
enum class InterfaceType : std::uint8_t {
  wifi,
  wiredEthernet,
  other,  ///< such as Bluetooth or InfiniBand
  /// A modem, or a phone on a USB cable. To Linux the phone is an Ethernet adapter, but what it
  /// leads to is the phone's own network, with the people in the room on the near side: their
  /// pictures go by another interface if there is one.
  cellular,
};

}  // namespace tarvinel

#pragma once

#include "core/mdns/NameRegistrar.h"

#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// The interfaces that a multicast DNS responder listens on. Keeps no state; safe from any thread.
class MulticastInterfaces {
 public:
  MulticastInterfaces() = delete;

  struct Interface {
    std::string name;  ///< such as "eth0"
    NameRegistrar::Address address;
  };

  /// Every IPv4 address of interfaces that are up and take multicast.
  static std::vector<Interface> all();

  /// The one interface that a responder for this address should keep to, if they are more than it
  /// could listen on; nothing when it can have them all.
  static std::optional<std::string> onlyOne(const std::vector<Interface>& interfaces,
                                            NameRegistrar::Address address);
};

}  // namespace tarvinel

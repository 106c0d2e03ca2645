#pragma once

#include <cstdint>
#include <set>
#include <string>
#include <vector>

namespace tarvinel {

/// What the kernel says of this computer's network at one moment. Plain values.
struct NetworkFacts {
  struct Link {
    int index = 0;
    std::string name;
    bool carries = false;  ///< up, with a partner at the other end, and not loopback

    bool operator==(const Link&) const = default;
  };

  enum class Family : std::uint8_t { ipv4, ipv6 };

  struct DefaultRoute {
    Family family = Family::ipv4;
    std::uint32_t metric = 0;  ///< the lowest wins
    int link = 0;              ///< index

    bool operator==(const DefaultRoute&) const = default;
  };

  std::vector<Link> links;                  ///< in the kernel's order
  std::vector<DefaultRoute> defaultRoutes;  ///< of the main table, in the kernel's order
  std::set<int> linksWithAddress;           ///< indices; any address but one of the host alone

  bool operator==(const NetworkFacts&) const = default;
};

/// The names of the interfaces that carry traffic, the preferred one first: those of the default
/// routes, by IPv4 and then by IPv6, the lowest metric first; then, for a network without a way
/// out, the others that have an address. Pure.
std::vector<std::string> interfacesByPreference(const NetworkFacts& facts);

}  // namespace tarvinel

#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

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

/// What the kernel says of this computer's network at one moment. Plain values.
struct NetworkInfo {
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

  bool operator==(const NetworkInfo&) const = default;
};

/// The names of the interfaces that carry traffic, the preferred one first: those of the default
/// routes, by IPv4 and then by IPv6, the lowest metric first; then, for a network without a way
/// out, the others that have an address. Pure.
std::vector<std::string> interfacesByPreference(const NetworkInfo& info);

class SerialQueue;

/// Watches by which interfaces this computer reaches the network. Lives on the queue that it was
/// made for, which must have been stopped before it is destroyed.
class NetworkPath {
 public:
  /// Called on the queue, soon after the start and after every change, with the types of the
  /// interfaces that can be used, the preferred one first.
  using Handler = std::function<void(const std::vector<InterfaceType>&)>;
  using Factory = std::function<std::unique_ptr<NetworkPath>(SerialQueue&, Handler)>;

  virtual ~NetworkPath() = default;
  NetworkPath() = default;
  NetworkPath(const NetworkPath&) = delete;
  NetworkPath& operator=(const NetworkPath&) = delete;
};

/// Makes the one that asks the kernel; `sysfs` is where that is mounted.
NetworkPath::Factory kernelNetworkPath(const std::filesystem::path& sysfs);

}  // namespace tarvinel

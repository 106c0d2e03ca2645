#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <set>
#include <string>
#include <vector>

namespace tarvinel {

/// The hardware that a network interface sends through. If several are bridged or bonded, the first
/// in this order counts: what the slowest needs does no harm to the others.
enum class InterfaceType : std::uint8_t {
  wifi,
  wiredEthernet,
  other,  ///< such as Bluetooth or InfiniBand
  /// A modem, or a phone on a USB cable. To Linux the phone is an Ethernet adapter, but it leads to
  /// the phone's own network, with the people in the room on the near side: their pictures go
  /// through another interface if there is one.
  cellular,
};

/// The kernel's state of this computer's network at one moment. Plain values.
struct NetworkInfo {
  struct Link {
    int index = 0;
    std::string name;
    bool carries = false;  ///< up, with a peer at the other end, and not loopback

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
  std::set<int> linksWithAddress;           ///< indices; host-only or IPv6 link-local do not count

  bool operator==(const NetworkInfo&) const = default;
};

/// Returns the names of the interfaces that carry traffic, the preferred one first: those of the
/// default routes, by IPv4 and then by IPv6, the lowest metric first; then, for a network without a
/// default route, the others that have an address. Pure.
std::vector<std::string> interfacesByPreference(const NetworkInfo& info);

class SerialQueue;

/// Watches through which interfaces this computer reaches the network. Lives on the queue that it
/// was made for, which must have been stopped before this is destroyed.
class NetworkPath {
 public:
  /// Called on the queue, soon after the start and after every change, with the types of the usable
  /// interfaces, the preferred one first.
  using Handler = std::function<void(const std::vector<InterfaceType>&)>;
  using Factory = std::function<std::unique_ptr<NetworkPath>(SerialQueue&, Handler)>;

  virtual ~NetworkPath() = default;
  NetworkPath() = default;
  NetworkPath(const NetworkPath&) = delete;
  NetworkPath& operator=(const NetworkPath&) = delete;
};

/// Makes a path that queries the kernel; `sysfs` is its mount point.
NetworkPath::Factory kernelNetworkPath(const std::filesystem::path& sysfs);

}  // namespace tarvinel

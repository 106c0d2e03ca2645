#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// Returns the names of this computer that it knows without a name server: its host name, and the
/// names in the same line of `hostsFile` (hosts(5)), where its name with the domain usually is.
std::vector<std::string> namesOfThisComputer(const std::filesystem::path& hostsFile = "/etc/hosts");

/// Does the same for a computer with this host name.
std::vector<std::string> namesOf(const std::string& hostName,
                                 const std::filesystem::path& hostsFile);

/// Finds this computer's IPv4 addresses and the one that people in the room can best reach. Static
/// and stateless; safe from any thread. `sysfs` is its mount point.
class LocalAddresses {
 public:
  LocalAddresses() = delete;

  struct Interface {
    std::string name;     ///< such as "eth0"
    std::string address;  ///< dotted decimal

    bool operator==(const Interface&) const = default;
  };

  /// Returns the usable addresses in the system's order: of the interfaces that are up, without
  /// loopback and self-assigned addresses, only those that people in the room can reach best. An
  /// interface without a peer at its other end counts only if there is none with one. Returns an
  /// empty list if the system does not report them.
  static std::vector<Interface> interfaces(const std::filesystem::path& sysfs = "/sys");

  static std::vector<std::string> ipv4(const std::filesystem::path& sysfs = "/sys");

  /// Returns those of the least distance, which is computed once for each name.
  static std::vector<Interface> nearest(std::vector<Interface> from,
                                        const std::function<int(const std::string&)>& distance);

  /// Returns the best: "en0", then other names beginning with "en", then bridges, then the rest.
  static std::optional<std::string> preferred(std::vector<Interface> from);

  static std::optional<std::string> preferredHost(const std::filesystem::path& sysfs = "/sys");

  /// Returns the URL that viewers type; port 80 is omitted.
  static std::string url(std::string_view host, std::uint16_t port);
};

}  // namespace tarvinel

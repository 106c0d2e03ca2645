#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel {

/// The names of this computer that it knows by itself: its host name, and the names that stand in
/// one line with that in `hostsFile` (hosts(5)), where its name with the domain usually is. Asks no
/// name server.
std::vector<std::string> namesOfThisComputer(const std::filesystem::path& hostsFile = "/etc/hosts");

/// The same for a computer with this host name.
std::vector<std::string> namesOf(const std::string& hostName,
                                 const std::filesystem::path& hostsFile);

/// This computer's IPv4 addresses and the one that people in the room can best reach. Static, keeps
/// no state; safe from any thread. `sysfs` is where that is mounted.
class LocalAddresses {
 public:
  LocalAddresses() = delete;

  struct Interface {
    std::string name;     ///< such as "eth0"
    std::string address;  ///< dotted decimal

    bool operator==(const Interface&) const = default;
  };

  /// The usable addresses in the system's order: interfaces that are up, without loopback and
  /// self-assigned addresses; of those only the ones that people in the room can reach best: an
  /// interface without a partner at its other end counts only while there is none with one. Empty
  /// when the system does not tell.
  static std::vector<Interface> interfaces(const std::filesystem::path& sysfs = "/sys");

  static std::vector<std::string> ipv4(const std::filesystem::path& sysfs = "/sys");

  /// Those of the least distance, which is asked for once for each name.
  static std::vector<Interface> nearest(std::vector<Interface> from,
                                        const std::function<int(const std::string&)>& distance);

  /// The best of them: "en0", then other names beginning with "en", then bridges, then the rest.
  static std::optional<std::string> preferred(std::vector<Interface> from);

  static std::optional<std::string> preferredHost(const std::filesystem::path& sysfs = "/sys");

  /// The address that viewers type; port 80 is left out.
  static std::string url(std::string_view host, std::uint16_t port);
};

}  // namespace tarvinel

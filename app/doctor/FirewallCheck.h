#pragma once

#include "app/doctor/Doctor.h"
#include "core/config/TarvinelConfig.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// What is known of a firewall without root's permissions.
struct FirewallProbe {
  std::uint16_t port = 0;
  bool hasName = true;  ///< a name is to be published
  bool ufwIsOn = false;
  std::optional<bool> ufwLetsIn = {};  ///< the port, from everywhere; nullopt if unreadable
  bool firewalldRuns = false;
  std::string firewalldZone = {};                 ///< the zone of the interface that viewers reach
  std::optional<bool> firewalldLetsIn = {};       ///< for the port; nullopt if unknown
  std::optional<bool> firewalldLetsNamesIn = {};  ///< for mDNS; nullopt if unknown
  bool rulesAreLoaded = false;                    ///< nftables or iptables rules, at every boot

  /// Reads the configuration of firewalls below `root`, which is "/" for this system's, and queries
  /// the system bus. `sysfs` is the mount point of sysfs. Blocks for a few seconds at most.
  static FirewallProbe of(const TarvinelConfig& settings, const std::filesystem::path& root,
                          const std::filesystem::path& sysfs = "/sys");
};

/// Reports whether a firewall keeps viewers out. Pure.
Findings judge(const FirewallProbe& probe);

/// Returns whether ufw's rules, the text of "user.rules", let in TCP connections from everywhere to
/// the port. Pure.
bool ufwRulesLetIn(std::string_view rules, std::uint16_t port);

}  // namespace tarvinel

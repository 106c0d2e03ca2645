#pragma once

#include "app/doctor/Doctor.h"
#include "core/config/TarvinelConfig.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace tarvinel {

/// What can be told of a firewall without being root.
struct FirewallProbe {
  std::uint16_t port = 0;
  bool hasName = true;  ///< one is to be published
  bool ufwIsOn = false;
  std::optional<bool> ufwLetsIn =
      {};  ///< the port, from everywhere; nothing where it cannot be read
  bool firewalldRuns = false;
  std::string firewalldZone = {};                 ///< the one that viewers come in by
  std::optional<bool> firewalldLetsIn = {};       ///< the port, in that zone; likewise
  std::optional<bool> firewalldLetsNamesIn = {};  ///< questions for names, in that zone; likewise
  bool rulesAreLoaded = false;                    ///< nftables or iptables rules, at every start

  /// Reads the configuration of firewalls below `root`, "/" for this system's, and asks on the
  /// system bus. `sysfs` is where that is mounted. Blocks for some seconds at the most.
  static FirewallProbe of(const TarvinelConfig& settings, const std::filesystem::path& root,
                          const std::filesystem::path& sysfs = "/sys");
};

/// Whether a firewall keeps viewers out. Pure.
Findings judge(const FirewallProbe& probe);

/// Whether a file of ufw's rules ("user.rules") lets TCP connections from everywhere to the port.
/// Pure.
bool ufwRulesLetIn(std::string_view rules, std::uint16_t port);

}  // namespace tarvinel

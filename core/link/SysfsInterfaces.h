#pragma once

#include "core/link/NetworkInfo.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// Reads this computer's network interfaces from sysfs: <sysfs>/class/net, see the kernel's
/// Documentation/ABI/testing/sysfs-class-net. Reads it again at each call and never fails: what
/// cannot be read is treated as absent. Safe from any thread.
class SysfsInterfaces {
 public:
  /// `sysfs` is its mount point.
  explicit SysfsInterfaces(const std::filesystem::path& sysfs) : folder_(sysfs / "class/net") {}

  /// Returns the hardware below an interface: its own, or what lies below a bridge, bond, team,
  /// VLAN or macvlan, to any depth. Returns nullopt for loopback, tunnels and what merely connects
  /// containers or virtual machines.
  std::optional<InterfaceType> hardwareBelow(const std::string& name) const;

 private:
  std::optional<InterfaceType> ownHardware(const std::filesystem::path& interface) const;

  std::filesystem::path folder_;
};

}  // namespace tarvinel

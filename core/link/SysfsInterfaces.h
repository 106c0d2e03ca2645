#pragma once

#include "core/link/NetworkInfo.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// What sysfs tells of this computer's network interfaces: <sysfs>/class/net, see the kernel's
/// Documentation/ABI/testing/sysfs-class-net. Reads it anew at each call and never fails: what
/// cannot be read is not there. Safe from any thread.
class SysfsInterfaces {
 public:
  /// `sysfs` is where it is mounted.
  explicit SysfsInterfaces(const std::filesystem::path& sysfs) : folder_(sysfs / "class/net") {}

  /// The hardware that an interface stands on: its own, or what lies below a bridge, bond, team,
  /// VLAN or macvlan, to any depth. Nothing for loopback, tunnels and what merely connects
  /// containers or virtual machines.
  std::optional<InterfaceType> hardwareBelow(const std::string& name) const;

 private:
  std::optional<InterfaceType> ownHardware(const std::filesystem::path& interface) const;

  std::filesystem::path folder_;
};

}  // namespace tarvinel

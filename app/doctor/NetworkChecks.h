#pragma once

#include "app/doctor/BusInquiry.h"
#include "app/doctor/Doctor.h"
#include "core/link/LocalAddresses.h"
#include "core/link/NetworkInfo.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// Who would publish the name in the network, and who does already.
struct NameProbe {
  std::string hostname = {};  ///< as configured; empty: no name is published
  BusInquiry::State bus = BusInquiry::State::replies;  ///< of the system bus
  bool daemonRuns = false;                             ///< the Avahi daemon
  std::string computerName = {};          ///< the name that the daemon publishes for this computer
  std::optional<std::string> found = {};  ///< the address that the name has in the network, if any
  bool foundIsOwn = false;                ///< that address is one of this computer's

  /// Queries the daemon; publishes nothing. Blocks for a few seconds at most.
  static NameProbe of(const std::string& hostname, const std::filesystem::path& sysfs);
};

/// Reports whether the name could be published, and how. Pure.
Findings judge(const NameProbe& probe);

/// The addresses at which viewers can reach this computer.
struct AddressProbe {
  std::uint16_t port = 80;
  std::string hostname = {};                                ///< empty: no name is published
  std::vector<LocalAddresses::Interface> interfaces = {};   ///< those that viewers can reach
  std::vector<std::optional<InterfaceType>> hardware = {};  ///< the hardware below each of them
  std::optional<InterfaceType> link = {};                   ///< by which the stream is sent

  /// `sysfs` is the mount point of sysfs. Blocks for a few seconds at most.
  static AddressProbe of(std::uint16_t port, const std::string& hostname,
                         const std::filesystem::path& sysfs);
};

/// Reports what viewers would open. Pure.
Findings judge(const AddressProbe& probe);

}  // namespace tarvinel

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

/// Who would answer for the name in the network, and who does already.
struct NameProbe {
  std::string hostname = {};  ///< as configured; empty: no name is published
  BusInquiry::State bus = BusInquiry::State::replies;  ///< the system's
  bool daemonRuns = false;                             ///< Avahi's
  std::string computerName = {};          ///< what the daemon publishes for this computer itself
  std::optional<std::string> found = {};  ///< the address that the name has in the network now
  bool foundIsOwn = false;                ///< it is one of this computer's

  /// Asks the daemon; publishes nothing. Blocks for some seconds at the most.
  static NameProbe of(const std::string& hostname, const std::filesystem::path& sysfs);
};

/// Whether the name could be published, and how. Pure.
Findings judge(const NameProbe& probe);

/// How this computer can be reached.
struct AddressProbe {
  std::uint16_t port = 80;
  std::string hostname = {};                                ///< empty: no name is published
  std::vector<LocalAddresses::Interface> interfaces = {};   ///< those in the room's reach
  std::vector<std::optional<InterfaceType>> hardware = {};  ///< below each of them
  std::optional<InterfaceType> link = {};                   ///< by which pictures would go out

  /// `sysfs` is where that is mounted. Blocks for some seconds at the most.
  static AddressProbe of(std::uint16_t port, const std::string& hostname,
                         const std::filesystem::path& sysfs);
};

/// What viewers would open. Pure.
Findings judge(const AddressProbe& probe);

}  // namespace tarvinel

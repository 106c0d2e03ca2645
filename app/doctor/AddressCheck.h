#pragma once

#include "app/doctor/Finding.h"
#include "core/link/InterfaceType.h"
#include "core/link/LocalAddresses.h"

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// How this computer can be reached.
struct AddressFacts {
  std::uint16_t port = 80;
  std::string hostname = {};                                ///< empty: no name is published
  std::vector<LocalAddresses::Interface> interfaces = {};   ///< those in the room's reach
  std::vector<std::optional<InterfaceType>> hardware = {};  ///< below each of them
  std::optional<InterfaceType> link = {};                   ///< by which pictures would go out

  /// `sysfs` is where that is mounted. Blocks for some seconds at the most.
  static AddressFacts of(std::uint16_t port, const std::string& hostname,
                         const std::filesystem::path& sysfs);
};

/// What viewers would open. Pure.
Findings judge(const AddressFacts& facts);

}  // namespace tarvinel

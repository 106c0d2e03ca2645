#pragma once

#include "app/doctor/BusInquiry.h"
#include "app/doctor/Finding.h"

#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// Who would answer for the name in the network, and who does already.
struct NameFacts {
  std::string hostname = {};  ///< as configured; empty: no name is published
  BusInquiry::State bus = BusInquiry::State::answers;  ///< the system's
  bool daemonRuns = false;                             ///< Avahi's
  std::string computerName = {};          ///< what the daemon publishes for this computer itself
  std::optional<std::string> found = {};  ///< the address that the name has in the network now
  bool foundIsOwn = false;                ///< it is one of this computer's

  /// Asks the daemon; publishes nothing. Blocks for some seconds at the most.
  static NameFacts of(const std::string& hostname, const std::filesystem::path& sysfs);
};

/// Whether the name could be published, and how. Pure.
Findings judge(const NameFacts& facts);

}  // namespace tarvinel

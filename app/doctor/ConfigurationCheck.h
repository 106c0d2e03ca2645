#pragma once

#include "app/doctor/Finding.h"
#include "app/startup/CommandLine.h"

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// What the configuration file says, and what became of it.
struct ConfigurationFacts {
  std::filesystem::path file = {};
  bool exists = false;
  std::optional<std::string> problem = {};       ///< the program's own line on it
  std::vector<std::string> unknownKeys = {};     ///< such as "hostName" or "brand.colour"
  std::vector<std::string> corrections = {};     ///< such as "fps is 60 instead of 500"
  std::vector<std::string> lostBrandFiles = {};  ///< given but not usable, such as "brand.image"

  /// Reads what the program would read with these options. Blocks.
  static ConfigurationFacts of(const CommandLineOptions& options);
};

/// Whether the configuration can be used, and its mistakes. Pure.
Findings judge(const ConfigurationFacts& facts);

}  // namespace tarvinel

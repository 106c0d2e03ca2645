#pragma once

#include "app/startup/CommandLine.h"
#include "core/config/TarvinelConfig.h"
#include "core/support/Log.h"

#include <optional>
#include <string>

namespace tarvinel {

/// The settings of this run, and a description of the error in their files, if any, for the
/// presenter.
struct Configuration {
  TarvinelConfig config;
  std::optional<std::string> problem;

  /// Reads the files that the command line names, or those in the default places, and logs an error
  /// in them. Never fails. Blocks.
  static Configuration load(const CommandLineOptions& options, const Log& log);
};

}  // namespace tarvinel

#pragma once

#include "app/capture/CaptureServiceFactory.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarvinel {

/// The options of a run. Plain value.
struct CommandLineOptions {
  bool headless = false;  ///< in a terminal, without a tray
  CaptureBackend capture = CaptureBackend::automatic;
  std::optional<std::string> share;         ///< identifier of the source to share at once
  std::optional<std::uint16_t> port;        ///< overrides the configuration's
  bool uploads = false;                     ///< open them at once
  std::optional<std::string> uploadFolder;  ///< overrides the chosen one for this run
  std::optional<std::string> config;        ///< the user's file; overrides the default one
  std::optional<std::string> profile;       ///< the built-in profile's folder, likewise
  std::string sysfs = "/sys";               ///< mount point of sysfs; not shown in the help
  std::string systemRoot = "/";             ///< where firewalls are configured; likewise
  bool doctor = false;                      ///< check this computer, then exit
  bool listSources = false;
  std::optional<bool> autostart;  ///< switch start at login on or off, then exit
  bool verbose = false;
  std::vector<std::string> given;  ///< names of the given options, such as "--share"
};

/// A request to exit at once: `text` goes to standard output if the status is 0, else to standard
/// error.
struct CommandLineExit {
  int status = 0;
  std::string text;
};

/// Exit status for an invalid command line.
inline constexpr int exitWrongCommandLine = 2;

/// Parses the command line. Pure.
std::variant<CommandLineOptions, CommandLineExit> parseCommandLine(int argc,
                                                                   const char* const* argv);

}  // namespace tarvinel

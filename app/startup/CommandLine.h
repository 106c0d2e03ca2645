#pragma once

#include "app/capture/CaptureServiceFactory.h"

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace tarvinel {

/// What the program was asked to do. Plain value.
struct CommandLineOptions {
  bool headless = false;  ///< in a terminal, without a tray
  CaptureBackend capture = CaptureBackend::automatic;
  std::optional<std::string> share;         ///< identifier of the source to share at once
  std::optional<std::uint16_t> port;        ///< instead of the configuration's
  bool uploads = false;                     ///< open them at once
  std::optional<std::string> uploadFolder;  ///< for this run
  std::optional<std::string> config;        ///< the user's file, instead of the default one
  std::optional<std::string> profile;       ///< the built-in profile's folder, likewise
  std::string sysfs = "/sys";               ///< where that is mounted; not shown in the help
  std::string systemRoot = "/";             ///< where firewalls are configured; likewise
  bool doctor = false;                      ///< look at this computer, then exit
  bool listSources = false;
  std::optional<bool> autostart;  ///< start at login from now on, or no longer, then exit
  bool verbose = false;
  std::vector<std::string> given;  ///< names of the options that were given, such as "--share"
};

/// The program is to end at once: `text` for standard output when the status is 0, else for
/// standard error.
struct CommandLineExit {
  int status = 0;
  std::string text;
};

/// Exit status of a command line that cannot be understood.
inline constexpr int exitWrongCommandLine = 2;

/// Reads the command line. Pure.
std::variant<CommandLineOptions, CommandLineExit> parseCommandLine(int argc,
                                                                   const char* const* argv);

}  // namespace tarvinel

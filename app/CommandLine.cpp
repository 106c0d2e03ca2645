#include "app/CommandLine.h"

#include "core/support/Version.h"

#include <CLI/CLI.hpp>

#include <map>
#include <sstream>

namespace tarvinel {

namespace {

CommandLineExit exitFor(const CLI::App& app, const CLI::ParseError& error) {
  std::ostringstream out;
  std::ostringstream err;
  const bool fine = app.exit(error, out, err) == 0;
  return fine ? CommandLineExit{0, out.str()}
              : CommandLineExit{exitWrongCommandLine, "tarvinel: " + err.str()};
}

CaptureRoad roadNamed(const std::string& capture) {
  static const std::map<std::string, CaptureRoad> roads{{"x11", CaptureRoad::x11},
                                                        {"portal", CaptureRoad::portal},
                                                        {"pattern", CaptureRoad::pattern}};
  const auto found = roads.find(capture);
  return found == roads.end() ? CaptureRoad::automatic : found->second;
}

}  // namespace

std::variant<CommandLineOptions, CommandLineExit> parseCommandLine(int argc,
                                                                   const char* const* argv) {
  CLI::App app{"Shares a screen with every browser in the room.", "tarvinel"};
  CommandLineOptions options;
  std::string capture = "auto";
  std::string autostart;
  app.add_flag("--headless", options.headless,
               "run in a terminal: status lines on standard output, commands on standard input");
  app.add_option("--capture", capture, "how to capture the screen: auto, x11, portal or pattern")
      ->check(CLI::IsMember({"auto", "x11", "pattern", "portal"}).description(""));
  app.add_option("--share", options.share, "start sharing this source at once")->type_name("ID");
  app.add_option("--port", options.port, "port of the web server; 0 takes any free one")
      ->type_name("N")
      ->check(CLI::Range(0, 65535).description(""));
  app.add_flag("--uploads", options.uploads, "let participants send photos at once");
  app.add_option("--upload-folder", options.uploadFolder, "where photos go in this run")
      ->type_name("DIR");
  app.add_option("--config", options.config, "read the settings from this file")->type_name("FILE");
  app.add_option("--profile", options.profile, "read the built-in profile from this folder")
      ->type_name("DIR");
  // for tests of what a test machine does not have: an empty group keeps them out of the help
  app.add_option("--sysfs", options.sysfs, "where sysfs is mounted")->type_name("DIR")->group("");
  app.add_option("--system-root", options.systemRoot, "where firewalls are configured")
      ->type_name("DIR")
      ->group("");
  app.add_flag("--doctor", options.doctor,
               "look at this computer and tell what is in the way, then exit");
  app.add_flag("--list-sources", options.listSources, "list what can be shared, then exit");
  app.add_option("--autostart", autostart,
                 "start when you log in to the desktop, or no longer (on or off), then exit")
      ->type_name("on|off")
      ->check(CLI::IsMember({"on", "off"}).description(""));
  app.add_flag("--verbose", options.verbose, "log every request");
  app.set_version_flag("--version", "tarvinel " + std::string(appVersion),
                       "show the version, then exit");
  app.set_help_flag("--help,-h", "show this help, then exit");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return exitFor(app, error);
  }
  options.capture = roadNamed(capture);
  if (!autostart.empty()) options.autostart = autostart == "on";
  return options;
}

}  // namespace tarvinel

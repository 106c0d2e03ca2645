#include "app/startup/CommandLine.h"

#include "core/support/ASCII.h"
#include "core/support/PortNumber.h"
#include "core/support/Version.h"

#include <CLI/CLI.hpp>

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>
#include <sstream>

namespace tarvinel {

namespace {

CommandLineExit wrong(const std::string& why) {
  return {exitWrongCommandLine,
          withoutControls("tarvinel: " + why + "; --help lists the options") + "\n"};
}

/// Describes an option with a missing argument or too many. The library's text begins with its
/// name; the name of a flag, which takes no argument, comes without its dashes.
std::string misuse(const CLI::App& app, const std::string& text) {
  const std::string name = text.substr(0, text.find_first_of(": "));
  const CLI::Option* option = app.get_option_no_throw(name);
  if (option == nullptr) return "--" + name + " takes nothing behind it";
  if (option->count() > 1) return name + " can be given only once";
  return name + " needs " + option->get_type_name() + " behind it";
}

CommandLineExit exitFor(const CLI::App& app, const CLI::ParseError& error) {
  if (dynamic_cast<const CLI::ArgumentMismatch*>(&error) != nullptr) {
    return wrong(misuse(app, error.what()));
  }
  if (dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr) {
    return wrong("it does not understand \"" + app.remaining().front() + '"');
  }
  std::ostringstream out;
  std::ostringstream err;
  const bool fine = app.exit(error, out, err) == 0;
  return fine ? CommandLineExit{0, out.str()} : wrong(error.what());
}

CLI::Validator oneOf(const std::vector<std::string>& words) {
  return {[words](const std::string& text) {
            if (std::ranges::find(words, text) != words.end()) return std::string();
            return fmt::format("\"{}\" is none of {}", text, fmt::join(words, ", "));
          },
          ""};
}

CLI::Validator someText() {
  return {[](const std::string& text) { return text.empty() ? "it is empty" : ""; }, ""};
}

CLI::Validator somePort() {
  return {[](const std::string& text) {
            if (portNumber(text)) return std::string();
            return '"' + text + "\" is not a number from 0 to 65535";
          },
          ""};
}

std::vector<std::string> givenTo(const CLI::App& app) {
  std::vector<std::string> names;
  for (const CLI::Option* option : app.get_options()) {
    if (option->count() > 0) names.push_back(option->get_name());
  }
  return names;
}

CaptureBackend backendNamed(const std::string& capture) {
  static const std::map<std::string, CaptureBackend> backends{{"x11", CaptureBackend::x11},
                                                              {"portal", CaptureBackend::portal},
                                                              {"pattern", CaptureBackend::pattern}};
  const auto found = backends.find(capture);
  return found == backends.end() ? CaptureBackend::automatic : found->second;
}

}  // namespace

std::variant<CommandLineOptions, CommandLineExit> parseCommandLine(int argc,
                                                                   const char* const* argv) {
  CLI::App app{"Shares a screen with every browser in the room.", "tarvinel"};
  app.option_defaults()->disable_flag_override();
  CommandLineOptions options;
  std::string capture = "auto";
  std::string port;
  std::string autostart;
  app.add_flag("--headless", options.headless,
               "run in a terminal: status lines on standard output, commands on standard input");
  app.add_option("--capture", capture, "how to capture the screen: auto, x11, portal or pattern")
      ->type_name("HOW")
      ->check(oneOf({"auto", "x11", "portal", "pattern"}));
  app.add_option("--share", options.share, "start sharing this source at once")
      ->type_name("ID")
      ->check(someText());
  app.add_option("--port", port, "port of the web server; 0 takes any free one")
      ->type_name("N")
      ->check(somePort());
  app.add_flag("--uploads", options.uploads, "let participants send photos at once");
  app.add_option("--upload-folder", options.uploadFolder, "where photos go in this run")
      ->type_name("DIR")
      ->check(someText());
  app.add_option("--config", options.config, "read the settings from this file")
      ->type_name("FILE")
      ->check(someText());
  app.add_option("--profile", options.profile, "read the built-in profile from this folder")
      ->type_name("DIR")
      ->check(someText());
  // for tests that simulate other hardware: an empty group keeps these options out of the help
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
      ->check(oneOf({"on", "off"}));
  app.add_flag("--verbose", options.verbose, "log every request");
  app.set_version_flag("--version", "tarvinel " + std::string(appVersion),
                       "show the version, then exit");
  app.set_help_flag("--help,-h", "show this help, then exit");
  app.footer("The manual: man tarvinel");
  try {
    app.parse(argc, argv);
  } catch (const CLI::ParseError& error) {
    return exitFor(app, error);
  }
  options.given = givenTo(app);
  options.capture = backendNamed(capture);
  options.port = portNumber(port);
  if (autostart.empty()) return options;
  if (options.given.size() > 1) return wrong("--autostart takes no other option beside it");
  options.autostart = autostart == "on";
  return options;
}

}  // namespace tarvinel

#include "app/doctor/DoctorProgram.h"
#include "app/startup/CommandLine.h"
#include "app/terminal/HeadlessProgram.h"
#ifdef TARVINEL_TRAY
#include "app/desktop/TarvinelApp.h"
#include "app/platform/Autostart.h"
#endif

#include <csignal>
#include <exception>
#include <iostream>
#include <variant>

namespace {

#ifdef TARVINEL_TRAY

constexpr bool hasTray = true;

int runOnDesktop(const tarvinel::CommandLineOptions& options) {
  return tarvinel::TarvinelApp::run(options);
}

int setAutostart(bool on) {
  std::cout << tarvinel::Autostart::ofThisProgram().set(on) << '\n';
  return 0;
}

#else

constexpr bool hasTray = false;

int runOnDesktop(const tarvinel::CommandLineOptions& /*options*/) {
  std::cerr << "tarvinel: it was built without a tray; start with --headless (see --help)\n";
  return tarvinel::exitWrongCommandLine;
}

int setAutostart(bool /*on*/) {
  std::cerr
      << "tarvinel: it was built without a tray; \"systemctl --user enable tarvinel-headless\" "
         "has it start when you log in\n";
  return tarvinel::exitWrongCommandLine;
}

#endif

/// Returns the exit status of a run whose only result is its output: a write error, such as a full
/// disk, must not go unnoticed.
int printed(int status) {
  std::cout.flush();
  if (std::cout) return status;
  std::cerr << "tarvinel: standard output cannot be written to\n";
  return 1;
}

int run(const tarvinel::CommandLineOptions& options) {
  if (options.autostart) return printed(setAutostart(*options.autostart));
  if (options.doctor) return printed(tarvinel::runDoctor(options, hasTray));
  if (options.listSources) return printed(tarvinel::listSources(options));
  return options.headless ? tarvinel::runHeadless(options) : runOnDesktop(options);
}

}  // namespace

int main(int argc, char** argv) {
  // A write to a closed connection must not end the program: sends return the error instead.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    const auto parsed = tarvinel::parseCommandLine(argc, argv);
    if (const auto* exit = std::get_if<tarvinel::CommandLineExit>(&parsed)) {
      (exit->status == 0 ? std::cout : std::cerr) << exit->text;
      return printed(exit->status);
    }
    return run(std::get<tarvinel::CommandLineOptions>(parsed));
  } catch (const std::exception& error) {
    std::cerr << "tarvinel: " << error.what() << '\n';
    return 1;
  }
}

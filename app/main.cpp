#include "app/CommandLine.h"
#include "app/HeadlessProgram.h"

#include <csignal>
#include <exception>
#include <iostream>
#include <variant>

int main(int argc, char** argv) {
  // A browser that leaves must not end the program: sends report the broken connection instead.
  std::signal(SIGPIPE, SIG_IGN);
  try {
    const auto parsed = tarvinel::parseCommandLine(argc, argv);
    if (const auto* exit = std::get_if<tarvinel::CommandLineExit>(&parsed)) {
      (exit->status == 0 ? std::cout : std::cerr) << exit->text;
      return exit->status;
    }
    const auto& options = std::get<tarvinel::CommandLineOptions>(parsed);
    return options.listSources ? tarvinel::listSources(options) : tarvinel::runHeadless(options);
  } catch (const std::exception& error) {
    std::cerr << "tarvinel: " << error.what() << '\n';
    return 1;
  }
}

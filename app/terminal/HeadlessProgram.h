#pragma once

#include "app/platform/Desktop.h"
#include "app/platform/MainQueue.h"
#include "app/startup/CommandLine.h"
#include "app/x11/ScreenSaverSuspension.h"

#include <asio/io_context.hpp>

#include <memory>

namespace tarvinel {

/// The main queue of a program in a terminal: runs on the main thread, inside `run`.
class TerminalLoop : public MainQueue {
 public:
  void post(std::function<void()> task) override;
  std::unique_ptr<Timer> repeat(std::chrono::milliseconds interval,
                                std::function<void()> task) override;

  /// Runs the queue on the calling thread until `quit`; returns the exit status given there.
  int run();

  /// Ends `run` after the current task; only the first call's status counts. Call it on the queue.
  void quit(int status);

 private:
  asio::io_context context_{1};
  int status_ = 0;
};

/// The desktop services of a program in a terminal, where the console shows everything and reads
/// paths as text. It only keeps an X server from blanking its screen.
class TerminalDesktop : public Desktop {
 public:
  void copy(const std::string& /*text*/) override {}
  void openInBrowser(const std::string& /*url*/) override {}
  void openFile(const std::filesystem::path& /*file*/) override {}
  void openPrivacySettings() override {}
  void chooseFolder(const std::filesystem::path& /*current*/,
                    std::function<void(std::filesystem::path)> /*chosen*/) override {}
  void revealFolder(const std::filesystem::path& /*folder*/) override {}
  void notify(const std::string& /*title*/, const std::string& /*text*/) override {}
  void alert(const std::string& /*title*/, const std::string& /*text*/) override {}
  void dismissAlert() override {}
  void keepAwake(bool awake) override;
  void quit() override {}

 private:
  std::unique_ptr<x11::ScreenSaverSuspension> suspension_;  ///< while kept awake
};

/// Runs the program in a terminal until a command or a signal ends it; returns the exit status.
int runHeadless(const CommandLineOptions& options);

/// Prints the available sources, one a line: identifier, tab, title; returns the exit status.
int listSources(const CommandLineOptions& options);

}  // namespace tarvinel

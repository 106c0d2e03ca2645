#pragma once

#include "app/platform/Desktop.h"
#include "app/x11/ScreenSaverSuspension.h"

#include <memory>

namespace tarvinel {

/// Where there is no desktop: the console shows everything, and takes paths as text. Only an X
/// server is asked not to blank its screen.
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

}  // namespace tarvinel

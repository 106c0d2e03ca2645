#pragma once

#include "app/Desktop.h"

namespace tarvinel {

/// Where there is no desktop: the console shows everything, and takes paths as text. Does nothing.
class TerminalDesktop : public Desktop {
 public:
  void copy(const std::string& /*text*/) override {}
  void openInBrowser(const std::string& /*url*/) override {}
  void openPrivacySettings() override {}
  void chooseFolder(const std::filesystem::path& /*current*/,
                    std::function<void(std::filesystem::path)> /*chosen*/) override {}
  void revealFolder(const std::filesystem::path& /*folder*/) override {}
  void notify(const std::string& /*title*/, const std::string& /*text*/) override {}
  void keepAwake(bool /*awake*/) override {}
  void quit() override {}
};

}  // namespace tarvinel

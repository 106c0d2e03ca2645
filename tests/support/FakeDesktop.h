#pragma once

#include "app/platform/Desktop.h"

#include <filesystem>
#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel::test {

/// A desktop that records what it is requested to do.
class FakeDesktop : public Desktop {
 public:
  void copy(const std::string& text) override { done.push_back("copy " + text); }
  void openInBrowser(const std::string& url) override { done.push_back("open " + url); }
  void openFile(const std::filesystem::path& file) override {
    done.push_back("open " + file.string());
  }
  void openPrivacySettings() override { done.emplace_back("privacy settings"); }
  void chooseFolder(const std::filesystem::path& current,
                    std::function<void(std::filesystem::path)> whenChosen) override {
    done.push_back("choose from " + current.string());
    chosen = std::move(whenChosen);
  }
  void revealFolder(const std::filesystem::path& folder) override {
    done.push_back("reveal " + folder.string());
  }
  void notify(const std::string& title, const std::string& text) override {
    done.push_back("notify " + title + ": " + text);
  }
  void alert(const std::string& title, const std::string& text) override {
    done.push_back("alert " + title + ": " + text);
    isAlerting_ = true;
  }
  void dismissAlert() override {
    if (std::exchange(isAlerting_, false)) done.emplace_back("dismiss alert");
  }
  void keepAwake(bool awake) override { done.emplace_back(awake ? "awake" : "may sleep"); }
  void quit() override { done.emplace_back("quit"); }

  std::vector<std::string> done;
  std::function<void(std::filesystem::path)> chosen;  ///< the last chooser's callback

 private:
  bool isAlerting_ = false;
};

}  // namespace tarvinel::test

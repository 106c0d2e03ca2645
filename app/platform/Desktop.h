#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace tarvinel {

/// The services that the presenter's desktop provides. Lives on the main queue. No call waits for
/// the presenter; an operation that the desktop does not support has no effect.
class Desktop {
 public:
  virtual ~Desktop() = default;
  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  /// Puts a text on the clipboard.
  virtual void copy(const std::string& text) = 0;

  virtual void openInBrowser(const std::string& url) = 0;

  /// Opens a file with the presenter's default program for its type.
  virtual void openFile(const std::filesystem::path& file) = 0;

  /// Opens the settings that say which programs may capture the screen.
  virtual void openPrivacySettings() = 0;

  /// Opens a dialog in which the presenter chooses a folder, starting at `current`, with a button
  /// "Use This Folder"; `chosen` is called later on the main queue, or never.
  virtual void chooseFolder(const std::filesystem::path& current,
                            std::function<void(std::filesystem::path)> chosen) = 0;

  /// Shows a folder in the file browser.
  virtual void revealFolder(const std::filesystem::path& folder) = 0;

  /// Shows a notification to the presenter, who may be looking at something else.
  virtual void notify(const std::string& title, const std::string& text) = 0;

  /// Shows a notification that must not be missed, even where the desktop holds notifications back,
  /// as some do while a screen is shared.
  virtual void alert(const std::string& title, const std::string& text) = 0;

  /// Withdraws the last alert, which is no longer true.
  virtual void dismissAlert() = 0;

  /// Starts or stops keeping the screen from blanking.
  virtual void keepAwake(bool awake) = 0;

  /// Ends the program in an orderly way.
  virtual void quit() = 0;
};

}  // namespace tarvinel

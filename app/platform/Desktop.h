#pragma once

#include <filesystem>
#include <functional>
#include <string>

namespace tarvinel {

/// What the presenter's desktop does for the program. Lives on the main queue; nothing here waits
/// for the presenter, and what the desktop cannot do is left undone.
class Desktop {
 public:
  virtual ~Desktop() = default;
  Desktop() = default;
  Desktop(const Desktop&) = delete;
  Desktop& operator=(const Desktop&) = delete;

  /// Puts a text on the clipboard.
  virtual void copy(const std::string& text) = 0;

  virtual void openInBrowser(const std::string& url) = 0;

  /// Opens a file in the program that the presenter has for its type.
  virtual void openFile(const std::filesystem::path& file) = 0;

  /// Opens the settings that say which programs may capture the screen.
  virtual void openPrivacySettings() = 0;

  /// Lets the presenter choose a folder, beginning at `current`, with a button "Use This Folder";
  /// `chosen` is called later on the main queue, or never.
  virtual void chooseFolder(const std::filesystem::path& current,
                            std::function<void(std::filesystem::path)> chosen) = 0;

  /// Shows a folder in the file browser.
  virtual void revealFolder(const std::filesystem::path& folder) = 0;

  /// Tells the presenter what happened while looking elsewhere.
  virtual void notify(const std::string& title, const std::string& text) = 0;

  /// The same for what must not be missed: it is shown even where the desktop holds notifications
  /// back, as some do while a screen is shared.
  virtual void alert(const std::string& title, const std::string& text) = 0;

  /// Withdraws the last alert, which is no longer true.
  virtual void dismissAlert() = 0;

  /// Keeps the screen from going blank, or no longer.
  virtual void keepAwake(bool awake) = 0;

  /// Ends the program in order.
  virtual void quit() = 0;
};

}  // namespace tarvinel

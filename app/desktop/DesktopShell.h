#pragma once

#include "app/desktop/services/FolderChooser.h"
#include "app/desktop/services/IdleInhibitor.h"
#include "app/desktop/services/Notifications.h"
#include "app/platform/Desktop.h"

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <filesystem>
#include <functional>
#include <string>

namespace tarvinel {

/// Puts a text on the desktop's clipboard. Under Wayland a program without the focus may not, and a
/// click in the tray gives none: there `wl-copy` does it where it is installed. Does not wait.
void copyToClipboard(const QString& text);

/// The presenter's desktop, through the toolkit and the session bus. Never waits for a service: if
/// one hangs, only the requested operation is lost.
class DesktopShell : public Desktop {
 public:
  /// `quit` ends the program in an orderly way.
  DesktopShell(const QDBusConnection& bus, std::function<void()> quit);

  void copy(const std::string& text) override;
  void openInBrowser(const std::string& url) override;
  void openFile(const std::filesystem::path& file) override;
  void openPrivacySettings() override;
  void chooseFolder(const std::filesystem::path& current,
                    std::function<void(std::filesystem::path)> chosen) override;
  void revealFolder(const std::filesystem::path& folder) override;
  void notify(const std::string& title, const std::string& text) override;
  void alert(const std::string& title, const std::string& text) override;
  void dismissAlert() override;
  void keepAwake(bool awake) override;
  void quit() override;

 private:
  const QDBusConnection bus_;
  const std::function<void()> quit_;
  Alert alert_;
  FolderChooser folderChooser_;
  IdleInhibitor idleInhibitor_;
  QObject context_;  ///< context of pending calls
};

}  // namespace tarvinel

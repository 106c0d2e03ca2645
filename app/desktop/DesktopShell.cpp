#include "app/desktop/DesktopShell.h"

#include "app/desktop/services/Clipboard.h"
#include "app/desktop/services/FileBrowser.h"
#include "app/desktop/services/Launcher.h"
#include "app/desktop/services/Notifications.h"
#include "app/desktop/services/PrivacySettings.h"

#include <QFile>
#include <QUrl>

#include <utility>

namespace tarvinel {

DesktopShell::DesktopShell(const QDBusConnection& bus, std::function<void()> quit)
    : bus_(bus), quit_(std::move(quit)), alert_(bus), folderChooser_(bus), idleInhibitor_(bus) {}

void DesktopShell::copy(const std::string& text) {
  copyToClipboard(QString::fromStdString(text));
}

void DesktopShell::openInBrowser(const std::string& url) {
  if (openByDefault(QString::fromStdString(url))) return;
  notify("No browser was found", "Open " + url + " in a browser.");
}

void DesktopShell::openFile(const std::filesystem::path& file) {
  openInBrowser(QUrl::fromLocalFile(QFile::decodeName(file.c_str()))
                    .toString(QUrl::FullyEncoded)
                    .toStdString());
}

void DesktopShell::openPrivacySettings() {
  if (openDesktopPrivacySettings()) return;
  notify("Privacy settings",
         "Look in your desktop's settings for the programs that may record the screen.");
}

void DesktopShell::chooseFolder(const std::filesystem::path& current,
                                std::function<void(std::filesystem::path)> chosen) {
  folderChooser_.choose(current, std::move(chosen));
}

void DesktopShell::revealFolder(const std::filesystem::path& folder) {
  showInFileBrowser(bus_, folder, context_);
}

void DesktopShell::notify(const std::string& title, const std::string& text) {
  showNotification(bus_, QString::fromStdString(title), QString::fromStdString(text));
}

void DesktopShell::alert(const std::string& title, const std::string& text) {
  alert_.show(QString::fromStdString(title), QString::fromStdString(text));
}

void DesktopShell::dismissAlert() {
  alert_.close();
}

void DesktopShell::keepAwake(bool awake) {
  idleInhibitor_.keepAwake(awake);
}

void DesktopShell::quit() {
  quit_();
}

}  // namespace tarvinel

#include "app/desktop/DesktopShell.h"

#include "app/desktop/services/FileBrowser.h"
#include "app/desktop/services/Launcher.h"

#include <QClipboard>
#include <QCoreApplication>
#include <QFile>
#include <QGuiApplication>
#include <QProcess>
#include <QStandardPaths>
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

namespace {

using namespace Qt::StringLiterals;

/// Returns the helper's path, or an empty string if it is not needed or not installed.
QString clipboardHelper() {
  if (qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) return {};
  return QStandardPaths::findExecutable(u"wl-copy"_s);
}

void giveTo(const QString& helper, const QString& text) {
  // owned by the application; deletes itself when the helper has ended
  auto* const process = new QProcess(QCoreApplication::instance());
  QObject::connect(process, &QProcess::finished, process, &QObject::deleteLater);
  QObject::connect(process, &QProcess::errorOccurred, process, &QObject::deleteLater);
  // the helper stays in the background to serve the text, and must not keep this program's pipes
  // open
  process->setStandardOutputFile(QProcess::nullDevice());
  process->setStandardErrorFile(QProcess::nullDevice());
  process->start(helper, {u"--type"_s, u"text/plain;charset=utf-8"_s});
  process->write(text.toUtf8());
  process->closeWriteChannel();
}

}  // namespace

void copyToClipboard(const QString& text) {
  const QString helper = clipboardHelper();
  if (helper.isEmpty()) {
    QGuiApplication::clipboard()->setText(text);
  } else {
    giveTo(helper, text);
  }
}

}  // namespace tarvinel

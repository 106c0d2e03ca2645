#include "app/desktop/services/Launcher.h"

#include <QProcess>
#include <QStandardPaths>

#include <algorithm>

namespace tarvinel {

namespace {

using namespace Qt::StringLiterals;

bool launch(const LaunchCommand& command) {
  const QString path = QStandardPaths::findExecutable(command.program);
  return !path.isEmpty() && QProcess::startDetached(path, command.arguments);
}

}  // namespace

bool launchFirstOf(const QList<LaunchCommand>& commands) {
  return std::ranges::any_of(commands, launch);
}

bool openByDefault(const QString& url) {
  return launchFirstOf(
      {{u"xdg-open"_s, {url}}, {u"gio"_s, {u"open"_s, url}}, {u"x-www-browser"_s, {url}}});
}

namespace {

using namespace Qt::StringLiterals;

}  // namespace

QList<LaunchCommand> privacySettingsPrograms(const QString& desktop) {
  QList<LaunchCommand> programs{{u"gnome-control-center"_s, {u"privacy"_s}}, {u"systemsettings"_s}};
  if (desktop.contains("KDE"_L1, Qt::CaseInsensitive)) std::ranges::reverse(programs);
  return programs;
}

bool openDesktopPrivacySettings() {
  return launchFirstOf(privacySettingsPrograms(qEnvironmentVariable("XDG_CURRENT_DESKTOP")));
}

}  // namespace tarvinel

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

}  // namespace tarvinel

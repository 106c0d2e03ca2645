#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <initializer_list>

namespace tarvinel {

/// A program and its arguments. Plain value.
struct LaunchCommand {
  QString program;
  QStringList arguments = {};

  bool operator==(const LaunchCommand&) const = default;
};

/// Starts the first of these programs that is installed, and leaves it to itself; false when none
/// is. Does not wait for it.
bool launchFirstOf(const QList<LaunchCommand>& commands);

/// Opens an address, of a page or of a folder, with whatever the desktop opens such with; false
/// when there is nothing that could.
bool openByDefault(const QString& url);

/// The programs that could show the desktop's privacy settings, the best first; `desktop` is what
/// XDG_CURRENT_DESKTOP says. Pure.
QList<LaunchCommand> privacySettingsPrograms(const QString& desktop);

/// Opens the desktop's privacy settings; false when nothing installed shows them.
bool openDesktopPrivacySettings();

}  // namespace tarvinel

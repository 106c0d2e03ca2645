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

/// Starts the first of these programs that is installed, detached from this one; returns false if
/// none is. Does not wait for it.
bool launchFirstOf(const QList<LaunchCommand>& commands);

/// Opens the address of a page or a folder with the desktop's default program; returns false if
/// there is none.
bool openByDefault(const QString& url);

/// Returns the programs that may show the desktop's privacy settings, the best first; `desktop` is
/// the value of XDG_CURRENT_DESKTOP. Pure.
QList<LaunchCommand> privacySettingsPrograms(const QString& desktop);

/// Opens the desktop's privacy settings; returns false if no installed program shows them.
bool openDesktopPrivacySettings();

}  // namespace tarvinel

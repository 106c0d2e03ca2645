#pragma once

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

}  // namespace tarvinel

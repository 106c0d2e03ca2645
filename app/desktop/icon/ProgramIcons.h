#pragma once

#include <QIcon>

namespace tarvinel {

/// The program's icons from its read-only files; an icon is empty if its files are missing.
/// Requires the toolkit's application.
class ProgramIcons {
 public:
  ProgramIcons() = delete;

  /// Returns the icon of windows and notifications.
  static QIcon program();

  /// Returns the tray's icon. An installed icon is passed by name, so that a panel can draw it in
  /// its own colours.
  static QIcon tray(bool sharing);
};

}  // namespace tarvinel

#pragma once

#include <QIcon>

namespace tarvinel {

/// The program's icons, from its read-only files; empty ones where those are missing. Needs the
/// toolkit's application.
class ProgramIcons {
 public:
  ProgramIcons() = delete;

  /// Of windows and notifications.
  static QIcon program();

  /// Of the tray. An installed one goes by its name, so that a panel can paint it in its colours.
  static QIcon tray(bool sharing);
};

}  // namespace tarvinel

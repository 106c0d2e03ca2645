#pragma once

#include <QString>

namespace tarvinel {

/// Names of the desktop's portal on the session bus.
struct DesktopPortal {
  DesktopPortal() = delete;

  static inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
  static inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

  /// Of the object that stands for something asked of it.
  static inline const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
};

}  // namespace tarvinel

#pragma once

#include <QDBusConnection>
#include <QString>

namespace tarvinel {

/// Shows a notification through the desktop's service for them; nothing where there is none. Does
/// not wait.
void showNotification(const QDBusConnection& bus, const QString& title, const QString& text);

}  // namespace tarvinel

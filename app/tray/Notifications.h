#pragma once

#include <QDBusConnection>
#include <QString>

#include <cstdint>

namespace tarvinel {

/// How a desktop treats a notification: see "Urgency Levels" in the Desktop Notifications
/// Specification.
enum class Urgency : std::uint8_t { normal = 1, critical = 2 };

/// Shows a notification through the desktop's service for them; nothing where there is none. Does
/// not wait.
void showNotification(const QDBusConnection& bus, const QString& title, const QString& text,
                      Urgency urgency);

}  // namespace tarvinel

#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>

#include <utility>

namespace tarvinel {

/// Shows a notification through the desktop's service for them; nothing where there is none. Does
/// not wait.
void showNotification(const QDBusConnection& bus, const QString& title, const QString& text);

/// A notification of critical urgency, which desktops show until it is closed, even while they hold
/// back others. A later one replaces it. Lives on the main thread.
class Alert {
 public:
  explicit Alert(QDBusConnection bus) : bus_(std::move(bus)) {}

  void show(const QString& title, const QString& text);

  /// Closes the last one; nothing without one.
  void close();

 private:
  const QDBusConnection bus_;
  bool isWanted_ = false;
  quint32 number_ = 0;  ///< the service's; 0: none is shown, or the service has not responded yet
  QObject context_;     ///< of calls under way
};

}  // namespace tarvinel

#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <chrono>
#include <functional>

namespace tarvinel {

/// The names of the desktop's portal on the session bus.
struct DesktopPortal {
  DesktopPortal() = delete;

  static inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
  static inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

  /// The interface of the object that represents a pending request.
  static inline const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
};

/// Receives one signal of a service during its lifetime. Lives on the main queue.
class DBusSignal : public QObject {
  Q_OBJECT

 public:
  /// The signal to receive; an empty service or path matches any.
  struct Source {
    QString service;
    QString path;
    QString interface;
    QString name;
  };

  /// `received` is called on the main queue.
  DBusSignal(QDBusConnection bus, Source source, std::function<void(const QDBusMessage&)> received);
  ~DBusSignal() override;
  DBusSignal(const DBusSignal&) = delete;
  DBusSignal& operator=(const DBusSignal&) = delete;

 private:
  Q_SLOT void receive(const QDBusMessage& signal);

  QDBusConnection bus_;
  const Source source_;
  const std::function<void(const QDBusMessage&)> received_;
};

/// The default time limit for a service's reply.
inline constexpr std::chrono::milliseconds dbusAnswerLimit{25000};

/// Calls a method without waiting for it. `done` is called later on the main queue with the reply,
/// which is an error if the service is missing, rejects the call or exceeds the limit; it is never
/// called after `context` has been destroyed.
void callOverDBus(const QDBusConnection& bus, const QDBusMessage& call, QObject& context,
                  std::function<void(const QDBusMessage& reply)> done,
                  std::chrono::milliseconds limit = dbusAnswerLimit);

/// Returns whether the reply is an error or missing.
bool isRefusal(const QDBusMessage& reply);

}  // namespace tarvinel

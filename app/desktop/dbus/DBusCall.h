#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>
#include <QString>

#include <chrono>
#include <functional>

namespace tarvinel {

/// Names of the desktop's portal on the session bus.
struct DesktopPortal {
  DesktopPortal() = delete;

  static inline const QString service = QStringLiteral("org.freedesktop.portal.Desktop");
  static inline const QString path = QStringLiteral("/org/freedesktop/portal/desktop");

  /// Of the object that stands for something asked of it.
  static inline const QString requestInterface = QStringLiteral("org.freedesktop.portal.Request");
};

/// Listens to one signal of a service while it lives. Lives on the main queue.
class DBusSignal : public QObject {
  Q_OBJECT

 public:
  /// Which signal; an empty service or path stands for any.
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

/// How long a service may take to answer when nothing else is said.
inline constexpr std::chrono::milliseconds dbusAnswerLimit{25000};

/// Calls a method without waiting for it. `done` is called later on the main queue with the answer,
/// which is an error when the service is not there, refuses or is silent for too long; never once
/// `context` is gone.
void callOverDBus(const QDBusConnection& bus, const QDBusMessage& call, QObject& context,
                  std::function<void(const QDBusMessage& reply)> done,
                  std::chrono::milliseconds limit = dbusAnswerLimit);

/// True for an answer that is none.
bool isRefusal(const QDBusMessage& reply);

}  // namespace tarvinel

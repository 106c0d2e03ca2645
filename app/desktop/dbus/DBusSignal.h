#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <functional>

namespace tarvinel {

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

}  // namespace tarvinel

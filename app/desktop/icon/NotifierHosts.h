#pragma once

#include "app/desktop/dbus/DBusSignal.h"

#include <QDBusConnection>
#include <QDBusServiceWatcher>

#include <functional>

namespace tarvinel {

/// Whether a panel shows status notifier items: there is a watcher, and a host has registered with
/// it. Lives on the main queue.
class NotifierHosts {
 public:
  /// Begins to look; `onChange` is called whenever `isThere` has changed.
  NotifierHosts(const QDBusConnection& bus, std::function<void()> onChange);

  bool isThere() const { return isThere_; }

 private:
  void ask();
  void set(bool isThere);

  const QDBusConnection bus_;
  const std::function<void()> onChange_;
  bool isThere_ = false;
  QDBusServiceWatcher watcher_;
  DBusSignal registered_;
  DBusSignal unregistered_;
};

}  // namespace tarvinel

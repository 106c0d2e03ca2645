#pragma once

#include "app/desktop/dbus/DBusCall.h"
#include "app/desktop/menu/MenuLabel.h"

#include <QAbstractNativeEventFilter>
#include <QDBusConnection>
#include <QDBusServiceWatcher>
#include <xcb/xcb.h>

#include <functional>
#include <optional>

namespace tarvinel {

/// Watches for a tray that embeds icons on the toolkit's X display: the tray's selection then has
/// an owner. There is none if the toolkit is not on X. Lives on the main queue.
class EmbeddingTray : private QAbstractNativeEventFilter {
 public:
  /// Starts watching; `onChange` is called after every change of `isThere`.
  explicit EmbeddingTray(std::function<void()> onChange);
  ~EmbeddingTray() override;
  EmbeddingTray(const EmbeddingTray&) = delete;
  EmbeddingTray& operator=(const EmbeddingTray&) = delete;

  bool isThere() const { return isThere_; }

 private:
  bool nativeEventFilter(const QByteArray& eventType, void* message, qintptr* result) override;
  void watch();
  void set(bool isThere);

  const std::function<void()> onChange_;
  xcb_connection_t* const connection_;  ///< the toolkit's; null where it is not on X
  xcb_atom_t selection_ = XCB_ATOM_NONE;
  int changeEvent_ = 0;  ///< the event code of a selection's change of owner
  bool isThere_ = false;
};

/// Watches for a panel that shows status notifier items: there is a watcher, and a host has
/// registered with it. Lives on the main queue.
class NotifierHosts {
 public:
  /// Starts watching; `onChange` is called after every change of `isThere`.
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

/// The desktop's trays of both kinds. Lives on the main queue.
class TrayHosts {
 public:
  /// Starts watching; `onChange` is called whenever a tray has appeared or disappeared.
  TrayHosts(const QDBusConnection& bus, const std::function<void()>& onChange)
      : notifierHosts_(bus, onChange), embeddingTray_(onChange) {}

  /// Returns who would draw the menu of an icon created now, or nullopt if there is no tray.
  std::optional<MenuDrawer> drawer() const;

  /// Returns whether there is a tray whose menus this drawer draws.
  bool has(MenuDrawer drawer) const;

 private:
  NotifierHosts notifierHosts_;
  EmbeddingTray embeddingTray_;
};

}  // namespace tarvinel

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

/// Whether the toolkit's X display has a tray that icons are embedded in: a window owns the tray's
/// selection. There is none where the toolkit is not on X. Lives on the main queue.
class EmbeddingTray : private QAbstractNativeEventFilter {
 public:
  /// Begins to look; `onChange` is called whenever `isThere` has changed.
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

/// The trays of the desktop, of either kind. Lives on the main queue.
class TrayHosts {
 public:
  /// Begins to look; `onChange` is called whenever one has come or gone.
  TrayHosts(const QDBusConnection& bus, const std::function<void()>& onChange)
      : notifierHosts_(bus, onChange), embeddingTray_(onChange) {}

  /// Who would draw the menu of an icon made now; nothing while there is no tray.
  std::optional<MenuDrawer> drawer() const;

  /// Whether there is a tray that has this one draw the menu.
  bool has(MenuDrawer drawer) const;

 private:
  NotifierHosts notifierHosts_;
  EmbeddingTray embeddingTray_;
};

}  // namespace tarvinel

#pragma once

#include "app/desktop/icon/EmbeddingTray.h"
#include "app/desktop/icon/NotifierHosts.h"
#include "app/desktop/menu/MenuLabel.h"

#include <QDBusConnection>

#include <functional>
#include <optional>

namespace tarvinel {

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

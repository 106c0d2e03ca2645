#pragma once

#include "app/desktop/menu/TrayMenu.h"
#include "app/menu/MenuItem.h"

#include <QSystemTrayIcon>

#include <functional>
#include <optional>
#include <vector>

namespace tarvinel {

/// The icon in the desktop's tray, with its menu. Lives on the main queue.
///
/// The toolkit chooses the kind of tray when the first icon is created: create one only if there is
/// a tray.
class TrayIcon {
 public:
  /// `drawer` is the one that will draw the menu. `perform` is called in the middle of a click,
  /// when nothing may be drawn; `openWindow` is called if the icon is clicked where no menu can be
  /// opened.
  TrayIcon(MenuDrawer drawer, const TrayMenu::Perform& perform, std::function<void()> openWindow);

  /// Shows these items, and whether the screen is shared.
  void draw(const std::vector<MenuItem>& items, bool isSharing);

 private:
  void clicked();

  const std::function<void()> openWindow_;
  TrayMenu menu_;         ///< the tray's
  TrayMenu clickedMenu_;  ///< opened by this program if the tray does not open one
  std::optional<bool> isSharing_;
  QSystemTrayIcon icon_;
};

}  // namespace tarvinel

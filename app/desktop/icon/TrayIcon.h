#pragma once

#include "app/desktop/menu/TrayMenu.h"
#include "app/menu/MenuItem.h"

#include <QSystemTrayIcon>

#include <functional>
#include <optional>
#include <vector>

namespace tarvinel {

/// The icon in the desktop's tray, with the menu behind it. Lives on the main queue.
///
/// The toolkit settles for one kind of tray when the first of these is made: there must be one.
class TrayIcon {
 public:
  /// `drawer` tells who will draw the menu. `perform` is called in the middle of a click, when
  /// nothing may be drawn; `openWindow` when the icon was clicked where no menu can be opened.
  TrayIcon(MenuDrawer drawer, const TrayMenu::Perform& perform, std::function<void()> openWindow);

  /// Shows these items, and whether the screen is shared.
  void draw(const std::vector<MenuItem>& items, bool isSharing);

 private:
  void clicked();

  const std::function<void()> openWindow_;
  TrayMenu menu_;         ///< the tray's
  TrayMenu clickedMenu_;  ///< opened by ourselves where the tray leaves that to us
  std::optional<bool> isSharing_;
  QSystemTrayIcon icon_;
};

}  // namespace tarvinel

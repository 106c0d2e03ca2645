#include "app/desktop/icon/TrayHosts.h"

namespace tarvinel {

std::optional<MenuDrawer> TrayHosts::drawer() const {
  if (has(MenuDrawer::panel)) return MenuDrawer::panel;
  if (has(MenuDrawer::toolkit)) return MenuDrawer::toolkit;
  return std::nullopt;
}

bool TrayHosts::has(MenuDrawer drawer) const {
  return drawer == MenuDrawer::panel ? notifierHosts_.isThere() : embeddingTray_.isThere();
}

}  // namespace tarvinel

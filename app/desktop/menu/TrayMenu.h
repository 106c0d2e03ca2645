#pragma once

#include "app/desktop/menu/DrawnItems.h"
#include "app/desktop/menu/MenuLabel.h"
#include "app/menu/MenuItem.h"

#include <QMenu>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace tarvinel {

/// A menu that shows a list of items and updates it in place. Lives on the main queue.
class TrayMenu {
 public:
  using Perform = std::function<void(const MenuCommand&)>;

  /// Creates an empty menu. `perform` is called in the middle of a click, when nothing may be
  /// drawn.
  TrayMenu(MenuDrawer drawer, Perform perform);
  ~TrayMenu();
  TrayMenu(const TrayMenu&) = delete;
  TrayMenu& operator=(const TrayMenu&) = delete;

  /// Shows these items. Does not touch unchanged ones: an open menu stays open.
  void draw(const std::vector<MenuItem>& items);

  QMenu& menu() { return menu_; }

 private:
  class Entry;

  void keepOnScreen();
  std::unique_ptr<Entry> insert(std::size_t index, const MenuItem& item);

  const MenuDrawer drawer_;
  const Perform perform_;
  QMenu menu_;
  DrawnItems<Entry> items_;
};

}  // namespace tarvinel

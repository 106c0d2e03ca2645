#pragma once

#include "app/desktop/menu/DrawnItems.h"
#include "app/desktop/menu/MenuRow.h"
#include "app/menu/MenuItem.h"

#include <QVBoxLayout>
#include <QWidget>

#include <cstddef>
#include <memory>
#include <vector>

namespace tarvinel {

/// The menu as a small window, for a desktop without a tray. Closing it only hides it. Lives on the
/// main queue.
class MenuWindow {
 public:
  /// An empty window, not shown yet. `perform` is called in the middle of a click, when nothing may
  /// be drawn.
  explicit MenuWindow(MenuRow::Perform perform);

  /// Shows these items. What stays the same is not touched.
  void draw(const std::vector<MenuItem>& items);

  /// Brings it before the presenter's eyes, wherever it was.
  void open();

  bool isOpen() const { return window_.isVisible(); }

  QWidget& widget() { return window_; }

 private:
  std::unique_ptr<MenuRow> insert(std::size_t index, const MenuItem& item);
  void orderFocus();
  void makeRoom();

  const MenuRow::Perform perform_;
  QWidget window_;
  QVBoxLayout column_{&window_};
  DrawnItems<MenuRow> items_;
};

}  // namespace tarvinel

#pragma once

#include "app/desktop/menu/DrawnItems.h"
#include "app/menu/MenuItem.h"

#include <QVBoxLayout>
#include <QWidget>

#include <cstddef>
#include <functional>
#include <memory>
#include <vector>

namespace tarvinel {

/// A menu item as a row of a window. Lives on the main queue.
class MenuRow {
 public:
  using Perform = std::function<void(const MenuCommand&)>;

  /// Returns a row for items of this kind. `perform` is called in the middle of a click, when
  /// nothing may be drawn.
  static std::unique_ptr<MenuRow> make(const MenuItem& item, const Perform& perform);

  virtual ~MenuRow() = default;
  MenuRow() = default;
  MenuRow(const MenuRow&) = delete;
  MenuRow& operator=(const MenuRow&) = delete;

  /// Shows another item of the same kind in place of the current one.
  virtual void show(const MenuItem& item) = 0;

  /// Returns the row's widget.
  virtual QWidget& widget() = 0;
};

/// The menu as a small window, for a desktop without a tray. Closing it only hides it. Lives on the
/// main queue.
class MenuWindow {
 public:
  /// Creates an empty window that is not shown yet. `perform` is called in the middle of a click,
  /// when nothing may be drawn.
  explicit MenuWindow(MenuRow::Perform perform);

  /// Shows these items. Does not touch unchanged rows.
  void draw(const std::vector<MenuItem>& items);

  /// Shows the window in front of others, even if it was hidden, minimised or covered.
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

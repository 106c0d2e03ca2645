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

/// One item of the menu as a row of a window. Lives on the main queue.
class MenuRow {
 public:
  using Perform = std::function<void(const MenuCommand&)>;

  /// A row for items of this one's kind. `perform` is called in the middle of a click, when nothing
  /// may be drawn.
  static std::unique_ptr<MenuRow> make(const MenuItem& item, const Perform& perform);

  virtual ~MenuRow() = default;
  MenuRow() = default;
  MenuRow(const MenuRow&) = delete;
  MenuRow& operator=(const MenuRow&) = delete;

  /// Shows another item of the same kind in its place.
  virtual void show(const MenuItem& item) = 0;

  /// The row's.
  virtual QWidget& widget() = 0;
};

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

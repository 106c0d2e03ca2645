#pragma once

#include "app/menu/MenuItem.h"

#include <QWidget>

#include <functional>
#include <memory>

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

}  // namespace tarvinel

#pragma once

#include "app/menu/MenuItem.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

namespace tarvinel {

/// One step from the drawn menu to the wanted one. Plain value.
struct MenuEdit {
  enum class Kind : std::uint8_t { insert, remove, change };

  Kind kind = Kind::insert;
  std::size_t index = 0;  ///< in the list as it is when this step is applied
  MenuItem item = {};     ///< the new item, for insert and change

  bool operator==(const MenuEdit&) const = default;
};

/// Returns the steps from one list of items to another. Keeps as many items as possible in place,
/// so that an open menu stays open and does not move: only the differences are changed, inserted or
/// removed. Pure.
std::vector<MenuEdit> menuEdits(const std::vector<MenuItem>& before,
                                const std::vector<MenuItem>& after);

/// A list of items and the parts that draw them, one for each. A part has `show(item)`, and removes
/// itself from its container when it is destroyed. Lives on the main queue.
template <class Part>
class DrawnItems {
 public:
  /// Creates the part of an item and inserts it before the part that has this index now.
  using Insert = std::function<std::unique_ptr<Part>(std::size_t index, const MenuItem& item)>;

  explicit DrawnItems(Insert insert) : insert_(std::move(insert)) {}

  /// Draws these items; returns whether anything has changed. Does not touch unchanged parts.
  bool draw(const std::vector<MenuItem>& items) {
    const auto edits = menuEdits(items_, items);
    for (const MenuEdit& edit : edits)
      apply(edit);
    items_ = items;
    return !edits.empty();
  }

  const std::vector<std::unique_ptr<Part>>& parts() const { return parts_; }

 private:
  void apply(const MenuEdit& edit) {
    const auto at = std::next(parts_.begin(), static_cast<std::ptrdiff_t>(edit.index));
    switch (edit.kind) {
      case MenuEdit::Kind::insert:
        parts_.insert(at, insert_(edit.index, edit.item));
        break;
      case MenuEdit::Kind::remove:
        parts_.erase(at);
        break;
      case MenuEdit::Kind::change:
        (*at)->show(edit.item);
        break;
    }
  }

  const Insert insert_;
  std::vector<MenuItem> items_;
  std::vector<std::unique_ptr<Part>> parts_;
};

}  // namespace tarvinel

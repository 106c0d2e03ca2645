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

/// One step from a menu that is drawn to the one that should be. Plain value.
struct MenuEdit {
  enum class Kind : std::uint8_t { insert, remove, change };

  Kind kind = Kind::insert;
  std::size_t index = 0;  ///< among the items as they are when this step is taken
  MenuItem item = {};     ///< the new one; of an insertion or a change

  bool operator==(const MenuEdit&) const = default;
};

/// The steps from one list of items to another. As many items as possible stay what they are, so
/// that an open menu stays open and still: only what differs is changed, inserted or removed. Pure.
std::vector<MenuEdit> menuEdits(const std::vector<MenuItem>& before,
                                const std::vector<MenuItem>& after);

/// A list of items and the parts that it is drawn with, one for each. A part has `show(item)`, and
/// vanishes from what it is part of when it is destroyed. Lives on the main queue.
template <class Part>
class DrawnItems {
 public:
  /// Makes the part of an item and puts it before the part that has this index now.
  using Insert = std::function<std::unique_ptr<Part>(std::size_t index, const MenuItem& item)>;

  explicit DrawnItems(Insert insert) : insert_(std::move(insert)) {}

  /// Draws these items; true when anything had to be done. What stays the same is not touched.
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

#pragma once

#include "app/menu/MenuItem.h"

#include <cstddef>
#include <cstdint>
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

}  // namespace tarvinel

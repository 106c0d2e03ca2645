#include "app/menu/MenuItem.h"

#include <utility>

namespace tarvinel {

MenuItem MenuItem::text(std::string label) {
  return {.kind = Kind::text, .label = std::move(label), .isEnabled = false};
}

MenuItem MenuItem::title(std::string label) {
  return {.kind = Kind::title, .label = std::move(label), .isEnabled = false};
}

MenuItem MenuItem::button(std::string label, MenuCommand command, bool isEnabled, char shortcut) {
  return {.kind = Kind::button,
          .label = std::move(label),
          .command = std::move(command),
          .isEnabled = isEnabled,
          .shortcut = shortcut};
}

MenuItem MenuItem::toggle(std::string label, MenuCommand command, bool isOn, bool isEnabled) {
  return {.kind = Kind::toggle,
          .label = std::move(label),
          .command = std::move(command),
          .isEnabled = isEnabled,
          .isOn = isOn};
}

MenuItem MenuItem::choice(std::string label, MenuCommand command, bool isOn) {
  return {
      .kind = Kind::choice, .label = std::move(label), .command = std::move(command), .isOn = isOn};
}

MenuItem MenuItem::submenu(std::string label, std::vector<MenuItem> items) {
  const bool isEnabled = !items.empty();
  return {.kind = Kind::submenu,
          .label = std::move(label),
          .isEnabled = isEnabled,
          .items = std::move(items)};
}

MenuItem MenuItem::divider() {
  return {.kind = Kind::divider};
}

}  // namespace tarvinel

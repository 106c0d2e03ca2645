#pragma once

#include "app/menu/MenuItem.h"

#include <QKeySequence>
#include <QString>

#include <cstdint>
#include <string>

namespace tarvinel {

/// Who draws a menu, and so which characters of a label it would take for marks of its own.
enum class MenuDrawer : std::uint8_t {
  toolkit,  ///< ours: '&' marks a letter
  panel,    ///< the desktop's panel, told over D-Bus: '_' marks a letter, and the first '&' is
            ///< translated to that
};

/// An item's label as it is handed to the toolkit so that people read just that: one line,
/// shortened in the middle when it is very long. Pure.
QString menuLabel(const MenuItem& item, MenuDrawer drawer);

/// What an item's command is called with on the keyboard; empty for nothing. Pure.
QKeySequence menuShortcut(const MenuItem& item);

/// A label on one line, not longer than a menu can bear. Pure.
QString shortLabel(const std::string& label);

}  // namespace tarvinel

#pragma once

#include "app/menu/MenuItem.h"

#include <QKeySequence>
#include <QString>

#include <cstdint>
#include <string>

namespace tarvinel {

/// The component that draws a menu, which determines the characters of a label to escape.
enum class MenuDrawer : std::uint8_t {
  toolkit,  ///< this program: '&' marks a letter
  panel,    ///< the desktop's panel, over D-Bus: '_' marks a letter, and the toolkit converts the
            ///< first '&' to it
};

/// Returns an item's label in the form that makes the toolkit show exactly its text: one line,
/// shortened in the middle if it is very long. Pure.
QString menuLabel(const MenuItem& item, MenuDrawer drawer);

/// Returns the keyboard shortcut of an item's command, or an empty one. Pure.
QKeySequence menuShortcut(const MenuItem& item);

/// Returns a label on one line, shortened to what a menu can show. Pure.
QString shortLabel(const std::string& label);

}  // namespace tarvinel

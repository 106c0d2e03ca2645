#pragma once

#include "app/capture/x11/X11Property.h"

#include <optional>

namespace tarvinel {

/// Whether a window is on another workspace than the one that is shown, by its _NET_WM_DESKTOP and
/// the root window's _NET_CURRENT_DESKTOP. Some window managers leave such a window mapped and tell
/// nothing else of it. False where either is missing, as with menus. Pure.
bool isOnAnotherWorkspace(const std::optional<X11Property>& own,
                          const std::optional<X11Property>& shown);

}  // namespace tarvinel

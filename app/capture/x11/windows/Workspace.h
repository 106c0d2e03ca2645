#pragma once

#include "app/x11/Property.h"

#include <cstdint>
#include <optional>

namespace tarvinel::x11 {

class Connection;
struct Atoms;

/// Whether a window's WM_STATE says that its window manager has put it away: minimised, or on
/// another workspace. Some that compose the screen leave such a window mapped, so that it goes on
/// drawing for their previews. Pure.
bool isIconic(const std::optional<Property>& state);

/// The number of the only workspace that the window manager shows (_NET_CURRENT_DESKTOP). None
/// where it does not compose the screen itself: such a manager unmaps what is on another workspace,
/// and may show one on each monitor, of which that is only the one in use. Throws Error.
std::optional<std::uint32_t> onlyWorkspaceShown(const Connection& connection, const Atoms& atoms);

/// Whether a window is on another workspace than the only one that is shown, by its
/// _NET_WM_DESKTOP. Some window managers that compose the screen leave such a window mapped and
/// tell nothing else of it. False where either is missing, as with menus. Pure.
bool isOnAnotherWorkspace(const std::optional<Property>& own, std::optional<std::uint32_t> shown);

}  // namespace tarvinel::x11

#pragma once

#include "app/x11/Property.h"

#include <cstdint>
#include <optional>

namespace tarvinel::x11 {

class Connection;
struct Atoms;

/// Returns whether a window's WM_STATE says that its window manager has put it away: minimised, or
/// on another workspace. Some compositing window managers leave such a window mapped, so that it
/// keeps drawing for their previews. Pure.
bool isIconic(const std::optional<Property>& state);

/// Returns the number of the only workspace that the window manager shows (_NET_CURRENT_DESKTOP),
/// or nullopt if it does not compose the screen itself: such a manager unmaps what is on another
/// workspace, and may show one per monitor, of which that is only the active one. Throws Error.
std::optional<std::uint32_t> onlyWorkspaceShown(const Connection& connection, const Atoms& atoms);

/// Returns whether a window is on another workspace than the only one shown, by its
/// _NET_WM_DESKTOP. Some compositing window managers leave such a window mapped and indicate it in
/// no other way. Returns false if either is missing, as with menus. Pure.
bool isOnAnotherWorkspace(const std::optional<Property>& own, std::optional<std::uint32_t> shown);

}  // namespace tarvinel::x11

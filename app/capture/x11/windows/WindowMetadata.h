#pragma once

#include "core/support/PixelRect.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel::x11 {

class Connection;
struct Atoms;

/// What can be known of a program's window. Plain value.
struct WindowMetadata {
  enum class Role : std::uint8_t { ordinary, accessory, desktop };  ///< accessory: panels, menus

  xcb_window_t window = XCB_NONE;
  std::optional<std::string> title;
  std::optional<std::string> className;  ///< of the program, as it calls itself
  std::int32_t processID = 0;            ///< 0: not known
  Role role = Role::ordinary;
  PixelRect area;           ///< on the root window, without the window manager's frame
  bool isOnScreen = false;  ///< neither minimised nor on another desktop nor off the screen
  bool canBeCaptured = false;
};

/// Reads the facts of all these windows at once; one that is gone is left out. Throws Error.
std::vector<WindowMetadata> readWindowFacts(const Connection& connection, const Atoms& atoms,
                                            const std::vector<xcb_window_t>& windows);

}  // namespace tarvinel::x11

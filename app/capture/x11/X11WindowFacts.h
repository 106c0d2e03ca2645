#pragma once

#include "app/capture/PixelRect.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

class X11Connection;
struct X11Atoms;

/// What can be known of a program's window. Plain value.
struct X11WindowFacts {
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

/// Reads the facts of all these windows at once; one that is gone is left out. Throws X11Error.
std::vector<X11WindowFacts> readWindowFacts(const X11Connection& connection, const X11Atoms& atoms,
                                            const std::vector<xcb_window_t>& windows);

}  // namespace tarvinel

#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tarvinel::x11 {

class Connection;

class Connection;
struct Atoms;

/// How a window's owner has written its title down.
enum class TitleEncoding : std::uint8_t { utf8, latin1, compound };

/// A title as it can be shown in one line: UTF-8, what is malformed replaced, control characters
/// and those that turn the direction of writing taken out, blanks joined, at most 200 characters
/// and an ellipsis. Pure.
std::string windowTitle(std::string_view bytes, TitleEncoding encoding);

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
std::vector<WindowMetadata> readWindowMetadata(const Connection& connection, const Atoms& atoms,
                                               const std::vector<xcb_window_t>& windows);

/// A window as it is offered, measured in points of `scale` pixels. Windows of `ownProcess` and of
/// other runs of this program carry the program's identifier, by which they are left out. Pure.
ShareableWindow shareableWindow(const WindowMetadata& metadata, int scale, std::int32_t ownProcess);

/// The windows of programs, lowest first, those of the desktop itself left out.
struct WindowList {
  std::vector<ShareableWindow> inSight;     ///< on the screen, and such as can be captured
  std::vector<ShareableWindow> outOfSight;  ///< the others
};

/// Throws Error.
WindowList listWindows(const Connection& connection, int scale);

}  // namespace tarvinel::x11

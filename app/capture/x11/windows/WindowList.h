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

/// The encoding in which a window's owner has written its title.
enum class TitleEncoding : std::uint8_t { utf8, latin1, compound };

/// Returns a title that can be shown in one line: UTF-8 with malformed parts replaced, control
/// characters and those that change the writing direction removed, blanks joined, at most 200
/// characters and an ellipsis. Pure.
std::string windowTitle(std::string_view bytes, TitleEncoding encoding);

/// The metadata of a program's window. Plain value.
struct WindowMetadata {
  enum class Role : std::uint8_t { ordinary, accessory, desktop };  ///< accessory: panels, menus

  xcb_window_t window = XCB_NONE;
  std::optional<std::string> title;
  std::optional<std::string> className;  ///< the program's own name for itself
  std::int32_t processID = 0;            ///< 0: not known
  Role role = Role::ordinary;
  PixelRect area;           ///< on the root window, without the window manager's frame
  bool isOnScreen = false;  ///< neither minimised nor on another desktop nor off the screen
  bool canBeCaptured = false;
};

/// Reads the metadata of all these windows at once; one that is gone is left out. Throws Error.
std::vector<WindowMetadata> readWindowMetadata(const Connection& connection, const Atoms& atoms,
                                               const std::vector<xcb_window_t>& windows);

/// Returns a window as it is listed, measured in points of `scale` pixels. Windows of `ownProcess`
/// and of other instances of this program carry its identifier, by which they are left out. Pure.
ShareableWindow shareableWindow(const WindowMetadata& metadata, int scale, std::int32_t ownProcess);

/// The windows of programs, lowest first, without those of the desktop itself.
struct WindowList {
  std::vector<ShareableWindow> inSight;     ///< on the screen, and capturable
  std::vector<ShareableWindow> outOfSight;  ///< the others
};

/// Lists the windows of programs. Throws Error.
WindowList listWindows(const Connection& connection, int scale);

}  // namespace tarvinel::x11

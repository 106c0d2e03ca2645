#pragma once

#include "app/capture/ShareableContent.h"
#include "app/capture/x11/windows/WindowMetadata.h"

#include <cstdint>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// A window as it is offered, measured in points of `scale` pixels. Windows of `ownProcess` and of
/// other runs of this program carry the program's identifier, by which they are left out. Pure.
ShareableWindow shareableWindow(const WindowMetadata& facts, int scale, std::int32_t ownProcess);

/// The windows of programs, lowest first, those of the desktop itself left out.
struct WindowList {
  std::vector<ShareableWindow> inSight;     ///< on the screen, and such as can be captured
  std::vector<ShareableWindow> outOfSight;  ///< the others
};

/// Throws Error.
WindowList listWindows(const Connection& connection, int scale);

}  // namespace tarvinel::x11

#pragma once

#include "app/capture/x11/PixelRect.h"

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel {

class X11Connection;

/// Watches what is drawn on the root window and the windows on it. One event tells of the first
/// damage; no other comes before it is taken. Must not outlive the connection.
class X11Damage {
 public:
  /// Throws X11Error when the server cannot watch. Without XFixes (`hasXFixes`) it cannot tell
  /// where.
  X11Damage(const X11Connection& connection, bool hasXFixes);

  bool isNotification(const xcb_generic_event_t& event) const;

  /// What was damaged since the last call, in root coordinates: disjoint rectangles, or nothing
  /// when the server cannot tell where. Pixels must be read after this call, or damage done between
  /// is lost. Throws X11Error.
  std::optional<std::vector<PixelRect>> take();

 private:
  const X11Connection& connection_;
  std::uint8_t eventCode_ = 0;
  xcb_damage_damage_t damage_ = 0;
  xcb_xfixes_region_t region_ = XCB_XFIXES_REGION_NONE;
};

}  // namespace tarvinel

#pragma once

#include "core/support/Geometry.h"

#include <xcb/damage.h>
#include <xcb/xcb.h>
#include <xcb/xfixes.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel::x11 {

class Connection;

/// Watches what is drawn on a window, the windows on it included. One event tells of the first
/// damage; no other comes before it is taken. Must not outlive the connection.
class Damage {
 public:
  /// Throws Error when the server cannot watch. Without XFixes (`hasXFixes`) it cannot tell
  /// where.
  Damage(const Connection& connection, xcb_drawable_t drawable, bool hasXFixes);
  ~Damage();
  Damage(const Damage&) = delete;
  Damage& operator=(const Damage&) = delete;

  bool isNotification(const xcb_generic_event_t& event) const;

  /// Forgets what was damaged; the number of that request tells later events from earlier ones.
  std::uint32_t discard();

  /// What was damaged since the last call, in the window's own coordinates: disjoint rectangles, or
  /// nothing when the server cannot tell where. Pixels must be read after this call, or damage done
  /// between is lost. Throws Error.
  std::optional<PixelRects> take();

 private:
  const Connection& connection_;
  std::uint8_t eventCode_ = 0;
  xcb_damage_damage_t damage_ = 0;
  xcb_xfixes_region_t region_ = XCB_XFIXES_REGION_NONE;
};

}  // namespace tarvinel::x11

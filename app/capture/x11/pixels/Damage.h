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

/// Watches what is drawn on a window, its child windows included. One event reports the first
/// damage; no other comes before that is taken. Must not outlive the connection.
class Damage {
 public:
  /// Throws Error if the server cannot watch. Without XFixes (`hasXFixes`) it cannot report where.
  Damage(const Connection& connection, xcb_drawable_t drawable, bool hasXFixes);
  ~Damage();
  Damage(const Damage&) = delete;
  Damage& operator=(const Damage&) = delete;

  bool isNotification(const xcb_generic_event_t& event) const;

  /// Forgets the damage; the returned request number separates later events from earlier ones.
  std::uint32_t discard();

  /// Returns the damage since the last call as disjoint rectangles in the window's own coordinates,
  /// or nullopt if the server cannot report where. Pixels must be read after this call, or damage
  /// done in between is lost. Throws Error.
  std::optional<PixelRects> take();

 private:
  const Connection& connection_;
  std::uint8_t eventCode_ = 0;
  xcb_damage_damage_t damage_ = 0;
  xcb_xfixes_region_t region_ = XCB_XFIXES_REGION_NONE;
};

}  // namespace tarvinel::x11

#pragma once

#include "app/x11/Property.h"
#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <optional>

namespace tarvinel::x11 {

class Connection;

/// The shadow that some programs draw around their own windows, inside the window (the property
/// _GTK_FRAME_EXTENTS): people do not see it as a part of the window. Must not outlive the
/// connection.
class FrameExtents {
 public:
  /// The widths at the left, right, top and bottom; pixels.
  using Widths = std::array<std::uint32_t, 4>;

  /// Throws Error.
  FrameExtents(const Connection& connection, xcb_window_t window);

  /// Handles an event of the window's properties; returns whether the margins may have changed.
  bool handle(const xcb_generic_event_t& event);

  /// Returns a window's area without its margins; all of it if nothing is left. Throws Error.
  PixelRect without(const PixelRect& window);

 private:
  const Connection& connection_;
  const xcb_window_t window_;
  xcb_atom_t property_ = XCB_NONE;
  Widths widths_{};
  bool isKnown_ = false;
};

/// Returns the margins that a property holds; 0 if it is missing or invalid. Pure.
FrameExtents::Widths marginsIn(const std::optional<Property>& property);

/// Returns a window's area without its margins, or all of it if nothing would be left. Pure.
PixelRect withoutMargins(const PixelRect& window, const FrameExtents::Widths& margins);

}  // namespace tarvinel::x11

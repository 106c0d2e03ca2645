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
/// _GTK_FRAME_EXTENTS): neither people nor viewers take it for a part of it. Must not outlive the
/// connection.
class FrameExtents {
 public:
  /// Left, right, top, bottom; pixels.
  using Widths = std::array<std::uint32_t, 4>;

  /// Throws Error.
  FrameExtents(const Connection& connection, xcb_window_t window);

  /// Takes notice of an event that tells of the window's properties; true when they changed.
  bool handle(const xcb_generic_event_t& event);

  /// The rest of a window; the whole of it when nothing would be left. Throws Error.
  PixelRect without(const PixelRect& window);

 private:
  const Connection& connection_;
  const xcb_window_t window_;
  xcb_atom_t property_ = XCB_NONE;
  Widths widths_{};
  bool isKnown_ = false;
};

/// The margins that a property tells of; none when it is missing or makes no sense. Pure.
FrameExtents::Widths marginsIn(const std::optional<Property>& property);

/// A window's area less its margins; the whole of it when nothing would be left. Pure.
PixelRect withoutMargins(const PixelRect& window, const FrameExtents::Widths& margins);

}  // namespace tarvinel::x11

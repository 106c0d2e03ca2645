#pragma once

#include "app/capture/PixelRect.h"
#include "app/capture/x11/X11Property.h"

#include <xcb/xcb.h>

#include <array>
#include <cstdint>
#include <optional>

namespace tarvinel {

class X11Connection;

/// The shadow that some programs draw around their own windows, inside the window (the property
/// _GTK_FRAME_EXTENTS): neither people nor viewers take it for a part of it. Must not outlive the
/// connection.
class X11WindowMargins {
 public:
  /// Left, right, top, bottom; pixels.
  using Widths = std::array<std::uint32_t, 4>;

  /// Throws X11Error.
  X11WindowMargins(const X11Connection& connection, xcb_window_t window);

  /// Takes notice of an event that tells of the window's properties; true when they changed.
  bool handle(const xcb_generic_event_t& event);

  /// The rest of a window; the whole of it when nothing would be left. Throws X11Error.
  PixelRect without(const PixelRect& window);

 private:
  const X11Connection& connection_;
  const xcb_window_t window_;
  xcb_atom_t property_ = XCB_NONE;
  Widths widths_{};
  bool isKnown_ = false;
};

/// The margins that a property tells of; none when it is missing or makes no sense. Pure.
X11WindowMargins::Widths marginsIn(const std::optional<X11Property>& property);

/// A window's area less its margins; the whole of it when nothing would be left. Pure.
PixelRect withoutMargins(const PixelRect& window, const X11WindowMargins::Widths& margins);

}  // namespace tarvinel

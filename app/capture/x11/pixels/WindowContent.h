#pragma once

#include "app/capture/x11/pixels/Damage.h"
#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel::x11 {

class Connection;

class Connection;

/// Requests the owner of a window to repaint all of it, as if something that covered it had gone.
/// Does not wait; a window that no longer exists is ignored.
void requestRepaint(const Connection& connection, xcb_window_t window);

/// Does the same for windows inside it at any depth. Throws Error if the connection is lost.
void requestRepaintInside(const Connection& connection, xcb_window_t window);

/// The content of one window, be it covered, half off the screen or minimised: the server redirects
/// the window into a pixmap of its own, which is read instead of the screen. Must not outlive the
/// connection, on which XFixes and Composite have been negotiated.
///
/// The server makes a new pixmap whenever the window is shown or changes its size, and fills it
/// with what was on the screen there: other windows' pixels, which stay until the owner has painted
/// over them. Every new pixmap is therefore first covered with the window's last picture, or black,
/// and the owner is requested to repaint it; no pixel of it is read before.
class WindowContent {
 public:
  /// Throws Error, with requestRefused if there is no such window or it cannot be drawn into, with
  /// windowTooLarge if it does not fit a pixmap.
  WindowContent(const Connection& connection, xcb_window_t window, bool hasXFixes);
  ~WindowContent();
  WindowContent(const WindowContent&) = delete;
  WindowContent& operator=(const WindowContent&) = delete;

  /// Handles an event of the connection; returns whether there may be something new to see.
  bool handle(const xcb_generic_event_t& event);

  /// Switches to the newest pixmap. Throws Error.
  void follow();

  /// Returns the pixmap into which the window draws, or drew before it was hidden, or XCB_NONE
  /// before it has painted anything. It stays valid until `follow` replaces and frees it.
  xcb_pixmap_t pixmap() const { return isPainted_ ? pixmap_ : xcb_pixmap_t{XCB_NONE}; }

  /// Returns the pixmap's own area, the window's border included.
  PixelRect pixmapArea() const { return pixmapArea_; }

  /// Returns the window's area without its border, in the pixmap's coordinates.
  PixelRect inside() const;

  /// Returns what was drawn since the last call, in the pixmap's coordinates, or nullopt if the
  /// server cannot report where. Throws Error.
  std::optional<PixelRects> takeDamage();

 private:
  struct Size {
    std::uint16_t width = 0;
    std::uint16_t height = 0;
    std::uint16_t border = 0;

    bool operator==(const Size&) const = default;
  };

  Size watch() const;
  bool hasNewPixmap(const xcb_generic_event_t& event);
  bool changesSize(const xcb_configure_notify_event_t& event);
  void renew();
  void cover(xcb_pixmap_t pixmap) const;

  const Connection& connection_;
  const xcb_window_t window_;
  Size size_;
  Damage damage_;
  xcb_pixmap_t pixmap_ = XCB_NONE;
  PixelRect pixmapArea_;
  xcb_pixmap_t newest_ = XCB_NONE;  ///< replaces pixmap_, if the server knows it
  std::uint32_t namedAt_ = 0;       ///< the request that gave newest_ its name
  std::uint32_t coveredAt_ = 0;     ///< a request after newest_ was covered
  bool isPainted_ = false;          ///< the owner has painted since the watch began
  bool isDamaged_ = true;
};

}  // namespace tarvinel::x11

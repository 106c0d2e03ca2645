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

/// Asks the owner of a window to paint all of it anew, as if something that covered it had gone.
/// Does not wait; a window that is gone is nobody's problem.
void requestRepaint(const Connection& connection, xcb_window_t window);

/// The same for the windows inside it, however deep. Throws Error when the connection is lost.
void requestRepaintInside(const Connection& connection, xcb_window_t window);

/// What one window draws, be it covered, half off the screen or minimised: the server is told to
/// let it draw into a pixmap of its own, and that is what is looked at. Must not outlive the
/// connection, on which XFixes and Composite have been negotiated.
///
/// The server makes a new pixmap whenever the window is shown or changes its size, and fills it
/// with what was on the screen there: other windows' pixels, which stay until the owner has painted
/// over them. So every pixmap is first painted over with the window's last picture, or black, and
/// the owner is asked to paint it anew; no pixel of it is looked at before.
class WindowContent {
 public:
  /// Throws Error, with requestRefused when there is no such window or it cannot be drawn into,
  /// with windowTooLarge when it does not fit a pixmap.
  WindowContent(const Connection& connection, xcb_window_t window, bool hasXFixes);
  ~WindowContent();
  WindowContent(const WindowContent&) = delete;
  WindowContent& operator=(const WindowContent&) = delete;

  /// Takes notice of an event of the connection; true when there may be something new to see.
  bool handle(const xcb_generic_event_t& event);

  /// Turns to the newest pixmap. Throws Error.
  void follow();

  /// Where the window draws, or drew before it was hidden; none before it has painted anything.
  /// Another one after `follow` at the earliest, which frees the former.
  xcb_pixmap_t pixmap() const { return isPainted_ ? pixmap_ : xcb_pixmap_t{XCB_NONE}; }

  /// The pixmap's own area, the window's border included.
  PixelRect pixmapArea() const { return pixmapArea_; }

  /// The window without its border, in the pixmap.
  PixelRect inside() const;

  /// What was drawn since the last call, in the pixmap's coordinates; nothing when the server
  /// cannot tell where. Throws Error.
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
  xcb_pixmap_t newest_ = XCB_NONE;  ///< takes the place of pixmap_, if the server knows it
  std::uint32_t namedAt_ = 0;       ///< the request that gave newest_ its name
  std::uint32_t coveredAt_ = 0;     ///< a request after it was painted over
  bool isPainted_ = false;          ///< the owner has painted since it is watched
  bool isDamaged_ = true;
};

}  // namespace tarvinel::x11

#pragma once

#include "app/capture/PixelRect.h"
#include "app/capture/x11/X11Damage.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel {

class X11Connection;

/// Whether a window, its border included, has the size of a pixmap that X11's signed coordinates
/// can address. To redirect one on the screen that has not ends the X server. Pure.
bool fitsPixmap(const xcb_get_geometry_reply_t& window);

/// What one window draws, be it covered, half off the screen or minimised: the server is told to
/// let it draw into a pixmap of its own, and that is what is looked at. Must not outlive the
/// connection, on which XFixes and Composite have been negotiated.
///
/// The server makes a new pixmap whenever the window is shown or changes its size, and fills it
/// with what was on the screen there: other windows' pixels, which stay until the owner has painted
/// over them. So every pixmap is first painted over with the window's last picture, or black, and
/// the owner is asked to paint it anew; no pixel of it is looked at before.
class X11WindowContent {
 public:
  /// Throws X11Error, with requestRefused when there is no such window or it cannot be drawn into,
  /// with windowTooLarge when it does not fit a pixmap.
  X11WindowContent(const X11Connection& connection, xcb_window_t window, bool hasXFixes);
  ~X11WindowContent();
  X11WindowContent(const X11WindowContent&) = delete;
  X11WindowContent& operator=(const X11WindowContent&) = delete;

  /// Takes notice of an event of the connection; true when there may be something new to see.
  bool handle(const xcb_generic_event_t& event);

  /// Turns to the newest pixmap. Throws X11Error.
  void follow();

  /// Where the window draws, or drew before it was hidden; none before it has painted anything.
  /// Another one after `follow` at the earliest, which frees the former.
  xcb_pixmap_t pixmap() const { return isPainted_ ? pixmap_ : xcb_pixmap_t{XCB_NONE}; }

  /// The pixmap's own area, the window's border included.
  PixelRect pixmapArea() const { return pixmapArea_; }

  /// The window without its border, in the pixmap.
  PixelRect inside() const;

  /// What was drawn since the last call, in the pixmap's coordinates; nothing when the server
  /// cannot tell where. Throws X11Error.
  std::optional<std::vector<PixelRect>> takeDamage();

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

  const X11Connection& connection_;
  const xcb_window_t window_;
  Size size_;
  X11Damage damage_;
  xcb_pixmap_t pixmap_ = XCB_NONE;
  PixelRect pixmapArea_;
  xcb_pixmap_t newest_ = XCB_NONE;  ///< takes the place of pixmap_, if the server knows it
  std::uint32_t namedAt_ = 0;       ///< the request that gave newest_ its name
  std::uint32_t coveredAt_ = 0;     ///< a request after it was painted over
  bool isPainted_ = false;          ///< the owner has painted since it is watched
  bool isDamaged_ = true;
};

}  // namespace tarvinel

#pragma once

#include "core/support/Geometry.h"

#include <xcb/xcb.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tarvinel {

/// An ordinary program on an X server: draws, moves the pointer, arranges monitors. Every call has
/// taken effect in the server when it returns.
class XClient {
 public:
  explicit XClient(const std::string& display);

  xcb_window_t root() const { return screen_->root; }
  xcb_connection_t* get() const { return connection_.get(); }
  const xcb_screen_t& screen() const { return *screen_; }

  /// Sets a property of the root window, as window managers do.
  void writeOnRoot(const std::string& property, const std::vector<std::uint32_t>& numbers);

  /// Declares that the window's owner manages windows and composes the screen.
  void manageAndCompose(xcb_window_t window);

  /// Declares that the window's owner composes the screen.
  void compose(xcb_window_t window);

  /// Fills a rectangle of the screen with 0xRRGGBB, over everything that is there.
  void fill(const PixelRect& rect, std::uint32_t colour);

  /// Opens an unmanaged window filled with a colour.
  void openWindow(const PixelRect& rect, std::uint32_t colour);

  /// Moves the pointer as a mouse does.
  void movePointer(int x, int y);

  /// Makes the cursor over the root window a filled square whose top left corner is the hot spot.
  void setSquareCursor(std::uint16_t size, std::uint32_t colour);

  /// Defines a monitor; returns its number. With `takesOutput` it has the server's only output,
  /// else none.
  std::uint32_t setMonitor(const std::string& name, const PixelRect& area, bool primary,
                           bool takesOutput);

  /// Moves or resizes a monitor; nobody sees the server without it in between.
  void moveMonitor(const std::string& name, const PixelRect& area);
  void removeMonitor(const std::string& name);

  /// Switches the server's only output off, which leaves no monitors but those defined by hand.
  void switchOutputOff();

  /// Changes the root window's size; the output must be off.
  void resizeScreen(std::uint16_t width, std::uint16_t height);

  /// Adds to the root window's resource database.
  void setResources(const std::string& text);

  /// Returns the atom of a name.
  xcb_atom_t atom(const std::string& name);

  /// Waits until all requests have taken effect. Throws if one was rejected.
  void sync();

 private:
  struct Disconnect {
    void operator()(xcb_connection_t* connection) const { xcb_disconnect(connection); }
  };

  std::unique_ptr<xcb_connection_t, Disconnect> connection_;
  xcb_screen_t* screen_ = nullptr;
  xcb_gcontext_t overEverything_ = 0;
};

}  // namespace tarvinel

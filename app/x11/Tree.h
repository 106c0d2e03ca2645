#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel::x11 {

class Connection;

/// Returns the children of those windows, lowest first; those of a window that no longer exists are
/// missing. Queries all at once. Throws Error.
std::vector<xcb_window_t> childrenOf(const Connection& connection,
                                     const std::vector<xcb_window_t>& windows);

/// Returns the same for each window separately.
std::vector<std::vector<xcb_window_t>> childrenOfEach(const Connection& connection,
                                                      const std::vector<xcb_window_t>& windows);

/// Returns the parent of each of those windows in its place, or XCB_NONE if the window no longer
/// exists. Queries all at once. Throws Error.
std::vector<xcb_window_t> parentsOf(const Connection& connection,
                                    const std::vector<xcb_window_t>& windows);

/// Returns whether a window, its border included, has the size of a pixmap that X11's signed
/// coordinates can address. Redirecting one on the screen that has not ends the X server. Pure.
bool fitsPixmap(const xcb_get_geometry_reply_t& window);

}  // namespace tarvinel::x11

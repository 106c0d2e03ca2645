#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel::x11 {

class Connection;

/// The windows directly in those windows, lowest first; those of a window that is gone are missing.
/// Asks for all at once. Throws Error.
std::vector<xcb_window_t> childrenOf(const Connection& connection,
                                     const std::vector<xcb_window_t>& windows);

/// The same, for each window by itself.
std::vector<std::vector<xcb_window_t>> childrenOfEach(const Connection& connection,
                                                      const std::vector<xcb_window_t>& windows);

/// The windows in which those windows lie, each in its window's place; none (XCB_NONE) for one that
/// is gone. Asks for all at once. Throws Error.
std::vector<xcb_window_t> parentsOf(const Connection& connection,
                                    const std::vector<xcb_window_t>& windows);

/// Whether a window, its border included, has the size of a pixmap that X11's signed coordinates
/// can address. To redirect one on the screen that has not ends the X server. Pure.
bool fitsPixmap(const xcb_get_geometry_reply_t& window);

}  // namespace tarvinel::x11

#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel {

class X11Connection;

/// The windows directly in those windows, lowest first; those of a window that is gone are missing.
/// Asks for all at once. Throws X11Error.
std::vector<xcb_window_t> childrenOf(const X11Connection& connection,
                                     const std::vector<xcb_window_t>& windows);

/// The same, for each window by itself.
std::vector<std::vector<xcb_window_t>> childrenOfEach(const X11Connection& connection,
                                                      const std::vector<xcb_window_t>& windows);

/// The windows in which those windows lie, each in its window's place; none (XCB_NONE) for one that
/// is gone. Asks for all at once. Throws X11Error.
std::vector<xcb_window_t> parentsOf(const X11Connection& connection,
                                    const std::vector<xcb_window_t>& windows);

}  // namespace tarvinel

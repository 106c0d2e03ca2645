#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel::x11 {

class Connection;
struct Atoms;

/// Returns those of the windows that are on the screen, lowest first. Those inside another window,
/// such as a window manager's frame, are as high as that; of two in one frame the first given is
/// the lower. A window that its window manager reports as put away is not on the screen, though it
/// may be mapped. Throws Error.
std::vector<xcb_window_t> visibleInStackingOrder(const Connection& connection, const Atoms& atoms,
                                                 const std::vector<xcb_window_t>& windows);

}  // namespace tarvinel::x11

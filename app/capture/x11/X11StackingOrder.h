#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel {

class X11Connection;
struct X11Atoms;

/// Those of the windows that are on the screen, lowest first. Those inside another window, such as
/// a window manager's frame, are as high as that; of two in one frame the first given is the lower.
/// What its window manager says to have put away is not on the screen, though it may be mapped.
/// Throws X11Error.
std::vector<xcb_window_t> visibleInStackingOrder(const X11Connection& connection,
                                                 const X11Atoms& atoms,
                                                 const std::vector<xcb_window_t>& windows);

}  // namespace tarvinel

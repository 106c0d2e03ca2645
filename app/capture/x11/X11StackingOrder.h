#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel {

class X11Connection;

/// Those of the windows that are on the screen, lowest first. Those inside another window, such as
/// a window manager's frame, are as high as that; of two in one frame the first given is the lower.
/// `wmState` is the number of WM_STATE, by which window managers tell what they have put away.
/// Throws X11Error.
std::vector<xcb_window_t> visibleInStackingOrder(const X11Connection& connection,
                                                 xcb_atom_t wmState,
                                                 const std::vector<xcb_window_t>& windows);

}  // namespace tarvinel

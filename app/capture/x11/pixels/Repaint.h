#pragma once

#include <xcb/xcb.h>

namespace tarvinel::x11 {

class Connection;

/// Asks the owner of a window to paint all of it anew, as if something that covered it had gone.
/// Does not wait; a window that is gone is nobody's problem.
void askToRepaint(const Connection& connection, xcb_window_t window);

/// The same for the windows inside it, however deep. Throws Error when the connection is lost.
void askInsideToRepaint(const Connection& connection, xcb_window_t window);

}  // namespace tarvinel::x11

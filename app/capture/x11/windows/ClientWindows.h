#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel::x11 {

class Connection;
struct Atoms;

/// Returns the windows of programs on an X server, lowest first: those that the window manager
/// manages, or, without one, the windows on the root window, each replaced by the program's own
/// inside it. Some may be hidden, and any may no longer exist. Throws Error.
std::vector<xcb_window_t> listClientWindows(const Connection& connection, const Atoms& atoms);

}  // namespace tarvinel::x11

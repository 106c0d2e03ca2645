#pragma once

#include <xcb/xcb.h>

#include <vector>

namespace tarvinel::x11 {

class Connection;
struct Atoms;

/// The windows of programs on an X server, lowest first: those that the window manager manages,
/// else, where none says so, the windows on the root window, each stood for by the program's own
/// inside it. Hidden ones may be among them, and any may be gone. Throws Error.
std::vector<xcb_window_t> listClientWindows(const Connection& connection, const Atoms& atoms);

}  // namespace tarvinel::x11

#pragma once

#include <xcb/xcb.h>

#include <functional>

namespace tarvinel::x11 {

class Connection;

/// True when the topmost window under the mouse pointer is one of those asked for or lies inside
/// one. Throws Error.
bool isPointerIn(const Connection& connection, const std::function<bool(xcb_window_t)>& isWanted);

}  // namespace tarvinel::x11

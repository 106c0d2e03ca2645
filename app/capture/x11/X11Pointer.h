#pragma once

#include <xcb/xcb.h>

#include <functional>

namespace tarvinel {

class X11Connection;

/// True when the topmost window under the mouse pointer is one of those asked for or lies inside
/// one. Throws X11Error.
bool isPointerIn(const X11Connection& connection,
                 const std::function<bool(xcb_window_t)>& isWanted);

}  // namespace tarvinel

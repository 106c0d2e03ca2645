#include "app/capture/x11/pixels/Pointer.h"

#include "app/x11/Connection.h"

namespace tarvinel::x11 {

namespace {

/// The window in another one that the pointer is in; none when it is in none.
xcb_window_t underPointer(const Connection& connection, xcb_window_t within) {
  const auto pointer =
      connection.replyIfAny(xcb_query_pointer_reply, xcb_query_pointer(connection.get(), within));
  return pointer ? pointer->child : xcb_window_t{XCB_NONE};
}

}  // namespace

bool isPointerIn(const Connection& connection, const std::function<bool(xcb_window_t)>& isWanted) {
  constexpr int deepest = 8;  // a window manager puts one or two windows around a program's
  xcb_window_t window = connection.root();
  for (int depth = 0; depth < deepest && window != XCB_NONE; ++depth) {
    window = underPointer(connection, window);
    if (window != XCB_NONE && isWanted(window)) return true;
  }
  return false;
}

}  // namespace tarvinel::x11

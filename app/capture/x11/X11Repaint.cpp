#include "app/capture/x11/X11Repaint.h"

#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Tree.h"

#include <vector>

namespace tarvinel {

namespace {

constexpr std::size_t mostInside = 1000;  ///< windows in one window; real ones have a few dozen

}  // namespace

void askToRepaint(const X11Connection& connection, xcb_window_t window) {
  constexpr std::uint8_t withExposures = 1;
  xcb_clear_area(connection.get(), withExposures, window, 0, 0, 0, 0);
}

void askInsideToRepaint(const X11Connection& connection, xcb_window_t window) {
  std::size_t asked = 0;
  auto level = childrenOf(connection, {window});
  while (!level.empty() && asked < mostInside) {
    for (const xcb_window_t inside : level)
      askToRepaint(connection, inside);
    asked += level.size();
    level = childrenOf(connection, level);
  }
}

}  // namespace tarvinel

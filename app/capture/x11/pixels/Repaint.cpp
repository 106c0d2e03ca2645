#include "app/capture/x11/pixels/Repaint.h"

#include "app/x11/Connection.h"
#include "app/x11/Tree.h"

#include <vector>

namespace tarvinel::x11 {

namespace {

constexpr std::size_t mostInside = 1000;  ///< windows in one window; real ones have a few dozen

}  // namespace

void askToRepaint(const Connection& connection, xcb_window_t window) {
  constexpr std::uint8_t withExposures = 1;
  xcb_clear_area(connection.get(), withExposures, window, 0, 0, 0, 0);
}

void askInsideToRepaint(const Connection& connection, xcb_window_t window) {
  std::size_t asked = 0;
  auto level = childrenOf(connection, {window});
  while (!level.empty() && asked < mostInside) {
    for (const xcb_window_t inside : level)
      askToRepaint(connection, inside);
    asked += level.size();
    level = childrenOf(connection, level);
  }
}

}  // namespace tarvinel::x11

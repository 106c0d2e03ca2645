#include "app/capture/x11/X11StackingOrder.h"

#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Tree.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace tarvinel {

namespace {

/// Height by window of those directly on the root window.
using Heights = std::unordered_map<xcb_window_t, std::size_t>;

Heights heightsOnRoot(const X11Connection& connection) {
  Heights heights;
  for (const xcb_window_t window : childrenOf(connection, {connection.root()}))
    heights.emplace(window, heights.size());
  return heights;
}

std::vector<xcb_window_t> visibleAmong(const X11Connection& connection,
                                       const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_get_window_attributes_cookie_t> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows)
    cookies.push_back(xcb_get_window_attributes(connection.get(), window));
  std::vector<xcb_window_t> visible;
  for (std::size_t i = 0; i < windows.size(); ++i) {
    const auto attributes = connection.replyIfAny(xcb_get_window_attributes_reply, cookies[i]);
    if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE) {
      visible.push_back(windows[i]);
    }
  }
  return visible;
}

/// The window on the root window that each lies in; anything for one that is gone.
std::vector<xcb_window_t> topLevelsOf(const X11Connection& connection, const Heights& heights,
                                      std::vector<xcb_window_t> windows) {
  constexpr int deepest = 8;
  for (int depth = 0; depth < deepest; ++depth) {
    const bool areAll = std::all_of(windows.begin(), windows.end(),
                                    [&](xcb_window_t window) { return heights.contains(window); });
    if (areAll) break;
    const auto parents = parentsOf(connection, windows);
    for (std::size_t i = 0; i < windows.size(); ++i) {
      if (!heights.contains(windows[i])) windows[i] = parents[i];
    }
  }
  return windows;
}

}  // namespace

std::vector<xcb_window_t> visibleInStackingOrder(const X11Connection& connection,
                                                 const std::vector<xcb_window_t>& windows) {
  const Heights heights = heightsOnRoot(connection);
  const auto visible = visibleAmong(connection, windows);
  const auto topLevels = topLevelsOf(connection, heights, visible);
  std::multimap<std::size_t, xcb_window_t> byHeight;
  for (std::size_t i = 0; i < visible.size(); ++i) {
    const auto height = heights.find(topLevels[i]);
    if (height != heights.end()) byHeight.emplace(height->second, visible[i]);
  }
  std::vector<xcb_window_t> ordered;
  ordered.reserve(byHeight.size());
  for (const auto& [height, window] : byHeight)
    ordered.push_back(window);
  return ordered;
}

}  // namespace tarvinel

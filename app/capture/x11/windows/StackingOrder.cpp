#include "app/capture/x11/windows/StackingOrder.h"

#include "app/capture/x11/windows/Workspace.h"
#include "app/x11/Connection.h"
#include "app/x11/Property.h"
#include "app/x11/Tree.h"

#include <algorithm>
#include <map>
#include <unordered_map>

namespace tarvinel::x11 {

namespace {

/// The heights of the windows that are directly on the root window.
using Heights = std::unordered_map<xcb_window_t, std::size_t>;

Heights heightsOnRoot(const Connection& connection) {
  Heights heights;
  for (const xcb_window_t window : childrenOf(connection, {connection.root()}))
    heights.emplace(window, heights.size());
  return heights;
}

/// The pending requests for one window.
struct SightRequests {
  xcb_get_window_attributes_cookie_t attributes;
  xcb_get_property_cookie_t wmState;
  xcb_get_property_cookie_t workspace;
};

/// Takes every reply, whatever the others contain.
bool isInSight(const Connection& connection, const SightRequests& requests,
               std::optional<std::uint32_t> shownWorkspace) {
  const auto attributes =
      connection.replyIfAny(xcb_get_window_attributes_reply, requests.attributes);
  const bool isPutAway = isIconic(receiveProperty(connection, requests.wmState));
  const bool isElsewhere =
      isOnAnotherWorkspace(receiveProperty(connection, requests.workspace), shownWorkspace);
  return attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE && !isPutAway &&
         !isElsewhere;
}

std::vector<xcb_window_t> visibleAmong(const Connection& connection, const Atoms& atoms,
                                       const std::vector<xcb_window_t>& windows) {
  std::vector<SightRequests> requests;
  requests.reserve(windows.size());
  for (const xcb_window_t window : windows) {
    requests.push_back({xcb_get_window_attributes(connection.get(), window),
                        requestProperty(connection, window, atoms.wmState),
                        requestProperty(connection, window, atoms.workspace)});
  }
  const auto shown = onlyWorkspaceShown(connection, atoms);
  std::vector<xcb_window_t> visible;
  for (std::size_t i = 0; i < windows.size(); ++i) {
    if (isInSight(connection, requests[i], shown)) visible.push_back(windows[i]);
  }
  return visible;
}

/// Returns the window on the root window that contains each; any value for one that is gone.
std::vector<xcb_window_t> topLevelsOf(const Connection& connection, const Heights& heights,
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

std::vector<xcb_window_t> visibleInStackingOrder(const Connection& connection, const Atoms& atoms,
                                                 const std::vector<xcb_window_t>& windows) {
  const Heights heights = heightsOnRoot(connection);
  const auto visible = visibleAmong(connection, atoms, windows);
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

}  // namespace tarvinel::x11

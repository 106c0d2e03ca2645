#include "app/capture/x11/windows/ClientWindows.h"

#include "app/x11/Connection.h"
#include "app/x11/Property.h"
#include "app/x11/Tree.h"

#include <cstddef>
#include <optional>

namespace tarvinel::x11 {

namespace {

constexpr std::uint32_t maxListed = 65536;  ///< bytes

/// Ignores what a window manager left behind when it ended: a running one owns a window that names
/// itself.
bool hasWindowManager(const Connection& connection, const Atoms& atoms) {
  const auto checkWindow =
      firstNumber(readProperty(connection, connection.root(), atoms.supportingWmCheck));
  return checkWindow && firstNumber(readProperty(connection, *checkWindow,
                                                 atoms.supportingWmCheck)) == checkWindow;
}

std::optional<std::vector<xcb_window_t>> managedWindows(const Connection& connection,
                                                        const Atoms& atoms) {
  if (!hasWindowManager(connection, atoms)) return std::nullopt;
  const auto list = receiveProperty(
      connection,
      requestProperty(connection, connection.root(), atoms.clientListStacking, maxListed));
  if (!list) return std::nullopt;
  return list->numbers();
}

std::vector<bool> haveState(const Connection& connection, const Atoms& atoms,
                            const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_get_property_cookie_t> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows)
    cookies.push_back(requestProperty(connection, window, atoms.wmState, 8));
  std::vector<bool> replies;
  replies.reserve(windows.size());
  for (const auto& cookie : cookies)
    replies.push_back(receiveProperty(connection, cookie).has_value());
  return replies;
}

/// A window inside a top-level window, or that one itself, that may be the program's own.
struct Candidate {
  std::size_t place;  ///< index of the top-level window
  xcb_window_t window;
};

std::vector<xcb_window_t> windowsOf(const std::vector<Candidate>& candidates) {
  std::vector<xcb_window_t> windows;
  windows.reserve(candidates.size());
  for (const Candidate& candidate : candidates)
    windows.push_back(candidate.window);
  return windows;
}

std::vector<Candidate> candidatesInside(const Connection& connection,
                                        const std::vector<Candidate>& candidates) {
  std::vector<Candidate> inside;
  const auto children = childrenOfEach(connection, windowsOf(candidates));
  for (std::size_t i = 0; i < candidates.size(); ++i) {
    for (const xcb_window_t child : children[i])
      inside.push_back({candidates[i].place, child});
  }
  return inside;
}

/// Replaces each top-level window by the one that a window manager has put into it, if any.
std::vector<xcb_window_t> clientsIn(const Connection& connection, const Atoms& atoms,
                                    std::vector<xcb_window_t> topLevels) {
  constexpr int deepest = 3;
  std::vector<Candidate> level;
  for (std::size_t i = 0; i < topLevels.size(); ++i)
    level.push_back({i, topLevels[i]});
  std::vector<bool> isFound(topLevels.size(), false);
  for (int depth = 0; depth < deepest && !level.empty(); ++depth) {
    const std::vector<bool> hasState = haveState(connection, atoms, windowsOf(level));
    for (std::size_t i = 0; i < level.size(); ++i) {
      if (!hasState[i] || isFound[level[i].place]) continue;
      topLevels[level[i].place] = level[i].window;
      isFound[level[i].place] = true;
    }
    std::erase_if(level, [&](const Candidate& candidate) { return isFound[candidate.place]; });
    level = candidatesInside(connection, level);
  }
  return topLevels;
}

}  // namespace

std::vector<xcb_window_t> listClientWindows(const Connection& connection, const Atoms& atoms) {
  if (auto managed = managedWindows(connection, atoms)) return *managed;
  return clientsIn(connection, atoms, childrenOf(connection, {connection.root()}));
}

}  // namespace tarvinel::x11

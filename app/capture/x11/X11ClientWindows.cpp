#include "app/capture/x11/X11ClientWindows.h"

#include "app/capture/x11/X11Atoms.h"
#include "app/capture/x11/X11Connection.h"
#include "app/capture/x11/X11Property.h"
#include "app/capture/x11/X11Tree.h"

#include <optional>

namespace tarvinel {

namespace {

constexpr std::uint32_t mostListed = 65536;  ///< bytes

std::optional<xcb_window_t> firstNumber(const std::optional<X11Property>& property) {
  const auto numbers = property ? property->numbers() : std::vector<std::uint32_t>{};
  return numbers.empty() ? std::nullopt : std::optional<xcb_window_t>(numbers.front());
}

/// What a window manager left behind when it ended is not to be believed: one that lives owns a
/// window that names itself.
bool hasWindowManager(const X11Connection& connection, const X11Atoms& atoms) {
  const auto checkWindow =
      firstNumber(readProperty(connection, connection.root(), atoms.supportingWmCheck));
  return checkWindow && firstNumber(readProperty(connection, *checkWindow,
                                                 atoms.supportingWmCheck)) == checkWindow;
}

std::optional<std::vector<xcb_window_t>> managedWindows(const X11Connection& connection,
                                                        const X11Atoms& atoms) {
  if (!hasWindowManager(connection, atoms)) return std::nullopt;
  const auto list = takeProperty(connection, askForProperty(connection, connection.root(),
                                                            atoms.clientListStacking, mostListed));
  if (!list) return std::nullopt;
  return list->numbers();
}

std::vector<bool> haveState(const X11Connection& connection, const X11Atoms& atoms,
                            const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_get_property_cookie_t> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows)
    cookies.push_back(askForProperty(connection, window, atoms.wmState, 8));
  std::vector<bool> answers;
  answers.reserve(windows.size());
  for (const auto& cookie : cookies)
    answers.push_back(takeProperty(connection, cookie).has_value());
  return answers;
}

/// The window that a window manager has put into that one; the one itself when there is none.
xcb_window_t clientIn(const X11Connection& connection, const X11Atoms& atoms,
                      xcb_window_t topLevel) {
  constexpr int deepest = 3;
  std::vector<xcb_window_t> level{topLevel};
  for (int depth = 0; depth < deepest && !level.empty(); ++depth) {
    const std::vector<bool> found = haveState(connection, atoms, level);
    for (std::size_t i = 0; i < level.size(); ++i) {
      if (found[i]) return level[i];
    }
    level = childrenOf(connection, level);
  }
  return topLevel;
}

}  // namespace

std::vector<xcb_window_t> listClientWindows(const X11Connection& connection,
                                            const X11Atoms& atoms) {
  if (auto managed = managedWindows(connection, atoms)) return *managed;
  std::vector<xcb_window_t> windows;
  for (const xcb_window_t topLevel : childrenOf(connection, {connection.root()}))
    windows.push_back(clientIn(connection, atoms, topLevel));
  return windows;
}

}  // namespace tarvinel

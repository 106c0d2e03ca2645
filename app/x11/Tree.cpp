#include "app/x11/Tree.h"

#include "app/x11/Connection.h"

#include <cstdint>
#include <limits>

namespace tarvinel::x11 {

namespace {

using Tree = XcbPtr<xcb_query_tree_reply_t>;

/// Returns null for each window that no longer exists.
std::vector<Tree> treesOf(const Connection& connection, const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_query_tree_cookie_t> cookies;
  cookies.reserve(windows.size());
  for (const xcb_window_t window : windows)
    cookies.push_back(xcb_query_tree(connection.get(), window));
  std::vector<Tree> trees;
  trees.reserve(windows.size());
  for (const auto& cookie : cookies)
    trees.push_back(connection.replyIfAny(xcb_query_tree_reply, cookie));
  return trees;
}

}  // namespace

std::vector<std::vector<xcb_window_t>> childrenOfEach(const Connection& connection,
                                                      const std::vector<xcb_window_t>& windows) {
  std::vector<std::vector<xcb_window_t>> children;
  children.reserve(windows.size());
  for (const Tree& tree : treesOf(connection, windows)) {
    auto& inside = children.emplace_back();
    if (!tree) continue;
    const xcb_window_t* first = xcb_query_tree_children(tree.get());
    inside.assign(first, first + xcb_query_tree_children_length(tree.get()));
  }
  return children;
}

std::vector<xcb_window_t> childrenOf(const Connection& connection,
                                     const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_window_t> children;
  for (const auto& inside : childrenOfEach(connection, windows))
    children.insert(children.end(), inside.begin(), inside.end());
  return children;
}

std::vector<xcb_window_t> parentsOf(const Connection& connection,
                                    const std::vector<xcb_window_t>& windows) {
  std::vector<xcb_window_t> parents;
  parents.reserve(windows.size());
  for (const Tree& tree : treesOf(connection, windows))
    parents.push_back(tree ? tree->parent : xcb_window_t{XCB_NONE});
  return parents;
}

bool fitsPixmap(const xcb_get_geometry_reply_t& window) {
  constexpr int longest = std::numeric_limits<std::int16_t>::max();
  const int borders = 2 * window.border_width;
  return window.width + borders <= longest && window.height + borders <= longest;
}

}  // namespace tarvinel::x11

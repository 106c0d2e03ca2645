#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>

namespace tarvinel {

class X11Connection;

/// The processes by client in the body of a list of `count` client identities. Throws X11Error when
/// the bytes do not hold so many.
std::unordered_map<std::uint32_t, std::int32_t> parseClientProcesses(
    std::span<const std::byte> body, std::size_t count);

/// Which processes the clients of an X server are, as the server itself knows it from their
/// sockets. What windows claim of themselves (_NET_WM_PID) can be a number of another machine or of
/// a container, where many are number 2, and would mix programs up.
class X11ClientProcesses {
 public:
  /// Asks for all clients. Knows none where the server does not tell (XRes 1.2). Throws X11Error.
  explicit X11ClientProcesses(const X11Connection& connection);

  /// The process that made the window; 0 when that is not known.
  std::int32_t processOf(xcb_window_t window) const;

 private:
  std::uint32_t clientBits_;
  std::unordered_map<std::uint32_t, std::int32_t> processes_;  ///< by the ID's client bits
};

}  // namespace tarvinel

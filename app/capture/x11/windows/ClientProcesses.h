#pragma once

#include <xcb/xcb.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
#include <vector>

namespace tarvinel::x11 {

class Connection;
struct Atoms;

/// Returns the processes by client from the body of a list of `count` client identities. Throws
/// Error if the bytes do not hold so many.
std::unordered_map<std::uint32_t, std::int32_t> parseClientProcesses(
    std::span<const std::byte> body, std::size_t count);

/// Maps the clients of an X server to their processes, for listing windows and for sharing them
/// alike: by what the server itself knows from their sockets (XRes 1.2), else by what one of the
/// client's windows claims (_NET_WM_PID). A claim can be a number of another machine or of a
/// container, where many programs are number 2: it never overrides the server, and a number that
/// the server knows as another client's is ignored.
class ClientProcesses {
 public:
  /// Queries the server for all clients, and for their claims those of `windows` whose client it
  /// does not know. Throws Error.
  ClientProcesses(const Connection& connection, const Atoms& atoms,
                  const std::vector<xcb_window_t>& windows);

  /// Returns the process that made the window; 0 if that is not known.
  std::int32_t processOf(xcb_window_t window) const;

 private:
  using Processes = std::unordered_map<std::uint32_t, std::int32_t>;  ///< by the ID's client bits

  void queryServer(const Connection& connection);
  void queryWindows(const Connection& connection, const Atoms& atoms,
                    const std::vector<xcb_window_t>& windows);

  std::uint32_t clientBits_;
  Processes processes_;
};

}  // namespace tarvinel::x11

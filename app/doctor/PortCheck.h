#pragma once

#include "app/doctor/Doctor.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// The process that listens on a port, as far as this user can see it.
struct PortHolder {
  std::string user = {};     ///< a name, or a number if it has no name
  std::string program = {};  ///< empty if unknown, because it is another user's
  pid_t process = 0;         ///< 0 if unknown

  bool operator==(const PortHolder&) const = default;

  /// Returns nullopt if nobody listens on the port, or the system does not say who. `proc` is the
  /// mount point of procfs.
  static std::optional<PortHolder> of(std::uint16_t port,
                                      const std::filesystem::path& proc = "/proc");
};

/// A listening socket in the kernel's table of TCP sockets.
struct ListeningEntry {
  uid_t user = 0;
  std::uint64_t inode = 0;

  bool operator==(const ListeningEntry&) const = default;
};

/// Returns the socket that listens on the port in a table such as /proc/net/tcp, see proc(5). Skips
/// lines that it cannot parse. Pure.
std::optional<ListeningEntry> listeningEntry(std::string_view table, std::uint16_t port);

/// The result of listening on the port for a moment.
struct PortProbe {
  /// The helper for port 80, which is tried if this process is not permitted to listen there
  /// itself.
  enum class Helper : std::uint8_t { notAsked, isMissing, mayNot, listens };

  std::uint16_t port = 0;
  int error = 0;  ///< errno of the last attempt; 0 if it succeeded
  Helper helper = Helper::notAsked;
  std::filesystem::path helperPlace = {};
  std::optional<PortHolder> holder = {};  ///< if the port is taken

  /// Returns what is known of a port that this program could not bind, without another attempt.
  /// `error` is an errno value, `helper` the helper's path.
  static PortProbe afterRefusal(std::uint16_t port, int error, const std::filesystem::path& helper);

  /// Tries to listen. `helper` is the helper's path. Blocks for a few seconds at most.
  static PortProbe of(std::uint16_t port, const std::filesystem::path& helper);
};

/// Reports whether the program can listen on its port. Pure.
Findings judge(const PortProbe& probe);

}  // namespace tarvinel

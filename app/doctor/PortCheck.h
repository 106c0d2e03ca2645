#pragma once

#include "app/doctor/Doctor.h"

#include <sys/types.h>

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>

namespace tarvinel {

/// Who listens on a port, as far as this user may know.
struct PortHolder {
  std::string user = {};     ///< a name, or a number where there is none
  std::string program = {};  ///< empty: another user's, so that it cannot be told
  pid_t process = 0;         ///< 0 likewise

  bool operator==(const PortHolder&) const = default;

  /// Nothing when nobody listens there, or the system does not tell. `proc` is where that is
  /// mounted.
  static std::optional<PortHolder> of(std::uint16_t port,
                                      const std::filesystem::path& proc = "/proc");
};

/// A listening socket in the kernel's table of TCP sockets.
struct ListeningEntry {
  uid_t user = 0;
  std::uint64_t inode = 0;

  bool operator==(const ListeningEntry&) const = default;
};

/// The socket that listens on the port in a table such as /proc/net/tcp, see proc(5). Pure; lines
/// that are not understood are passed over.
std::optional<ListeningEntry> listeningEntry(std::string_view table, std::uint16_t port);

/// What came of listening on the port, for a moment.
struct PortProbe {
  /// The helper for port 80, which is asked where this process may not listen there itself.
  enum class Helper : std::uint8_t { notAsked, isMissing, mayNot, listens };

  std::uint16_t port = 0;
  int error = 0;  ///< errno of the last attempt; 0: it could be listened on
  Helper helper = Helper::notAsked;
  std::filesystem::path helperPlace = {};
  std::optional<PortHolder> holder = {};  ///< when the port is taken

  /// What is known of a port that this program was refused, without another attempt. `error` is an
  /// errno, `helper` the place of the helper.
  static PortProbe afterRefusal(std::uint16_t port, int error, const std::filesystem::path& helper);

  /// Tries. `helper` is the place of the helper. Blocks for some seconds at the most.
  static PortProbe of(std::uint16_t port, const std::filesystem::path& helper);
};

/// Whether the program could listen on its port. Pure.
Findings judge(const PortProbe& probe);

}  // namespace tarvinel

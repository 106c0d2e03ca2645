#pragma once

#include "core/support/UniqueFd.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarvinel {

/// Reserves a display number against all other tests on this computer, in whatever process, while
/// the descriptor is open; it is empty if another has the number. The servers' own sockets do not
/// ensure that: a server in another network namespace replaces the file in /tmp/.X11-unix without
/// asking, and clients try the abstract socket first, which is not in that folder.
UniqueFd claimDisplay(int number);

/// A real X server without hardware, on a display number of its own; the destructor ends it.
class XServer {
 public:
  /// `screen` is width x height x depth; `arguments` go to Xvfb as they are. Throws if it does not
  /// start.
  explicit XServer(const std::string& screen = "320x240x24",
                   const std::vector<std::string>& arguments = {});
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;

  int number() const { return number_; }

  /// Returns the display's name such as ":12345".
  std::string display() const { return ":" + std::to_string(number_); }

  /// Kills it, as a crash would, and waits until it has ended.
  void crash();

  /// Stops it, so that it does not reply, and lets it continue.
  void freeze() const;
  void thaw() const;

 private:
  bool start(const std::vector<std::string>& options);
  void end(int signal);

  pid_t process_ = 0;  ///< 0: has ended
  int number_ = 0;
  UniqueFd claim_;
};

}  // namespace tarvinel

#pragma once

#include "core/support/UniqueFd.h"

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarvinel {

/// Keeps a display number from all other tests of this computer, in whatever process, while the
/// descriptor is open; none when another has it. The servers' own sockets do not ensure that: a
/// server in another network namespace replaces the file in /tmp/.X11-unix without asking, and
/// clients try the abstract socket first, which is not in that folder.
UniqueFd claimDisplay(int number);

/// A real X server without hardware, on a display number that is its own until it is destroyed;
/// ended by the destructor.
class XServer {
 public:
  /// `screen` is width x height x depth; `arguments` go to Xvfb as they are. Throws when it does
  /// not come up.
  explicit XServer(const std::string& screen = "320x240x24",
                   const std::vector<std::string>& arguments = {});
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;

  int number() const { return number_; }

  /// Such as ":12345".
  std::string display() const { return ":" + std::to_string(number_); }

  /// Ends it at once, as a crash would, and waits until it is gone.
  void crash();

  /// Lets it sleep without answering, and wakes it.
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

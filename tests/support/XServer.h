#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace tarvinel {

/// A real X server without hardware, on a free display number; ended by the destructor.
class XServer {
 public:
  /// `screen` is width x height x depth; `arguments` go to Xvfb as they are. Throws when it does
  /// not come up.
  explicit XServer(const std::string& screen = "320x240x24",
                   const std::vector<std::string>& arguments = {});
  ~XServer();
  XServer(const XServer&) = delete;
  XServer& operator=(const XServer&) = delete;

  /// Such as ":7".
  const std::string& display() const { return display_; }

  /// Ends it at once, as a crash would, and waits until it is gone.
  void crash();

  /// Lets it sleep without answering, and wakes it.
  void freeze() const;
  void thaw() const;

 private:
  void end(int signal);

  pid_t process_ = 0;  ///< 0: has ended
  std::string display_;
};

}  // namespace tarvinel

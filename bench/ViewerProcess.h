#pragma once

#include "core/support/UniqueFd.h"

#include <sys/types.h>

#include <cstddef>
#include <cstdint>

namespace tarvinel {

/// Viewers in a process of their own, so that reading does not cost the measured process anything.
///
/// A round is over when they have read `bytesPerRound` together. With one frame published per round
/// that is every frame at every viewer: none can have more than its own.
class ViewerProcess {
 public:
  /// Forks; must come before the first thread. Throws std::system_error.
  ViewerProcess();
  ~ViewerProcess();
  ViewerProcess(const ViewerProcess&) = delete;
  ViewerProcess& operator=(const ViewerProcess&) = delete;

  /// Opens this many streams of a server on this computer. Viewers that connected before stay.
  void join(std::uint16_t port, std::size_t count);

  /// Waits until each viewer of the last `join` has read the head of its stream.
  void waitForHeads();

  /// Sets what the viewers read together in one round, from now on.
  void setBytesPerRound(std::size_t bytes);

  /// Waits for the end of a round; throws if it does not come.
  void waitForRound();

  /// Ends all streams.
  void leave();

 private:
  struct Command;
  void send(const Command& command);
  void waitForAnswer();
  void start(UniqueFd childsEnd);
  [[noreturn]] static void run(int control);
  class Crowd;

  UniqueFd control_;
  pid_t process_ = -1;
};

}  // namespace tarvinel

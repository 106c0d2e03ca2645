#pragma once

#include "core/support/SerialQueue.h"

#include <asio/signal_set.hpp>

#include <functional>

namespace tarvinel {

/// Returns whether the program ends when its terminal closes: not under nohup, which makes it
/// ignore SIGHUP.
bool endsWithItsTerminal();

/// Catches SIGINT, SIGTERM and, unless it is ignored, SIGHUP during its lifetime. The first signal
/// requests the program's end and restores their default actions, so that a second one ends the
/// program at once, whatever it is waiting for.
///
/// A thread of its own waits for them: a desktop toolkit's loop does not handle signals, the main
/// queue may be busy, and child processes would inherit blocked signals.
class TerminationSignals {
 public:
  /// Calls `caught` at the first signal, on another thread.
  explicit TerminationSignals(std::function<void()> caught);
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

 private:
  SerialQueue queue_{".signals"};
  asio::signal_set signals_{queue_.context(), SIGINT, SIGTERM};
};

}  // namespace tarvinel

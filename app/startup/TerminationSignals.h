#pragma once

#include "core/support/SerialQueue.h"

#include <asio/signal_set.hpp>

#include <functional>

namespace tarvinel {

/// Whether the program is to end when its terminal does: not under nohup, which has it ignore the
/// signal of that, SIGHUP.
bool endsWithItsTerminal();

/// Catches SIGINT, SIGTERM and the end of the terminal while it lives. The first one asks the
/// program to end; from then on they have their default effect again, so that a second one ends the
/// program at once, whatever it is waiting for.
///
/// A thread of its own waits for them: a desktop toolkit's loop knows no signals, the main queue
/// may be busy, and blocking them instead would block them in every program started from here.
class TerminationSignals {
 public:
  /// `caught` is called at the first signal, on another thread.
  explicit TerminationSignals(std::function<void()> caught);
  ~TerminationSignals();
  TerminationSignals(const TerminationSignals&) = delete;
  TerminationSignals& operator=(const TerminationSignals&) = delete;

 private:
  SerialQueue queue_{".signals"};
  asio::signal_set signals_{queue_.context(), SIGINT, SIGTERM};
};

}  // namespace tarvinel

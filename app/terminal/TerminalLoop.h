#pragma once

#include "app/platform/MainQueue.h"

#include <asio/io_context.hpp>

namespace tarvinel {

/// The main queue of a program in a terminal: the main thread, inside `run`.
class TerminalLoop : public MainQueue {
 public:
  void post(std::function<void()> task) override;
  std::unique_ptr<Timer> repeat(std::chrono::milliseconds interval,
                                std::function<void()> task) override;

  /// Runs the queue on the calling thread until `quit`; returns the exit status given there.
  int run();

  /// Ends `run` after the current task; the first status given stands. To be called on the queue.
  void quit(int status);

 private:
  asio::io_context context_{1};
  int status_ = 0;
};

}  // namespace tarvinel

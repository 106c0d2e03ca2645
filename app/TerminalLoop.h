#pragma once

#include "app/MainQueue.h"

#include <asio/io_context.hpp>
#include <asio/signal_set.hpp>

namespace tarvinel {

/// The main queue of a program in a terminal: the main thread, inside `run`. SIGINT, SIGTERM and
/// the end of the terminal end it in order.
class TerminalLoop : public MainQueue {
 public:
  TerminalLoop();

  void post(std::function<void()> task) override;
  std::unique_ptr<Timer> repeat(std::chrono::milliseconds interval,
                                std::function<void()> task) override;

  /// Runs the queue on the calling thread until `quit`; returns the exit status given there.
  int run();

  /// Ends `run` after the current task; the first status given stands. To be called on the queue.
  void quit(int status);

 private:
  asio::io_context context_{1};
  asio::signal_set signals_;
  int status_ = 0;
};

}  // namespace tarvinel

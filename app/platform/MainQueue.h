#pragma once

#include <chrono>
#include <functional>
#include <memory>

namespace tarvinel {

/// The queue on which the application model lives: a terminal's loop, a desktop toolkit's loop, or
/// one that a test runs step by step.
class MainQueue {
 public:
  /// A repeated task; the destructor ends the repetition.
  class Timer {
   public:
    virtual ~Timer() = default;
    Timer() = default;
    Timer(const Timer&) = delete;
    Timer& operator=(const Timer&) = delete;
  };

  virtual ~MainQueue() = default;
  MainQueue() = default;
  MainQueue(const MainQueue&) = delete;
  MainQueue& operator=(const MainQueue&) = delete;

  /// Runs `task` on the queue, after all tasks posted before. Thread-safe.
  virtual void post(std::function<void()> task) = 0;

  /// Runs `task` on the queue once every `interval`, first after one interval.
  virtual std::unique_ptr<Timer> repeat(std::chrono::milliseconds interval,
                                        std::function<void()> task) = 0;
};

}  // namespace tarvinel

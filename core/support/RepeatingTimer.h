#pragma once

#include "core/support/SerialQueue.h"

#include <asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <system_error>
#include <utility>

namespace tarvinel {

/// Calls a task once after a delay, unless it is cancelled or destroyed before. Lives on its queue.
class OneShotTimer {
 public:
  explicit OneShotTimer(SerialQueue& queue) : timer_(queue.context()) {}

  /// Starts the timer; replaces a task that was started before.
  void start(std::chrono::milliseconds delay, std::function<void()> task) {
    task_ = std::make_shared<std::function<void()>>(std::move(task));
    timer_.expires_after(delay);
    timer_.async_wait([weak = std::weak_ptr(task_)](const std::error_code& cancelled) {
      const auto due = weak.lock();
      if (due && !cancelled) (*due)();
    });
  }

  void cancel() {
    task_.reset();
    timer_.cancel();
  }

 private:
  asio::steady_timer timer_;
  std::shared_ptr<std::function<void()>> task_;
};

/// Calls its owner repeatedly while it runs. Lives on the owner's queue.
class RepeatingTimer {
 public:
  virtual ~RepeatingTimer() = default;
  RepeatingTimer() = default;
  RepeatingTimer(const RepeatingTimer&) = delete;
  RepeatingTimer& operator=(const RepeatingTimer&) = delete;

  /// Starts it, the first call being one interval away, or stops it; has no effect if it already is
  /// in that state.
  virtual void run(bool wanted) = 0;
};

/// A timer of a queue, which must have been stopped before the timer is destroyed. Causes no
/// wake-ups while it does not run.
class QueueTimer : public RepeatingTimer {
 public:
  QueueTimer(SerialQueue& queue, std::chrono::milliseconds interval, std::function<void()> onTick);

  void run(bool wanted) override;
  bool isRunning() const { return running_; }

 private:
  void awaitTick();

  const SerialQueue& queue_;
  const std::chrono::milliseconds interval_;
  const std::function<void()> onTick_;
  asio::steady_timer timer_;
  bool running_ = false;
};

}  // namespace tarvinel

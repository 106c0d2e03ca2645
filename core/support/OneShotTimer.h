#pragma once

#include "core/support/SerialQueue.h"

#include <asio/steady_timer.hpp>

#include <chrono>
#include <functional>
#include <memory>
#include <system_error>
#include <utility>

namespace tarvinel {

/// Calls its owner once after a while, unless it is cancelled or destroyed before. Lives on its
/// queue.
class OneShotTimer {
 public:
  explicit OneShotTimer(SerialQueue& queue) : timer_(queue.context()) {}

  /// In place of what was started before.
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

}  // namespace tarvinel

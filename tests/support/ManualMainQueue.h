#pragma once

#include "app/platform/MainQueue.h"

#include <chrono>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <utility>

namespace tarvinel::test {

/// A main queue that runs only when the test says so, on the test's own thread.
class ManualMainQueue : public MainQueue {
 public:
  void post(std::function<void()> task) override {
    const std::scoped_lock lock(mutex_);
    tasks_.push_back(std::move(task));
    posted_.notify_all();
  }

  std::unique_ptr<Timer> repeat(std::chrono::milliseconds /*interval*/,
                                std::function<void()> task) override {
    onTick_ = std::move(task);
    return std::make_unique<Timer>();
  }

  /// Runs the repeating timer's task, as when its interval is over.
  void tick() { onTick_(); }

  /// Runs tasks until `condition` holds; returns false if it does not within a minute.
  bool runUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!condition()) {
      std::unique_lock lock(mutex_);
      if (!posted_.wait_until(lock, deadline, [this] { return !tasks_.empty(); })) return false;
      const auto task = std::move(tasks_.front());
      tasks_.pop_front();
      lock.unlock();
      task();
    }
    return true;
  }

 private:
  std::mutex mutex_;
  std::condition_variable posted_;
  std::deque<std::function<void()>> tasks_;  // guarded by mutex_
  std::function<void()> onTick_;
};

}  // namespace tarvinel::test

#include "app/terminal/TerminalLoop.h"

#include <asio/executor_work_guard.hpp>
#include <asio/post.hpp>
#include <asio/steady_timer.hpp>

#include <algorithm>
#include <utility>

namespace tarvinel {

namespace {

/// Keeps its period without drift; ticks that were missed while the queue was busy are left out.
class LoopTimer : public std::enable_shared_from_this<LoopTimer> {
 public:
  LoopTimer(asio::io_context& context, std::chrono::milliseconds interval,
            std::function<void()> task)
      : timer_(context), interval_(interval), task_(std::move(task)) {}

  void schedule() {
    next_ = std::max(next_ + interval_, std::chrono::steady_clock::now());
    timer_.expires_at(next_);
    timer_.async_wait([weak = weak_from_this()](std::error_code cancelled) {
      const auto self = weak.lock();
      if (cancelled || !self) return;
      self->task_();
      self->schedule();
    });
  }

 private:
  asio::steady_timer timer_;
  const std::chrono::milliseconds interval_;
  const std::function<void()> task_;
  std::chrono::steady_clock::time_point next_ = std::chrono::steady_clock::now();
};

/// What the owner holds: the timer itself goes with it, and its handler finds it gone.
class TimerHandle : public MainQueue::Timer {
 public:
  explicit TimerHandle(std::shared_ptr<LoopTimer> timer) : timer_(std::move(timer)) {}

 private:
  std::shared_ptr<LoopTimer> timer_;
};

}  // namespace

void TerminalLoop::post(std::function<void()> task) {
  asio::post(context_, std::move(task));
}

std::unique_ptr<MainQueue::Timer> TerminalLoop::repeat(std::chrono::milliseconds interval,
                                                       std::function<void()> task) {
  auto timer = std::make_shared<LoopTimer>(context_, interval, std::move(task));
  timer->schedule();
  return std::make_unique<TimerHandle>(std::move(timer));
}

int TerminalLoop::run() {
  const auto work = asio::make_work_guard(context_);
  context_.run();
  return status_;
}

void TerminalLoop::quit(int status) {
  if (context_.stopped()) return;
  status_ = status;
  context_.stop();
}

}  // namespace tarvinel

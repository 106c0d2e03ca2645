#include "core/support/RepeatingTimer.h"

#include <system_error>
#include <utility>

namespace tarvinel {

QueueTimer::QueueTimer(SerialQueue& queue, std::chrono::milliseconds interval,
                       std::function<void()> onTick)
    : queue_(queue), interval_(interval), onTick_(std::move(onTick)), timer_(queue.context()) {}

void QueueTimer::run(bool wanted) {
  queue_.assertCurrent();
  if (wanted == running_) return;
  running_ = wanted;
  if (running_) {
    awaitTick();
  } else {
    timer_.cancel();
  }
}

void QueueTimer::awaitTick() {
  timer_.expires_after(interval_);
  timer_.async_wait([this](const std::error_code& error) {
    if (error || !running_) return;
    onTick_();
    if (running_) awaitTick();
  });
}

}  // namespace tarvinel

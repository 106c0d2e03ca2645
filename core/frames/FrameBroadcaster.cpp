#include "core/frames/FrameBroadcaster.h"

#include "core/support/FatalError.h"

#include <utility>

namespace tarvinel {

namespace {

std::int64_t checkedTotal(std::int64_t total, std::size_t frameBytes, std::size_t viewers) {
  std::int64_t offered = 0;
  std::int64_t sum = 0;
  if (__builtin_mul_overflow(frameBytes, viewers, &offered) ||
      __builtin_add_overflow(total, offered, &sum)) {
    fatalError("byte counter overflow");
  }
  return sum;
}

}  // namespace

UUID FrameBroadcaster::subscribe(Sink sink) {
  const UUID identifier = UUID::random();
  const std::scoped_lock lock(mutex_);
  const auto& stored = sinks_.emplace(identifier, std::move(sink)).first->second;
  if (latest_) stored(latest_);
  return identifier;
}

void FrameBroadcaster::unsubscribe(const UUID& identifier) {
  const std::scoped_lock lock(mutex_);
  sinks_.erase(identifier);
}

void FrameBroadcaster::publish(const Frame& frame) {
  const std::scoped_lock lock(mutex_);
  latest_ = frame;
  bytesSent_ = checkedTotal(bytesSent_, frame->size(), sinks_.size());
  for (const auto& [identifier, sink] : sinks_)
    sink(frame);
}

void FrameBroadcaster::clearLatest() {
  const std::scoped_lock lock(mutex_);
  latest_.reset();
}

std::size_t FrameBroadcaster::viewerCount() const {
  const std::scoped_lock lock(mutex_);
  return sinks_.size();
}

std::int64_t FrameBroadcaster::bytesSent() const {
  const std::scoped_lock lock(mutex_);
  return bytesSent_;
}

Frame FrameBroadcaster::latest() const {
  const std::scoped_lock lock(mutex_);
  return latest_;
}

}  // namespace tarvinel

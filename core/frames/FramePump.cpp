#include "core/frames/FramePump.h"

#include <utility>

namespace tarvinel {

FramePump::FramePump(FrameBroadcaster& broadcaster) : broadcaster_(broadcaster) {}

void FramePump::offer(Frame frame) {
  const std::scoped_lock lock(mutex_);
  const bool posted = newest_ != nullptr;
  newest_ = std::move(frame);
  if (!posted) queue_.post([this] { publishNewest(); });
}

void FramePump::discard() {
  takeNewest();
}

void FramePump::afterPublishing(std::function<void()> then) {
  queue_.post(std::move(then));
}

void FramePump::publishNewest() {
  if (const Frame frame = takeNewest()) broadcaster_.publish(frame);
}

Frame FramePump::takeNewest() {
  const std::scoped_lock lock(mutex_);
  return std::exchange(newest_, nullptr);
}

}  // namespace tarvinel

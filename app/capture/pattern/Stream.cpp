#include "app/capture/pattern/Stream.h"

#include "app/capture/pattern/Picture.h"

#include <system_error>
#include <utility>

namespace tarvinel::pattern {

Stream::Stream(SerialQueue& queue, std::int32_t framesPerSecond, StreamHandlers handlers)
    : queue_(queue),
      schedule_(framesPerSecond),
      handlers_(std::move(handlers)),
      timer_(queue.context()) {}

void Stream::start(Completion<void> completion) {
  queue_.assertCurrent();
  running_ = true;
  queue_.post([completion = std::move(completion)] { completion({}); });
  queue_.post([weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->begin();
  });
}

void Stream::stop(Completion<void> completion) {
  queue_.assertCurrent();
  running_ = false;
  timer_.cancel();
  queue_.post([completion = std::move(completion)] { completion({}); });
}

void Stream::begin() {
  if (!running_) return;
  buffer_ = std::make_shared<MemoryPixelBuffer>(Picture::pixelWidth, Picture::pixelHeight);
  Picture::draw(*buffer_, step_);
  startedAt_ = Clock::now();
  deliver({{0, 0, Picture::width, Picture::height}});
}

void Stream::showStep(std::int64_t step) {
  auto changed = Picture::redraw(*buffer_, step_, step);
  step_ = step;
  deliver(std::move(changed));
}

void Stream::deliver(std::vector<Rect> changed) {
  CapturedFrame frame;
  frame.buffer = buffer_;
  frame.status = FrameStatus::complete;
  frame.scaleFactor = Picture::density;
  frame.dirtyRects = std::move(changed);
  handlers_.onFrame(frame);
  if (running_) awaitStep(step_ + 1);
}

/// When the queue was busy for longer than a step, the steps missed are left out.
void Stream::awaitStep(std::int64_t step) {
  timer_.expires_at(startedAt_ + schedule_.timeOf(step));
  timer_.async_wait([weak = weak_from_this()](const std::error_code& ec) {
    const auto self = weak.lock();
    if (ec || !self || !self->running_) return;
    self->showStep(self->schedule_.stepAt(Clock::now() - self->startedAt_));
  });
}

}  // namespace tarvinel::pattern

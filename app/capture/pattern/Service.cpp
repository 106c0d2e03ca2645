#include "app/capture/pattern/Service.h"

#include "app/capture/pattern/Picture.h"

#include <algorithm>
#include <cstdint>
#include <system_error>
#include <utility>

namespace tarvinel::pattern {

namespace {

constexpr std::uint32_t onlyDisplay = 1;

}  // namespace

void Service::shareableContent(Completion<ShareableContent> completion) {
  queue_.assertCurrent();
  ShareableContent content;
  content.displays.push_back({onlyDisplay, {0, 0, Picture::width, Picture::height}, true});
  queue_.post(
      [completion = std::move(completion), content = std::move(content)] { completion(content); });
}

std::shared_ptr<CaptureStream> Service::makeStream(const ContentFilter& filter,
                                                   const StreamConfiguration& configuration,
                                                   StreamHandlers handlers) {
  queue_.assertCurrent();
  if (filter.kind != ContentFilter::Kind::display || filter.displayID != onlyDisplay) {
    throw Error();
  }
  return std::make_shared<Stream>(queue_, configuration.framesPerSecond, std::move(handlers));
}

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

/// If the queue was busy for longer than a step, the missed steps are skipped.
void Stream::awaitStep(std::int64_t step) {
  timer_.expires_at(startedAt_ + schedule_.timeOf(step));
  timer_.async_wait([weak = weak_from_this()](const std::error_code& ec) {
    const auto self = weak.lock();
    if (ec || !self || !self->running_) return;
    self->showStep(self->schedule_.stepAt(Clock::now() - self->startedAt_));
  });
}

namespace {

constexpr std::int64_t motionSeconds = 5;
constexpr Schedule::Duration second = std::chrono::seconds(1);
constexpr Schedule::Duration cycle = std::chrono::seconds(10);

}  // namespace

Schedule::Schedule(std::int32_t stepsPerSecond) : rate_(std::clamp(stepsPerSecond, 1, 1000)) {}

std::int64_t Schedule::stepAt(Duration elapsed) const {
  const std::int64_t stepsPerCycle = motionSeconds * rate_;
  const std::int64_t within = (elapsed % cycle).count() * rate_ / second.count();
  return elapsed / cycle * stepsPerCycle + std::min(within, stepsPerCycle - 1);
}

Schedule::Duration Schedule::timeOf(std::int64_t step) const {
  const std::int64_t stepsPerCycle = motionSeconds * rate_;
  const Duration exact = step % stepsPerCycle * second;
  // rounded up, so that the step has begun by then
  return step / stepsPerCycle * cycle + (exact + Duration(rate_ - 1)) / rate_;
}

}  // namespace tarvinel::pattern

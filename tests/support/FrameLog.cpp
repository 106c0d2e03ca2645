#include "tests/support/FrameLog.h"

#include <algorithm>
#include <chrono>
#include <stdexcept>
#include <utility>

namespace tarvinel {

namespace {

constexpr auto timeout = std::chrono::seconds(60);

SeenFrame copyOf(const CapturedFrame& frame) {
  PixelBuffer& buffer = *frame.buffer;
  SeenFrame seen{frame, buffer.width(), buffer.height(), {}};
  buffer.lockReadOnly();
  for (std::size_t y = 0; y < buffer.height(); ++y) {
    const std::uint8_t* row = buffer.baseAddress() + y * buffer.bytesPerRow();
    seen.pixels.insert(seen.pixels.end(), row, row + buffer.width() * 4);
  }
  buffer.unlockReadOnly();
  return seen;
}

}  // namespace

std::uint32_t SeenFrame::at(std::size_t x, std::size_t y) const {
  const std::uint8_t* pixel = &pixels.at((y * width + x) * 4);
  return static_cast<std::uint32_t>(pixel[2]) << 16U | static_cast<std::uint32_t>(pixel[1]) << 8U |
         pixel[0];
}

bool SeenFrame::has(std::uint32_t colour) const {
  for (std::size_t i = 0; i < width * height; ++i) {
    if (at(i % width, i / width) == colour) return true;
  }
  return false;
}

StreamHandlers FrameLog::handlers() {
  return {[this](const CapturedFrame& frame) { add(frame); },
          [this](std::exception_ptr error) {
            const std::scoped_lock lock(mutex_);
            stops_.push_back(std::move(error));
            changed_.notify_all();
          }};
}

void FrameLog::add(const CapturedFrame& frame) {
  const std::scoped_lock lock(mutex_);
  frames_.push_back(copyOf(frame));
  changed_.notify_all();
}

SeenFrame FrameLog::frame(std::size_t index) {
  return frameWhere(index, [](const SeenFrame&) { return true; });
}

SeenFrame FrameLog::frameWhere(std::size_t from,
                               const std::function<bool(const SeenFrame&)>& condition) {
  std::unique_lock lock(mutex_);
  std::size_t next = from;
  const auto found = [&] {
    while (next < frames_.size() && !condition(frames_[next]))
      ++next;
    return next < frames_.size();
  };
  if (!changed_.wait_for(lock, timeout, found)) throw std::runtime_error("no such frame came");
  return frames_[next];
}

std::exception_ptr FrameLog::stopReason() {
  std::unique_lock lock(mutex_);
  if (!changed_.wait_for(lock, timeout, [this] { return !stops_.empty(); })) {
    throw std::runtime_error("the stream did not end");
  }
  return stops_.front();
}

SeenFrame FrameLog::last() {
  const std::scoped_lock lock(mutex_);
  return frames_.empty() ? SeenFrame{} : frames_.back();
}

bool FrameLog::hasShown(std::uint32_t colour) {
  const std::scoped_lock lock(mutex_);
  return std::any_of(frames_.begin(), frames_.end(),
                     [&](const SeenFrame& seen) { return seen.has(colour); });
}

std::size_t FrameLog::frameCount() {
  const std::scoped_lock lock(mutex_);
  return frames_.size();
}

std::size_t FrameLog::stopCount() {
  const std::scoped_lock lock(mutex_);
  return stops_.size();
}

}  // namespace tarvinel

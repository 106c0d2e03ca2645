#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/SerialQueue.h"

#include <asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <stdexcept>
#include <vector>

namespace tarvinel::pattern {

/// The timing of the built-in picture: five seconds of motion at a steady rate, then five of
/// stillness, repeatedly. Pure; times count from the start of the stream.
class Schedule {
 public:
  using Duration = std::chrono::nanoseconds;

  /// The rate is clamped to 1 to 1000 steps per second.
  explicit Schedule(std::int32_t stepsPerSecond);

  /// Returns the step shown at that time, counted from 0.
  std::int64_t stepAt(Duration elapsed) const;

  /// Returns when that step begins; the inverse of `stepAt`.
  Duration timeOf(std::int64_t step) const;

 private:
  std::int64_t rate_;
};

/// Plays the built-in picture into one buffer and wakes up only when a step begins. Lives on the
/// capture queue, which outlives it; made by std::make_shared.
class Stream final : public CaptureStream, public std::enable_shared_from_this<Stream> {
 public:
  Stream(SerialQueue& queue, std::int32_t framesPerSecond, StreamHandlers handlers);

  void start(Completion<void> completion) override;
  void stop(Completion<void> completion) override;

 private:
  using Clock = std::chrono::steady_clock;

  void begin();
  void showStep(std::int64_t step);
  void deliver(std::vector<Rect> changed);
  void awaitStep(std::int64_t step);

  SerialQueue& queue_;
  const Schedule schedule_;
  const StreamHandlers handlers_;
  std::shared_ptr<MemoryPixelBuffer> buffer_;  ///< null until the first frame
  asio::steady_timer timer_;
  Clock::time_point startedAt_;
  std::int64_t step_ = 0;  ///< the step in the buffer
  bool running_ = false;
};

/// The error of a request for anything but the built-in picture's one display.
class Error : public std::runtime_error {
 public:
  Error() : std::runtime_error("the built-in picture has one display only") {}
};

/// A virtual screen: one display of double density with the built-in moving picture, for
/// demonstrations, tests and machines whose screen cannot be captured. Lives on the capture queue,
/// which outlives it.
class Service final : public ScreenCaptureService {
 public:
  explicit Service(SerialQueue& queue) : queue_(queue) {}

  void shareableContent(Completion<ShareableContent> completion) override;

  /// Throws Error for anything but display 1.
  std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                            const StreamConfiguration& configuration,
                                            StreamHandlers handlers) override;

 private:
  SerialQueue& queue_;
};

}  // namespace tarvinel::pattern

#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/pattern/Schedule.h"
#include "core/frames/MemoryPixelBuffer.h"
#include "core/support/SerialQueue.h"

#include <asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace tarvinel::pattern {

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
  std::int64_t step_ = 0;  ///< the one in the buffer
  bool running_ = false;
};

}  // namespace tarvinel::pattern

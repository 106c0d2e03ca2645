#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/support/Bytes.h"

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <vector>

namespace tarvinel {

/// One delivered frame with a copy of its pixels at that time.
struct SeenFrame {
  CapturedFrame frame;
  std::size_t width = 0;
  std::size_t height = 0;
  Bytes pixels;  ///< rows of width × 4 bytes

  /// Returns the pixel as 0xRRGGBB.
  std::uint32_t at(std::size_t x, std::size_t y) const;

  bool has(std::uint32_t colour) const;

  /// Returns the dirty rectangles; none if they are not known.
  std::vector<Rect> dirty() const { return frame.dirtyRects.value_or(std::vector<Rect>{}); }
};

/// Records what a stream reports. Its handlers run on the capture queue, the rest in the test.
class FrameLog {
 public:
  StreamHandlers handlers();

  /// Waits for the frame with that position, counted from 0. Throws if it does not come.
  SeenFrame frame(std::size_t index);

  /// Waits for the first frame from that position on for which the condition holds.
  SeenFrame frameWhere(std::size_t from, const std::function<bool(const SeenFrame&)>& condition);

  /// Waits until the stream has ended by itself and returns the reason.
  std::exception_ptr stopReason();

  /// Returns the newest frame; one without pixels if none has come.
  SeenFrame last();

  /// Returns whether a pixel of any frame so far was 0xRRGGBB.
  bool hasShown(std::uint32_t colour);

  std::size_t frameCount();
  std::size_t stopCount();

 private:
  void add(const CapturedFrame& frame);

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<SeenFrame> frames_;
  std::vector<std::exception_ptr> stops_;
};

}  // namespace tarvinel

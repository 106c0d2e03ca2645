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

/// One delivered frame as it was then: the pixels are a copy.
struct SeenFrame {
  CapturedFrame frame;
  std::size_t width = 0;
  std::size_t height = 0;
  Bytes pixels;  ///< rows of width × 4 bytes

  /// 0xRRGGBB.
  std::uint32_t at(std::size_t x, std::size_t y) const;

  bool has(std::uint32_t colour) const;

  /// Absent counts as none.
  std::vector<Rect> dirty() const { return frame.dirtyRects.value_or(std::vector<Rect>{}); }
};

/// Remembers what a stream reports. Its handlers run on the capture queue, the rest in the test.
class FrameLog {
 public:
  StreamHandlers handlers();

  /// The frame with that position, counted from 0; waits for it. Throws when it does not come.
  SeenFrame frame(std::size_t index);

  /// The first frame from that position on for which the condition holds; waits for it.
  SeenFrame frameWhere(std::size_t from, const std::function<bool(const SeenFrame&)>& condition);

  /// Why the stream ended by itself; waits for it.
  std::exception_ptr stopReason();

  /// The newest frame; one without pixels when none has come.
  SeenFrame last();

  /// True when a pixel of any frame so far was 0xRRGGBB.
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

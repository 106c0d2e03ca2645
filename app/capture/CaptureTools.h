#pragma once

#include "core/frames/Frame.h"
#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/Geometry.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"

#include <functional>
#include <memory>
#include <optional>

namespace tarvinel {

/// What the capture needs besides a service and a broadcaster; tests drive it by hand.
struct CaptureTools {
  /// Seconds on a monotonic clock.
  std::function<double()> uptime;

  /// Encodes a picture; see PixelBufferJPEGEncoder::encode.
  std::function<Frame(PixelBuffer& buffer, double quality, const std::optional<Rect>& crop,
                      double scale, ChromaSampling chroma)>
      encode;

  /// Makes the timer that lets settled frames out, every 0.1 s on the capture queue.
  std::function<std::unique_ptr<RepeatingTimer>(SerialQueue& queue, std::function<void()> onTick)>
      makeSettleTimer;

  /// The real ones.
  static CaptureTools system();
};

}  // namespace tarvinel

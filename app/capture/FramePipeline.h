#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/StreamGeometry.h"
#include "core/frames/Frame.h"
#include "core/frames/FramePacer.h"
#include "core/frames/FramePump.h"
#include "core/frames/JPEGWriter.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/Geometry.h"
#include "core/support/Log.h"
#include "core/support/RepeatingTimer.h"
#include "core/support/SerialQueue.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>

namespace tarvinel {

/// How large motion frames have been lately, the newest counting a fifth. Added to on one queue,
/// read from any thread.
class MotionBytesAverage {
 public:
  void add(std::size_t frameBytes) {
    const auto newest = static_cast<double>(frameBytes);
    const double before = bytes_.load();
    bytes_.store(before == 0 ? newest : before * 0.8 + newest * 0.2);
  }

  /// Bytes; 0 before the first frame.
  double value() const { return bytes_.load(); }

 private:
  std::atomic<double> bytes_{0};
};

/// What a sample of a capture stream means for viewers. Pure.
struct FrameMetadata {
  bool usable = false;                  ///< it has a picture, and is complete or idle
  bool idle = false;                    ///< the screen did not change
  std::optional<Rect> crop;             ///< pixels; where in the buffer the content is
  std::optional<double> dirtyFraction;  ///< 0 to 1; absent: nothing is known of the change

  explicit FrameMetadata(const CapturedFrame& frame);
};

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

/// How the frames of one capture are made.
struct FrameSettings {
  static constexpr std::int64_t defaultMotionFPS = 8;

  double crispQuality = 0.92;                 ///< 0 to 1
  double motionQuality = 0.7;                 ///< 0 to 1
  double motionScale = 0.5;                   ///< of the configured size; one pixel per point
  std::int64_t motionFPS = defaultMotionFPS;  ///< frames per second to begin with
  PixelSize configured;                       ///< what crisp frames are fitted into
  double pixelsPerPoint = 2;  ///< of the configured size, should a frame tell the source's
};

/// The road of a frame from the capture to the pump: decides, encodes, hands over. Lives on the
/// capture queue except for what says otherwise.
class FramePipeline {
 public:
  /// The pump must outlive the pipeline.
  FramePipeline(FramePump& pump, Logger logger, CaptureTools tools);

  /// Begins a new capture: nothing of an earlier one is remembered but the average.
  void begin(const FrameSettings& settings);

  /// Forgets the newest picture, so that no settled frame follows.
  void forget();

  /// One sample of the stream.
  void frame(const CapturedFrame& frame);

  /// The settle timer's call, every 0.1 s while `needsTicks`; without it a tick does nothing.
  void tick();
  bool needsTicks() const { return lastBuffer_ != nullptr && pacer_.crispDue(); }

  /// Frames per second while the screen moves, at least 1.
  void setMotionFPS(std::int64_t framesPerSecond) { pacer_.setMotionFPS(framesPerSecond); }

  /// Bytes of a motion frame lately, 0 before the first. Safe from any thread.
  double motionBytesAverage() const { return average_.value(); }

  /// Whether the capture that was begun last has given a frame. Safe from any thread.
  bool hasSentFrame() const { return hasSentFrame_; }

 private:
  void act(FramePacer::Action action);
  Frame encode(bool crisp);
  Frame encodeFitted(double quality, double reduction, ChromaSampling chroma);

  FramePump& pump_;
  const Logger logger_;
  const CaptureTools tools_;
  FrameSettings settings_;
  FramePacer pacer_;
  std::shared_ptr<PixelBuffer> lastBuffer_;  // the newest that carried content
  std::optional<Rect> lastCrop_;             // its content, pixels
  MotionBytesAverage average_;
  std::atomic<bool> hasSentFrame_{false};
};

}  // namespace tarvinel

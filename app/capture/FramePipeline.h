#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/StreamGeometry.h"
#include "app/capture/TilePipeline.h"
#include "core/frames/Frame.h"
#include "core/frames/FrameBroadcaster.h"
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

/// A moving average of the sizes of motion frames, in which the newest counts a fifth. Written on
/// one queue, read from any thread.
class MotionBytesAverage {
 public:
  void add(std::size_t frameBytes) {
    const auto newest = static_cast<double>(frameBytes);
    const double before = bytes_.load();
    bytes_.store(before == 0 ? newest : before * 0.8 + newest * 0.2);
  }

  /// Returns bytes; 0 before the first frame.
  double value() const { return bytes_.load(); }

 private:
  std::atomic<double> bytes_{0};
};

/// The properties of a capture stream's sample that matter to viewers. Pure.
struct FrameMetadata {
  bool usable = false;                  ///< it has a picture, and is complete or idle
  bool idle = false;                    ///< the screen did not change
  std::optional<Rect> crop;             ///< pixels; where in the buffer the content is
  std::optional<double> dirtyFraction;  ///< 0 to 1; nullopt: the change is not known

  explicit FrameMetadata(const CapturedFrame& frame);
};

/// The capture's dependencies besides a service and a broadcaster; tests replace them.
struct CaptureTools {
  /// Returns seconds on a monotonic clock.
  std::function<double()> uptime;

  /// Encodes a picture; see PixelBufferJPEGEncoder::encode.
  std::function<Frame(PixelBuffer& buffer, double quality, const std::optional<Rect>& crop,
                      double scale, ChromaSampling chroma)>
      encode;

  /// Makes the timer that releases settled frames; it fires every 0.1 s on the capture queue.
  std::function<std::unique_ptr<RepeatingTimer>(SerialQueue& queue, std::function<void()> onTick)>
      makeSettleTimer;

  /// Returns the production implementations.
  static CaptureTools system();
};

/// The settings with which the frames of one capture are made.
struct FrameSettings {
  static constexpr std::int64_t defaultMotionFPS = 8;

  double crispQuality = 0.92;                 ///< 0 to 1
  double motionQuality = 0.7;                 ///< 0 to 1
  double motionScale = 0.5;                   ///< of the configured size: one pixel per point
  std::int64_t motionFPS = defaultMotionFPS;  ///< initial frames per second
  PixelSize configured;                       ///< crisp frames are fitted into this size
  double pixelsPerPoint = 2;  ///< gives the configured size if a frame reports the source's
};

/// The path of a picture from the capture to viewers: decides when to send it, encodes it and hands
/// it over, as whole frames and as tiles. Nothing is encoded that no viewer is there for. Lives on
/// the capture queue unless stated otherwise.
class FramePipeline {
 public:
  /// The broadcaster and the pump, which publishes there, must outlive the pipeline.
  FramePipeline(FrameBroadcaster& broadcaster, FramePump& pump, const Logger& logger,
                CaptureTools tools);

  /// Begins a new capture and resets everything but the average.
  void begin(const FrameSettings& settings);

  /// Forgets the newest picture, so that no settled frame follows.
  void forget();

  /// Handles one sample of the stream.
  void frame(const CapturedFrame& frame);

  /// Is called by the settle timer, every 0.1 s while `needsTicks`; otherwise a tick does nothing.
  void tick();
  bool needsTicks() const {
    return lastBuffer_ != nullptr && (pacer_.crispDue() || tiles_.needsTicks());
  }

  /// Sends the picture as it is now to viewers who do not have it, as after joining.
  void viewerWaits();

  /// Sets the frames per second while the screen moves, at least 1.
  void setMotionFPS(std::int64_t framesPerSecond) {
    pacer_.setMotionFPS(framesPerSecond);
    tiles_.setMotionFPS(framesPerSecond);
  }

  /// Returns the recent average size in bytes of a motion frame or, while all viewers get tiles, of
  /// the tiles encoded at a time for a large change; 0 at first. Safe from any thread.
  double motionBytesAverage() const { return average_.value(); }

  /// Returns whether the capture that was begun last has had a picture for viewers. Safe from any
  /// thread.
  bool hasSentFrame() const { return hasSentFrame_; }

 private:
  bool isFrameWanted() const;
  double scale(double reduction) const;
  void makeTiles(const CapturedFrame& frame);
  void act(FramePacer::Action action);
  void send(bool crisp);
  Frame encode(bool crisp);
  Frame encodeFitted(double quality, double reduction, ChromaSampling chroma);

  FrameBroadcaster& broadcaster_;
  FramePump& pump_;
  const Logger logger_;
  const CaptureTools tools_;
  FrameSettings settings_;
  FramePacer pacer_;
  TilePipeline tiles_;
  bool isFrameStale_ = false;                // the picture has changed since a frame was sent
  std::shared_ptr<PixelBuffer> lastBuffer_;  // the newest that carried content
  std::optional<Rect> lastCrop_;             // where its content is, pixels
  MotionBytesAverage average_;
  std::atomic<bool> hasSentFrame_{false};
};

}  // namespace tarvinel

#pragma once

#include "app/capture/CaptureTools.h"
#include "app/capture/MotionBytesAverage.h"
#include "app/capture/ScreenCaptureService.h"
#include "app/capture/StreamGeometry.h"
#include "core/frames/FramePacer.h"
#include "core/frames/FramePump.h"
#include "core/support/Geometry.h"
#include "core/support/Log.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>

namespace tarvinel {

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

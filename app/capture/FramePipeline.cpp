#include "app/capture/FramePipeline.h"

#include "core/frames/PixelBuffer.h"
#include "core/frames/PixelBufferJPEGEncoder.h"

#include <algorithm>
#include <chrono>
#include <exception>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::int64_t minorFPS = 2;
constexpr double settleDelay = 0.5;  // seconds

FramePacer pacerAt(std::int64_t motionFPS) {
  return {motionFPS, settleDelay, minorFPS};
}

PixelSize pictureSize(const PixelBuffer& buffer, const std::optional<Rect>& crop) {
  const PixelRect area = croppedArea(buffer.width(), buffer.height(), crop);
  return {area.width, area.height};
}

}  // namespace

FramePipeline::FramePipeline(FramePump& pump, Logger logger, CaptureTools tools)
    : pump_(pump),
      logger_(std::move(logger)),
      tools_(std::move(tools)),
      pacer_(pacerAt(FrameSettings::defaultMotionFPS)) {}

void FramePipeline::begin(const FrameSettings& settings) {
  settings_ = settings;
  pacer_ = pacerAt(settings.motionFPS);
  forget();
}

void FramePipeline::forget() {
  hasSentFrame_ = false;
  lastBuffer_.reset();
  lastCrop_.reset();
}

void FramePipeline::frame(const CapturedFrame& frame) {
  const FrameMetadata metadata(frame);
  if (!metadata.usable) return;
  if (frame.sourceSize) {
    settings_.configured = configuredSize(*frame.sourceSize, settings_.pixelsPerPoint);
  }
  if (!metadata.idle) {
    lastBuffer_ = frame.buffer;
    lastCrop_ = metadata.crop;
  }
  act(pacer_.frame(FramePacer::change(metadata.dirtyFraction, metadata.idle), tools_.uptime()));
}

void FramePipeline::tick() {
  act(pacer_.tick(tools_.uptime()));
}

void FramePipeline::act(FramePacer::Action action) {
  if (action == FramePacer::Action::skip || !lastBuffer_) return;
  const bool crisp = action == FramePacer::Action::sendCrisp;
  const Frame frame = encode(crisp);
  if (!frame) return;
  if (!crisp) average_.add(frame->size());
  pump_.offer(frame);
  hasSentFrame_ = true;
}

// Returns null if encoding failed; the next frame tries again.
Frame FramePipeline::encode(bool crisp) {
  try {
    return crisp ? encodeFitted(settings_.crispQuality, 1.0, ChromaSampling::full)
                 : encodeFitted(settings_.motionQuality, settings_.motionScale,
                                ChromaSampling::quartered);
  } catch (const std::exception& error) {
    logger_->error("encode failed {}x{}: {}", lastBuffer_->width(), lastBuffer_->height(),
                   error.what());
    return nullptr;
  }
}

Frame FramePipeline::encodeFitted(double quality, double reduction, ChromaSampling chroma) {
  const PixelSize delivered = pictureSize(*lastBuffer_, lastCrop_);
  const double scale = fittingScale(delivered, settings_.configured, reduction);
  return tools_.encode(*lastBuffer_, quality, lastCrop_, scale, chroma);
}

namespace {

constexpr std::chrono::milliseconds settleInterval{100};

double secondsSinceBoot() {
  return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

}  // namespace

CaptureTools CaptureTools::system() {
  return {secondsSinceBoot, PixelBufferJPEGEncoder::encode,
          [](SerialQueue& queue, std::function<void()> onTick) {
            return std::make_unique<QueueTimer>(queue, settleInterval, std::move(onTick));
          }};
}

namespace {

std::optional<Rect> cropOf(const CapturedFrame& frame) {
  if (!frame.contentRect || !frame.scaleFactor) return std::nullopt;
  const Rect& points = *frame.contentRect;
  const double scale = *frame.scaleFactor;
  return Rect{points.x * scale, points.y * scale, points.width * scale, points.height * scale};
}

// Overlapping rectangles are counted twice: merging them costs more than the precision is worth.
double dirtyPixels(const std::vector<Rect>& rectangles, double scale) {
  double area = 0;
  for (const Rect& points : rectangles) {
    if (!points.isEmpty()) area += (points.width * scale) * (points.height * scale);
  }
  return area;
}

std::optional<double> dirtyFractionOf(const CapturedFrame& frame) {
  if (!frame.dirtyRects) return std::nullopt;
  const double pixels =
      static_cast<double>(frame.buffer->width()) * static_cast<double>(frame.buffer->height());
  if (pixels < 1) return std::nullopt;
  return std::min(dirtyPixels(*frame.dirtyRects, frame.scaleFactor.value_or(1)) / pixels, 1.0);
}

}  // namespace

FrameMetadata::FrameMetadata(const CapturedFrame& frame) {
  const FrameStatus status = frame.status.value_or(FrameStatus::complete);
  usable = frame.buffer != nullptr && status <= FrameStatus::idle;
  if (!usable) return;
  idle = status == FrameStatus::idle;
  crop = cropOf(frame);
  dirtyFraction = dirtyFractionOf(frame);
}

}  // namespace tarvinel

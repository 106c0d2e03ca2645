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

Rect pixelsOf(const Rect& points, double scale) {
  return {points.x * scale, points.y * scale, points.width * scale, points.height * scale};
}

std::optional<std::vector<Rect>> dirtyPixelsOf(const CapturedFrame& frame) {
  if (!frame.dirtyRects) return std::nullopt;
  std::vector<Rect> pixels;
  for (const Rect& points : *frame.dirtyRects)
    pixels.push_back(pixelsOf(points, frame.scaleFactor.value_or(1)));
  return pixels;
}

PixelSize pictureSize(const PixelBuffer& buffer, const std::optional<Rect>& crop) {
  const PixelRect area = croppedArea(buffer.width(), buffer.height(), crop);
  return {area.width, area.height};
}

}  // namespace

FramePipeline::FramePipeline(FrameBroadcaster& broadcaster, FramePump& pump, const Logger& logger,
                             CaptureTools tools)
    : broadcaster_(broadcaster),
      pump_(pump),
      logger_(logger),
      tools_(std::move(tools)),
      pacer_(pacerAt(FrameSettings::defaultMotionFPS)),
      tiles_(broadcaster, logger) {}

void FramePipeline::begin(const FrameSettings& settings) {
  settings_ = settings;
  pacer_ = pacerAt(settings.motionFPS);
  tiles_.begin({.motion = libraryQuality(settings.motionQuality),
                .settled = libraryQuality(settings.crispQuality)},
               settings.motionFPS);
  forget();
}

void FramePipeline::forget() {
  hasSentFrame_ = false;
  isFrameStale_ = false;
  tiles_.forget();
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
    makeTiles(frame);
  }
  act(pacer_.frame(FramePacer::change(metadata.dirtyFraction, metadata.idle), tools_.uptime()));
}

void FramePipeline::makeTiles(const CapturedFrame& frame) {
  tiles_.frame({frame.buffer, lastCrop_, scale(1.0), scale(settings_.motionScale)},
               dirtyPixelsOf(frame), tools_.uptime());
  if (tiles_.motionBytes() > 0 && !isFrameWanted()) average_.add(tiles_.motionBytes());
  if (broadcaster_.hasTiles()) hasSentFrame_ = true;
}

void FramePipeline::tick() {
  const double now = tools_.uptime();
  tiles_.tick(now);
  act(pacer_.tick(now));
}

void FramePipeline::viewerWaits() {
  tiles_.viewerWaits(tools_.uptime());
  const bool isMissing = isFrameStale_ || tiles_.isUnable();
  if (lastBuffer_ && isMissing && isFrameWanted()) send(true);
}

bool FramePipeline::isFrameWanted() const {
  return broadcaster_.frameViewerCount() > 0 ||
         (tiles_.isUnable() && broadcaster_.tileViewerCount() > 0);
}

// A retained frame that is out of date is nothing for a viewer who joins later.
void FramePipeline::act(FramePacer::Action action) {
  if (action == FramePacer::Action::skip || !lastBuffer_) return;
  if (isFrameWanted()) {
    send(action == FramePacer::Action::sendCrisp);
  } else {
    isFrameStale_ = true;
    hasSentFrame_ = true;
    broadcaster_.clearLatest();
  }
}

void FramePipeline::send(bool crisp) {
  const Frame frame = encode(crisp);
  if (!frame) return;
  if (!crisp) average_.add(frame->size());
  pump_.offer(frame);
  isFrameStale_ = false;
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
  return tools_.encode(*lastBuffer_, quality, lastCrop_, scale(reduction), chroma);
}

double FramePipeline::scale(double reduction) const {
  return fittingScale(pictureSize(*lastBuffer_, lastCrop_), settings_.configured, reduction);
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
  return pixelsOf(*frame.contentRect, *frame.scaleFactor);
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

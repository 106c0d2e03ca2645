#include "app/capture/FrameFacts.h"

#include <algorithm>

namespace tarvinel {

namespace {

std::optional<Rect> cropOf(const CapturedFrame& frame) {
  if (!frame.contentRect || !frame.scaleFactor) return std::nullopt;
  const Rect& points = *frame.contentRect;
  const double scale = *frame.scaleFactor;
  return Rect{points.x * scale, points.y * scale, points.width * scale, points.height * scale};
}

// Rectangles that overlap are counted twice: merging them would cost more than it tells.
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

FrameFacts::FrameFacts(const CapturedFrame& frame) {
  const FrameStatus status = frame.status.value_or(FrameStatus::complete);
  usable = frame.buffer != nullptr && status <= FrameStatus::idle;
  if (!usable) return;
  idle = status == FrameStatus::idle;
  crop = cropOf(frame);
  dirtyFraction = dirtyFractionOf(frame);
}

}  // namespace tarvinel

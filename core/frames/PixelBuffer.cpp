#include "core/frames/PixelBuffer.h"

#include <algorithm>
#include <limits>
#include <stdexcept>

namespace tarvinel {

PixelRect croppedArea(std::size_t width, std::size_t height, const std::optional<Rect>& crop) {
  const PixelRect whole{0, 0, static_cast<std::int32_t>(width), static_cast<std::int32_t>(height)};
  if (!crop) return whole;
  const Rect common = crop->intersection(whole.rect());
  if (common.isEmpty()) return whole;
  const Rect pixels = common.integral();
  const auto left = static_cast<std::int32_t>(pixels.x);
  const auto top = static_cast<std::int32_t>(pixels.y);
  // x + width may round up past the edge that width was computed from
  const std::int32_t right = std::min(whole.width, static_cast<std::int32_t>(pixels.maxX()));
  const std::int32_t bottom = std::min(whole.height, static_cast<std::int32_t>(pixels.maxY()));
  return {left, top, right - left, bottom - top};
}

namespace {

std::size_t byteCount(std::size_t width, std::size_t height) {
  if (width != 0 && height > std::numeric_limits<std::size_t>::max() / 4 / width) {
    throw std::length_error("picture too large");
  }
  return width * height * 4;
}

}  // namespace

MemoryPixelBuffer::MemoryPixelBuffer(std::size_t width, std::size_t height)
    : width_(width), height_(height), pixels_(byteCount(width, height)) {}

}  // namespace tarvinel

#pragma once

#include "core/support/Geometry.h"

#include <algorithm>
#include <cstdint>

namespace tarvinel {

/// A rectangle of whole pixels. Whoever makes one keeps its numbers to some 20 bits, so that the
/// sums never overflow.
struct PixelRect {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;

  bool operator==(const PixelRect&) const = default;

  std::int32_t maxX() const { return x + width; }
  std::int32_t maxY() const { return y + height; }
  bool isEmpty() const { return width <= 0 || height <= 0; }

  /// The common part of both; empty when there is none.
  PixelRect intersection(const PixelRect& other) const {
    const std::int32_t left = std::max(x, other.x);
    const std::int32_t top = std::max(y, other.y);
    return {left, top, std::min(maxX(), other.maxX()) - left, std::min(maxY(), other.maxY()) - top};
  }

  /// The same rectangle seen from a plane whose origin lies at (left, top).
  PixelRect relativeTo(std::int32_t left, std::int32_t top) const {
    return {x - left, y - top, width, height};
  }

  Rect rect() const {
    return {static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
            static_cast<double>(height)};
  }
};

}  // namespace tarvinel

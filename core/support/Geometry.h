#pragma once

#include <algorithm>
#include <cstdint>
#include <vector>

namespace tarvinel {

/// Width and height, in points or pixels as specified by the owner.
struct Size {
  double width = 0;
  double height = 0;

  bool operator==(const Size&) const = default;
};

/// A picture's size in whole pixels.
struct PixelSize {
  std::int64_t width = 0;
  std::int64_t height = 0;

  bool operator==(const PixelSize&) const = default;
};

/// A point in the plane, y growing downward.
struct Point {
  double x = 0;
  double y = 0;

  bool operator==(const Point&) const = default;
};

/// An axis-parallel rectangle, y growing downward. A plain value; no operation rounds except
/// `integral`.
struct Rect {
  double x = 0;
  double y = 0;
  double width = 0;
  double height = 0;

  bool operator==(const Rect&) const = default;

  double maxX() const { return x + width; }
  double maxY() const { return y + height; }
  double area() const { return width * height; }
  Point midpoint() const { return {x + width / 2, y + height / 2}; }

  /// Returns true if the rectangle covers nothing (not even a line). NaN counts as empty.
  bool isEmpty() const { return !(width > 0 && height > 0); }

  /// Returns whether a point is inside; the minimum edges are, the maximum edges are not.
  bool contains(Point point) const {
    return point.x >= x && point.x < maxX() && point.y >= y && point.y < maxY();
  }

  /// Returns the common part of both, or an empty rectangle.
  Rect intersection(const Rect& other) const;

  /// Returns the smallest rectangle with whole-number edges that contains this one.
  Rect integral() const;
};

/// A rectangle of whole pixels. Its creator limits the numbers to some 20 bits, so that the sums
/// never overflow.
struct PixelRect {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::int32_t width = 0;
  std::int32_t height = 0;

  bool operator==(const PixelRect&) const = default;

  std::int32_t maxX() const { return x + width; }
  std::int32_t maxY() const { return y + height; }
  bool isEmpty() const { return width <= 0 || height <= 0; }

  /// Returns the common part of both; it is empty if there is none.
  PixelRect intersection(const PixelRect& other) const {
    const std::int32_t left = std::max(x, other.x);
    const std::int32_t top = std::max(y, other.y);
    return {left, top, std::min(maxX(), other.maxX()) - left, std::min(maxY(), other.maxY()) - top};
  }

  /// Returns the same rectangle in the coordinates of a plane whose origin is at (left, top).
  PixelRect relativeTo(std::int32_t left, std::int32_t top) const {
    return {x - left, y - top, width, height};
  }

  Rect rect() const {
    return {static_cast<double>(x), static_cast<double>(y), static_cast<double>(width),
            static_cast<double>(height)};
  }
};

using PixelRects = std::vector<PixelRect>;

}  // namespace tarvinel

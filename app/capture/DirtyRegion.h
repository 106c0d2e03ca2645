#pragma once

#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel {

/// A run of whole rows of a picture.
struct RowBand {
  std::int32_t first = 0;
  std::int32_t count = 0;

  bool operator==(const RowBand&) const = default;

  std::int32_t end() const { return first + count; }
  bool meets(const RowBand& other) const { return first < other.end() && other.first < end(); }
};

/// The changed parts of a picture that shows one area of the screen. Pure.
class DirtyRegion {
 public:
  /// `area` is the picture's place on the screen, in pixels.
  explicit DirtyRegion(const PixelRect& area) : area_(area) {}

  /// Adds a rectangle in screen coordinates, clipped to the area.
  void add(const PixelRect& onScreen);

  bool isEmpty() const { return rects_.empty(); }

  /// Returns the changed rectangles in the picture's pixels, in the order added; they may overlap.
  std::vector<Rect> rects() const;

  /// Returns the rows that contain them: ascending, disjoint, not touching. The rows of
  /// `inseparable` are included all or not at all.
  std::vector<RowBand> bands(const std::optional<RowBand>& inseparable) const;

 private:
  PixelRect area_;
  PixelRects rects_;  ///< in the picture's pixels, none empty
};

}  // namespace tarvinel

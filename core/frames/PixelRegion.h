#pragma once

#include "core/support/Geometry.h"

#include <cstddef>
#include <optional>

namespace tarvinel {

/// A rectangle of whole pixels inside a picture.
struct PixelRegion {
  std::size_t x = 0;
  std::size_t y = 0;
  std::size_t width = 0;
  std::size_t height = 0;

  bool operator==(const PixelRegion&) const = default;
};

/// The part of a picture of `width` × `height` pixels that `crop` (pixels, origin at the first
/// pixel of the first row) asks for: widened to whole pixels and cut at the edges. The whole
/// picture when nothing is asked for or nothing would be left.
PixelRegion croppedRegion(std::size_t width, std::size_t height, const std::optional<Rect>& crop);

}  // namespace tarvinel

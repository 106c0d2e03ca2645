#pragma once

#include "core/support/Geometry.h"

#include <cstddef>
#include <optional>

namespace tarvinel::portal {

/// How many pixels of the pictures make a point of what is shared. The desktop tells the size in
/// points but once, while windows grow and screens are turned: the density is what stays.
class PictureDensity {
 public:
  PictureDensity() = default;

  /// `told`: points of what is shared when its first picture is taken; absent: not known.
  explicit PictureDensity(const std::optional<Size>& told) : told_(told) {}

  /// The points of a picture of so many pixels, of which there is at least one; absent as told.
  std::optional<Size> points(std::size_t width, std::size_t height);

 private:
  std::optional<Size> told_;
  std::optional<double> pixelsPerPoint_;  ///< absent before the first picture
};

}  // namespace tarvinel::portal

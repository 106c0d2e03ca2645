#include "app/capture/portal/PictureDensity.h"

#include <algorithm>
#include <cmath>

namespace tarvinel::portal {

/// Areas are compared: the picture may lie where what was told stands. Fewer pixels than points
/// come of a window that is only a part of what was told.
std::optional<Size> PictureDensity::points(std::size_t width, std::size_t height) {
  if (!told_) return std::nullopt;
  const auto wide = static_cast<double>(width);
  const auto high = static_cast<double>(height);
  if (!pixelsPerPoint_) {
    pixelsPerPoint_ = std::max(1.0, std::sqrt(wide * high / (told_->width * told_->height)));
  }
  return Size{wide / *pixelsPerPoint_, high / *pixelsPerPoint_};
}

}  // namespace tarvinel::portal

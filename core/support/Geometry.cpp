#include "core/support/Geometry.h"

#include <algorithm>
#include <cmath>

namespace tarvinel {

Rect Rect::intersection(const Rect& other) const {
  if (isEmpty() || other.isEmpty()) return {};
  const double left = std::max(x, other.x);
  const double top = std::max(y, other.y);
  const Rect common{left, top, std::min(maxX(), other.maxX()) - left,
                    std::min(maxY(), other.maxY()) - top};
  return common.isEmpty() ? Rect{} : common;
}

Rect Rect::integral() const {
  const double left = std::floor(x);
  const double top = std::floor(y);
  return {left, top, std::ceil(maxX()) - left, std::ceil(maxY()) - top};
}

}  // namespace tarvinel

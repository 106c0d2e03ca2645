#include "app/capture/StreamGeometry.h"

#include "core/support/FatalError.h"

#include <algorithm>

namespace tarvinel {

namespace {

std::int64_t configuredLength(double points, double scale) {
  constexpr double limit = 9223372036854775808.0;  // 2^63
  const double pixels = points * scale;
  if (!(pixels > -limit && pixels < limit)) fatalError("captured size is not a number");
  return std::max<std::int64_t>(2, static_cast<std::int64_t>(pixels));
}

double ratio(std::int64_t length, std::int64_t of) {
  return static_cast<double>(length) / static_cast<double>(of);
}

// The configured size was truncated, so a picture that is too large by less than a pixel is kept:
// scaling would only blur it.
bool keeps(std::int64_t length, double scale) {
  return static_cast<double>(length) * (1 - scale) < 0.999;  // tolerates rounding errors
}

}  // namespace

PixelSize configuredSize(const Size& points, double scale) {
  return {configuredLength(points.width, scale), configuredLength(points.height, scale)};
}

double fittingScale(const PixelSize& delivered, const PixelSize& configured, double reduction) {
  if (delivered.width < 1 || delivered.height < 1) return 1;
  if (delivered == configured) return std::min(reduction, 1.0);
  // the encoder truncates: without the nudge a product such as 1511.9999 would lose a pixel
  constexpr double nudge = 1 + 1e-10;
  const double scale = reduction * nudge *
                       std::min(ratio(configured.width, delivered.width),
                                ratio(configured.height, delivered.height));
  const bool fits = scale >= 1 || (keeps(delivered.width, scale) && keeps(delivered.height, scale));
  return fits ? 1 : scale;
}

}  // namespace tarvinel

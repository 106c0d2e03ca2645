#pragma once

#include "core/support/Geometry.h"

#include <cstdint>

namespace tarvinel {

/// Returns the size at which a source of `points` is captured with `scale` pixels per point:
/// truncated, at least 2 each way. A size that is not a number terminates the program.
PixelSize configuredSize(const Size& points, double scale);

/// Returns the scale, at most 1, at which a delivered picture fits into the configured size reduced
/// by `reduction` (at most 1): exactly `reduction` for a picture of the configured size, and 1 for
/// one that is too large by less than a pixel.
double fittingScale(const PixelSize& delivered, const PixelSize& configured, double reduction);

}  // namespace tarvinel

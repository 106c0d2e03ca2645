#pragma once

#include "core/support/Geometry.h"

#include <cstdint>

namespace tarvinel {

/// The size at which a source of `points` is captured with `scale` pixels per point: truncated, at
/// least 2 each way. A size that is not a number stops the program.
PixelSize configuredSize(const Size& points, double scale);

/// The scale, at most 1, at which a delivered picture fits into the configured size reduced by
/// `reduction` (at most 1). A picture of just the configured size gives exactly `reduction`; one
/// that is too large by less than a pixel gives 1.
double fittingScale(const PixelSize& delivered, const PixelSize& configured, double reduction);

}  // namespace tarvinel

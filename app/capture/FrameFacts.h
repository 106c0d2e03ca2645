#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/support/Geometry.h"

#include <optional>

namespace tarvinel {

/// What a sample of a capture stream means for viewers. Pure.
struct FrameFacts {
  bool usable = false;                  ///< it has a picture, and is complete or idle
  bool idle = false;                    ///< the screen did not change
  std::optional<Rect> crop;             ///< pixels; where in the buffer the content is
  std::optional<double> dirtyFraction;  ///< 0 to 1; absent: nothing is known of the change

  explicit FrameFacts(const CapturedFrame& frame);
};

}  // namespace tarvinel

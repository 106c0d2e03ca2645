#pragma once

#include "app/capture/portal/RawPicture.h"
#include "app/capture/portal/VideoTransform.h"
#include "core/support/PixelRect.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel::portal {

/// The newest picture of a stream whose producer turned it, upright. Lives on the capture queue.
class FrameRotator {
 public:
  using Rects = std::vector<PixelRect>;

  struct Turned {
    RawPicture picture;            ///< borrowed from here until the next one
    std::optional<Rects> changed;  ///< in it; absent: not known
  };

  /// Takes over what has changed since the last picture (not known: all of it). One that is upright
  /// already is passed through.
  Turned turn(const RawPicture& picture, const VideoTransform& transform,
              const std::optional<Rects>& changed);

 private:
  std::vector<std::uint8_t> pixels_;
  PixelRect turned_;  ///< the producer's picture; empty before the first
  VideoTransform transform_;
};

}  // namespace tarvinel::portal

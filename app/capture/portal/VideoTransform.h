#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/portal/RawPicture.h"
#include "core/support/Geometry.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel::portal {

/// The rotation of a producer's pictures away from upright: counter-clockwise by a number of
/// quarter turns, after an optional mirroring left to right. Plain value; all functions are pure.
class VideoTransform {
 public:
  constexpr VideoTransform() = default;

  /// Reads a producer's number for it (SPA_META_TRANSFORMATION_*); upright if that is invalid.
  static constexpr VideoTransform read(std::uint32_t number) {
    return number < 8 ? VideoTransform(number % 4, number >= 4) : VideoTransform();
  }

  bool operator==(const VideoTransform&) const = default;

  bool isUpright() const { return *this == VideoTransform(); }

  /// Returns the upright picture's area; `turned` is the producer's. Both begin at 0, 0.
  PixelRect uprightArea(const PixelRect& turned) const;

  /// Returns the place in the upright picture of a rectangle of the producer's picture `turned`.
  PixelRect upright(const PixelRect& rect, const PixelRect& turned) const;

  /// Returns the cursor of the producer's picture as it is in the upright one.
  CursorImage upright(const CursorImage& cursor, const PixelRect& turned) const;

  /// Writes the picture upright to `pixels`, rows of `bytesPerRow` bytes that do not overlap it.
  /// Throws std::runtime_error if there is no memory for that, or its rows are not whole pixels
  /// apart.
  void write(const RawPicture& picture, std::uint8_t* pixels, std::size_t bytesPerRow) const;

 private:
  constexpr VideoTransform(std::uint32_t quarters, bool mirrored)
      : quarters_(quarters), mirrored_(mirrored) {}

  std::uint32_t quarters_ = 0;  ///< counter-clockwise, 0 to 3
  bool mirrored_ = false;       ///< before the rotation
};

/// The newest picture of a stream, rotated upright. Lives on the capture queue.
class FrameRotator {
 public:
  struct Turned {
    RawPicture picture;                 ///< borrowed from here until the next one
    std::optional<PixelRects> changed;  ///< in it; nullopt: not known
  };

  /// Copies what has changed since the last picture (nullopt: all of it). One that is upright
  /// already is passed through.
  Turned turn(const RawPicture& picture, const VideoTransform& transform,
              const std::optional<PixelRects>& changed);

 private:
  std::vector<std::uint8_t> pixels_;
  PixelRect turned_;  ///< the producer's picture; empty before the first
  VideoTransform transform_;
};

}  // namespace tarvinel::portal

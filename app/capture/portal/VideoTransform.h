#pragma once

#include "app/capture/CursorImage.h"
#include "app/capture/portal/RawPicture.h"
#include "core/support/PixelRect.h"

#include <cstdint>

namespace tarvinel::portal {

/// How a producer has turned its pictures away from upright: counter-clockwise by so many quarters
/// of a circle, after it mirrored them left to right or did not. Plain value; all functions are
/// pure.
class VideoTransform {
 public:
  constexpr VideoTransform() = default;

  /// Reads the number by which a producer tells it (SPA_META_TRANSFORMATION_*); upright when that
  /// makes no sense.
  static constexpr VideoTransform read(std::uint32_t number) {
    return number < 8 ? VideoTransform(number % 4, number >= 4) : VideoTransform();
  }

  bool operator==(const VideoTransform&) const = default;

  bool isUpright() const { return *this == VideoTransform(); }

  /// The place of an upright picture of which `turned` is the producer's; both begin at 0, 0.
  PixelRect uprightArea(const PixelRect& turned) const;

  /// Where a rectangle of the producer's picture of that area is in the upright one.
  PixelRect upright(const PixelRect& rect, const PixelRect& turned) const;

  /// The cursor of the producer's picture as it is in the upright one.
  CursorImage upright(const CursorImage& cursor, const PixelRect& turned) const;

  /// Writes the picture upright to `pixels`, rows of `bytesPerRow` bytes that do not overlap it.
  /// Throws std::runtime_error when there is no memory for that, or its rows are not whole pixels
  /// apart.
  void write(const RawPicture& picture, std::uint8_t* pixels, std::size_t bytesPerRow) const;

 private:
  constexpr VideoTransform(std::uint32_t quarters, bool mirrored)
      : quarters_(quarters), mirrored_(mirrored) {}

  std::uint32_t quarters_ = 0;  ///< counter-clockwise, 0 to 3
  bool mirrored_ = false;       ///< before
};

}  // namespace tarvinel::portal

#pragma once

#include "core/frames/PixelRegion.h"

#include <cstddef>
#include <cstdint>

namespace tarvinel {

/// Borrowed BGRA pixels. Valid as long as the memory's owner says.
struct PixelView {
  const std::uint8_t* pixels = nullptr;  ///< first byte of the first row
  std::size_t width = 0;                 ///< pixels
  std::size_t height = 0;                ///< pixels
  std::size_t bytesPerRow = 0;           ///< at least width × 4

  const std::uint8_t* row(std::size_t y) const { return pixels + y * bytesPerRow; }

  /// The same memory seen through a region that lies inside this view.
  PixelView part(const PixelRegion& region) const {
    return {row(region.y) + region.x * 4, region.width, region.height, bytesPerRow};
  }
};

}  // namespace tarvinel

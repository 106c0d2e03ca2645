#pragma once

#include "app/capture/DirtyRegion.h"
#include "core/support/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel {

/// The mouse cursor as it appears on the screen. Plain value.
struct CursorImage {
  PixelRect area;                     ///< screen pixels
  std::uint32_t serial = 0;           ///< identifies the picture: another one has another serial
  std::vector<std::uint32_t> pixels;  ///< row by row, 0xAARRGGBB, colours premultiplied

  /// Returns whether both look the same at the same place.
  bool sameAs(const CursorImage& other) const {
    return area == other.area && serial == other.serial;
  }
};

/// Returns the rows of a picture of `frame` (screen pixels) that the cursor covers, or nullopt if
/// it covers none.
std::optional<RowBand> cursorRows(const CursorImage& cursor, const PixelRect& frame);

/// Draws the part of the cursor that lies inside `frame` (screen pixels) over a BGRA picture of it.
void blendCursor(const CursorImage& cursor, const PixelRect& frame, std::uint8_t* pixels,
                 std::size_t bytesPerRow);

}  // namespace tarvinel

#include "app/capture/CursorImage.h"

#include <algorithm>

namespace tarvinel {

namespace {

// A hostile server may send colours larger than their alpha, so the sum is capped.
std::uint8_t over(std::uint32_t colour, std::uint32_t alpha, std::uint8_t below) {
  const std::uint32_t shown = (below * (255U - alpha) + 127U) / 255U;
  return static_cast<std::uint8_t>(std::min(colour + shown, 255U));
}

void blendPixel(std::uint32_t argb, std::uint8_t* bgra) {
  const std::uint32_t alpha = argb >> 24U;
  bgra[0] = over(argb & 0xFFU, alpha, bgra[0]);
  bgra[1] = over((argb >> 8U) & 0xFFU, alpha, bgra[1]);
  bgra[2] = over((argb >> 16U) & 0xFFU, alpha, bgra[2]);
}

}  // namespace

std::optional<RowBand> cursorRows(const CursorImage& cursor, const PixelRect& frame) {
  const PixelRect visible = cursor.area.intersection(frame);
  if (visible.isEmpty()) return std::nullopt;
  return RowBand{visible.y - frame.y, visible.height};
}

void blendCursor(const CursorImage& cursor, const PixelRect& frame, std::uint8_t* pixels,
                 std::size_t bytesPerRow) {
  const PixelRect visible = cursor.area.intersection(frame);
  for (std::int32_t y = visible.y; y < visible.maxY(); ++y) {
    const auto sourceRow =
        static_cast<std::size_t>(y - cursor.area.y) * static_cast<std::size_t>(cursor.area.width);
    std::uint8_t* row = pixels + static_cast<std::size_t>(y - frame.y) * bytesPerRow;
    for (std::int32_t x = visible.x; x < visible.maxX(); ++x) {
      blendPixel(cursor.pixels[sourceRow + static_cast<std::size_t>(x - cursor.area.x)],
                 row + static_cast<std::size_t>(x - frame.x) * 4);
    }
  }
}

}  // namespace tarvinel

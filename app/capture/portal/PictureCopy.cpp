#include "app/capture/portal/PictureCopy.h"

#include <algorithm>
#include <utility>

namespace tarvinel {

std::optional<RawPicture> PictureCopy::read(const SharedMemory& memory, std::int64_t place,
                                            const RawPicture& layout,
                                            const std::optional<Rects>& changed) {
  const PixelRect area = layout.area();
  const std::size_t rowBytes = static_cast<std::size_t>(area.width) * bytesPerPixel;
  const bool isKnown = std::exchange(area_, PixelRect()) == area && changed;
  pixels_.resize(rowBytes * static_cast<std::size_t>(area.height));
  const Rects parts = isKnown ? *changed : Rects{area};
  const bool isRead = std::all_of(parts.begin(), parts.end(), [&](const PixelRect& part) {
    return readPart(memory, place, layout, part);
  });
  if (!isRead) return std::nullopt;
  area_ = area;
  return RawPicture{pixels_.data(), area.width, area.height, rowBytes, layout.order};
}

/// In one go where the part's rows follow on each other, there and here.
bool PictureCopy::readPart(const SharedMemory& memory, std::int64_t place, const RawPicture& layout,
                           const PixelRect& part) {
  const std::size_t rowBytes = static_cast<std::size_t>(layout.width) * bytesPerPixel;
  const std::size_t partBytes = static_cast<std::size_t>(part.width) * bytesPerPixel;
  const bool isOnePiece = partBytes == rowBytes && layout.bytesPerRow == rowBytes;
  const std::int32_t rowsAtOnce = isOnePiece ? part.height : 1;
  for (std::int32_t y = part.y; y < part.maxY(); y += rowsAtOnce) {
    const auto row = static_cast<std::size_t>(y);
    const std::size_t before = static_cast<std::size_t>(part.x) * bytesPerPixel;
    const std::size_t count = partBytes * static_cast<std::size_t>(rowsAtOnce);
    const auto from = static_cast<std::int64_t>(row * layout.bytesPerRow + before);
    if (!memory.read(place + from, pixels_.data() + row * rowBytes + before, count)) return false;
  }
  return true;
}

}  // namespace tarvinel

#include "app/capture/portal/RawPicture.h"

#include <algorithm>
#include <limits>

namespace tarvinel::portal {

namespace {

constexpr std::size_t maxPictureBytes = std::numeric_limits<int>::max();

// The range [start, start + length); `within` returns its part in [low, high).
struct Span {
  std::int64_t start;
  std::int64_t length;

  Span within(std::int64_t low, std::int64_t high) const {
    const std::int64_t first = std::clamp(start, low, high);
    return {first, std::clamp(start + length, low, high) - first};
  }
};

std::int32_t small(std::int64_t number) {
  return static_cast<std::int32_t>(number);
}

}  // namespace

RawPicture RawPicture::part(const PixelRect& area) const {
  return {row(area.y) + static_cast<std::size_t>(area.x) * bytesPerPixel, area.width, area.height,
          bytesPerRow, order};
}

std::optional<RawPicture> pictureIn(const RawBuffer& buffer, const VideoFormat& format) {
  if (!buffer.hasPicture() || buffer.stride < 0) return std::nullopt;
  const std::size_t rowBytes = static_cast<std::size_t>(format.width) * bytesPerPixel;
  const std::size_t stride =
      buffer.stride == 0 ? rowBytes : static_cast<std::size_t>(buffer.stride);
  const std::size_t needed = (static_cast<std::size_t>(format.height) - 1) * stride + rowBytes;
  const bool fits = stride >= rowBytes && needed <= buffer.size && buffer.offset <= buffer.mapped &&
                    needed <= buffer.mapped - buffer.offset;
  // the library that rotates pictures counts bytes in an int and the distance of rows in pixels
  const bool canBeTurned = stride % bytesPerPixel == 0 && needed <= maxPictureBytes;
  if (!fits || !canBeTurned) return std::nullopt;
  return RawPicture{buffer.data + buffer.offset, format.width, format.height, stride, format.order};
}

PixelRect clipped(const RawRegion& region, const PixelRect& area) {
  const Span across = Span{region.x, region.width}.within(area.x, area.maxX());
  const Span down = Span{region.y, region.height}.within(area.y, area.maxY());
  return {small(across.start), small(down.start), small(across.length), small(down.length)};
}

}  // namespace tarvinel::portal

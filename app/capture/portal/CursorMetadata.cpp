#include "app/capture/portal/CursorMetadata.h"

#include <spa/buffer/meta.h>
#include <spa/param/video/raw.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace tarvinel::portal {

namespace {

constexpr std::int32_t farthest = 1 << 20;  // pixels: no screen is there

// Where the alpha, red, green and blue of a pixel are among its bytes.
struct Layout {
  std::size_t alpha;
  std::size_t red;
  std::size_t green;
  std::size_t blue;
};

std::optional<Layout> layoutOf(std::uint32_t format) {
  switch (format) {
    case SPA_VIDEO_FORMAT_BGRA:
      return Layout{3, 2, 1, 0};
    case SPA_VIDEO_FORMAT_RGBA:
      return Layout{3, 0, 1, 2};
    case SPA_VIDEO_FORMAT_ARGB:
      return Layout{0, 1, 2, 3};
    case SPA_VIDEO_FORMAT_ABGR:
      return Layout{0, 3, 2, 1};
    default:
      return std::nullopt;
  }
}

std::uint32_t pixelOf(const std::uint8_t* bytes, const Layout& layout) {
  return (std::uint32_t{bytes[layout.alpha]} << 24U) | (std::uint32_t{bytes[layout.red]} << 16U) |
         (std::uint32_t{bytes[layout.green]} << 8U) | std::uint32_t{bytes[layout.blue]};
}

// Facts lie at any place in the producer's memory.
template <class T>
std::optional<T> valueAt(const std::uint8_t* facts, std::size_t size, std::size_t offset) {
  if (offset > size || size - offset < sizeof(T)) return std::nullopt;
  T value{};
  std::memcpy(&value, facts + offset, sizeof(T));
  return value;
}

bool isSane(const spa_meta_bitmap& bitmap, std::size_t room) {
  const auto isLength = [](std::uint32_t pixels) {
    return pixels >= 1 && pixels <= CursorMetadata::longest;
  };
  if (!isLength(bitmap.size.width) || !isLength(bitmap.size.height)) return false;
  const std::size_t rowBytes = std::size_t{bitmap.size.width} * 4;
  if (bitmap.stride < 0 || static_cast<std::size_t>(bitmap.stride) < rowBytes) return false;
  const std::size_t needed =
      (bitmap.size.height - 1) * static_cast<std::size_t>(bitmap.stride) + rowBytes;
  return bitmap.offset >= sizeof(bitmap) && bitmap.offset <= room && needed <= room - bitmap.offset;
}

std::int32_t place(std::int32_t position, std::int32_t hotspot) {
  return std::clamp(position, -farthest, farthest) - std::clamp(hotspot, -farthest, farthest);
}

bool differs(const std::optional<CursorImage>& a, const std::optional<CursorImage>& b) {
  return a && b ? !a->sameAs(*b) : a.has_value() != b.has_value();
}

}  // namespace

std::size_t CursorMetadata::bytesFor(std::uint32_t length) {
  return sizeof(spa_meta_cursor) + sizeof(spa_meta_bitmap) + std::size_t{length} * length * 4;
}

bool CursorMetadata::read(const std::uint8_t* facts, std::size_t size) {
  const auto cursor = valueAt<spa_meta_cursor>(facts, size, 0);
  if (!cursor) return false;
  if (cursor->bitmap_offset >= sizeof(spa_meta_cursor)) {
    readBitmap(facts, size, cursor->bitmap_offset);
  }
  std::optional<CursorImage> now;
  if (cursor->id != 0 && !pixels_.empty()) {
    now = CursorImage{{place(cursor->position.x, cursor->hotspot.x),
                       place(cursor->position.y, cursor->hotspot.y), width_, height_},
                      serial_,
                      pixels_};
  }
  const bool changed = differs(shown_, now);
  shown_ = std::move(now);
  return changed;
}

/// A look that makes no sense, or is none, is not shown.
void CursorMetadata::readBitmap(const std::uint8_t* facts, std::size_t size, std::size_t offset) {
  ++serial_;
  pixels_.clear();
  const auto bitmap = valueAt<spa_meta_bitmap>(facts, size, offset);
  if (!bitmap || !isSane(*bitmap, size - offset)) return;
  const auto layout = layoutOf(bitmap->format);
  if (!layout) return;
  width_ = static_cast<std::int32_t>(bitmap->size.width);
  height_ = static_cast<std::int32_t>(bitmap->size.height);
  pixels_.reserve(std::size_t{bitmap->size.width} * bitmap->size.height);
  const std::uint8_t* first = facts + offset + bitmap->offset;
  for (std::size_t y = 0; y < bitmap->size.height; ++y) {
    const std::uint8_t* row = first + y * static_cast<std::size_t>(bitmap->stride);
    for (std::size_t x = 0; x < bitmap->size.width; ++x)
      pixels_.push_back(pixelOf(row + x * 4, *layout));
  }
}

}  // namespace tarvinel::portal

#pragma once

#include "app/capture/portal/VideoFormat.h"
#include "core/support/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <optional>

namespace tarvinel::portal {

/// The bytes per pixel of each supported layout.
inline constexpr std::size_t bytesPerPixel = 4;

/// One buffer of a stream as its producer describes it. Nothing but `mapped` is trusted.
struct RawBuffer {
  const std::uint8_t* data = nullptr;  ///< null: it cannot be read
  std::size_t mapped = 0;              ///< bytes that can be read
  std::uint32_t offset = 0;            ///< bytes before the first row
  std::uint32_t size = 0;              ///< bytes of the picture; 0: there is none in it
  std::int32_t stride = 0;             ///< bytes from row to row; 0: rows without gaps
  bool corrupted = false;

  /// Returns whether the producer claims that there is a picture in it.
  bool hasPicture() const { return data != nullptr && !corrupted && size != 0; }
};

/// A rectangle as a producer reports it.
struct RawRegion {
  std::int32_t x = 0;
  std::int32_t y = 0;
  std::uint32_t width = 0;
  std::uint32_t height = 0;
};

/// Borrowed pixels of a buffer, all of which can be read.
struct RawPicture {
  const std::uint8_t* pixels = nullptr;  ///< first byte of the first row
  std::int32_t width = 0;
  std::int32_t height = 0;
  std::size_t bytesPerRow = 0;
  PixelOrder order = PixelOrder::bgr;

  const std::uint8_t* row(std::int32_t y) const {
    return pixels + static_cast<std::size_t>(y) * bytesPerRow;
  }
  PixelRect area() const { return {0, 0, width, height}; }

  /// Returns the part of the picture in a rectangle that lies inside it.
  RawPicture part(const PixelRect& area) const;
};

/// Returns the picture in a buffer, or nullopt if there is none, not enough of it can be read, or
/// its rows are not whole pixels apart.
std::optional<RawPicture> pictureIn(const RawBuffer& buffer, const VideoFormat& format);

/// Returns the part of the region that lies in `area`, in the same coordinates; it may be empty.
PixelRect clipped(const RawRegion& region, const PixelRect& area);

}  // namespace tarvinel::portal

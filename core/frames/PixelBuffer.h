#pragma once

#include "core/support/Bytes.h"
#include "core/support/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>

namespace tarvinel {

/// Returns the part of a picture of `width` × `height` pixels that `crop` (pixels, origin at the
/// first pixel of the first row) covers, widened to whole pixels and clipped at the edges. Returns
/// the whole picture if there is no crop or nothing would be left.
PixelRect croppedArea(std::size_t width, std::size_t height, const std::optional<Rect>& crop);

/// Borrowed BGRA pixels, valid for as long as the owner of the memory guarantees.
struct PixelView {
  static constexpr std::size_t bytesPerPixel = 4;

  const std::uint8_t* pixels = nullptr;  ///< first byte of the first row
  std::size_t width = 0;                 ///< pixels
  std::size_t height = 0;                ///< pixels
  std::size_t bytesPerRow = 0;           ///< at least width × 4

  const std::uint8_t* row(std::size_t y) const { return pixels + y * bytesPerRow; }

  /// Returns a view of the same memory, limited to an area that lies inside this view.
  PixelView part(const PixelRect& area) const {
    const std::uint8_t* first =
        row(static_cast<std::size_t>(area.y)) + static_cast<std::size_t>(area.x) * 4;
    return {first, static_cast<std::size_t>(area.width), static_cast<std::size_t>(area.height),
            bytesPerRow};
  }
};

/// A four-character code of a pixel layout.
using PixelFormat = std::uint32_t;

constexpr PixelFormat pixelFormatCode(char a, char b, char c, char d) {
  return (static_cast<PixelFormat>(static_cast<unsigned char>(a)) << 24U) |
         (static_cast<PixelFormat>(static_cast<unsigned char>(b)) << 16U) |
         (static_cast<PixelFormat>(static_cast<unsigned char>(c)) << 8U) |
         static_cast<PixelFormat>(static_cast<unsigned char>(d));
}

/// 32 bits per pixel, in memory blue, green, red, alpha; alpha premultiplied.
inline constexpr PixelFormat pixelFormatBGRA = pixelFormatCode('B', 'G', 'R', 'A');

/// The pixels of one captured frame, independent of who owns the memory. The geometry can be read
/// at any time, the pixels only between a successful `lockReadOnly` and `unlockReadOnly`. Lives on
/// the capture queue.
class PixelBuffer {
 public:
  virtual ~PixelBuffer() = default;
  PixelBuffer() = default;
  PixelBuffer(const PixelBuffer&) = delete;
  PixelBuffer& operator=(const PixelBuffer&) = delete;

  virtual PixelFormat pixelFormat() const = 0;
  virtual std::size_t width() const = 0;   ///< pixels
  virtual std::size_t height() const = 0;  ///< pixels

  /// Returns at least width × 4; rows may be padded.
  virtual std::size_t bytesPerRow() const = 0;

  /// Makes the pixels readable; returns 0 on success, else the platform's status code.
  virtual int lockReadOnly() = 0;
  virtual void unlockReadOnly() = 0;

  /// Returns the first byte of the first row, or null if there is none; valid while locked.
  virtual const std::uint8_t* baseAddress() const = 0;
};

/// A BGRA pixel buffer in ordinary memory, initially black. Locking always succeeds.
class MemoryPixelBuffer : public PixelBuffer {
 public:
  /// Takes sizes in pixels. Throws std::length_error or std::bad_alloc if there is not enough
  /// memory.
  MemoryPixelBuffer(std::size_t width, std::size_t height);

  PixelFormat pixelFormat() const override { return pixelFormatBGRA; }
  std::size_t width() const override { return width_; }
  std::size_t height() const override { return height_; }
  std::size_t bytesPerRow() const override { return width_ * 4; }
  int lockReadOnly() override { return 0; }
  void unlockReadOnly() override {}
  const std::uint8_t* baseAddress() const override { return pixels_.data(); }

  /// Returns the pixels for drawing into them.
  std::uint8_t* pixels() { return pixels_.data(); }

 private:
  std::size_t width_;
  std::size_t height_;
  Bytes pixels_;
};

}  // namespace tarvinel

#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tarvinel {

/// A four-character code of a pixel layout.
using PixelFormat = std::uint32_t;

constexpr PixelFormat pixelFormatCode(char a, char b, char c, char d) {
  return (static_cast<PixelFormat>(static_cast<unsigned char>(a)) << 24U) |
         (static_cast<PixelFormat>(static_cast<unsigned char>(b)) << 16U) |
         (static_cast<PixelFormat>(static_cast<unsigned char>(c)) << 8U) |
         static_cast<PixelFormat>(static_cast<unsigned char>(d));
}

/// 32 bits a pixel, in memory blue, green, red, alpha; alpha premultiplied.
inline constexpr PixelFormat pixelFormatBGRA = pixelFormatCode('B', 'G', 'R', 'A');

/// The pixels of one captured frame, whoever owns the memory. Geometry may be read at any time, the
/// pixels only between a successful `lockReadOnly` and `unlockReadOnly`. Lives on the capture
/// queue.
class PixelBuffer {
 public:
  virtual ~PixelBuffer() = default;
  PixelBuffer() = default;
  PixelBuffer(const PixelBuffer&) = delete;
  PixelBuffer& operator=(const PixelBuffer&) = delete;

  virtual PixelFormat pixelFormat() const = 0;
  virtual std::size_t width() const = 0;   ///< pixels
  virtual std::size_t height() const = 0;  ///< pixels

  /// At least width × 4; may be larger.
  virtual std::size_t bytesPerRow() const = 0;

  /// Makes the pixels readable; 0 on success, else the platform's status code.
  virtual int lockReadOnly() = 0;
  virtual void unlockReadOnly() = 0;

  /// First byte of the first row, null when there is none; valid while locked.
  virtual const std::uint8_t* baseAddress() const = 0;
};

}  // namespace tarvinel

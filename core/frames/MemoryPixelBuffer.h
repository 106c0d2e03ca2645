#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/support/Bytes.h"

namespace tarvinel {

/// A BGRA pixel buffer in ordinary memory, black at first. Locking always succeeds.
class MemoryPixelBuffer : public PixelBuffer {
 public:
  /// Sizes in pixels. Throws std::length_error or std::bad_alloc when that much memory is not
  /// there.
  MemoryPixelBuffer(std::size_t width, std::size_t height);

  PixelFormat pixelFormat() const override { return pixelFormatBGRA; }
  std::size_t width() const override { return width_; }
  std::size_t height() const override { return height_; }
  std::size_t bytesPerRow() const override { return width_ * 4; }
  int lockReadOnly() override { return 0; }
  void unlockReadOnly() override {}
  const std::uint8_t* baseAddress() const override { return pixels_.data(); }

  /// For whoever draws into it.
  std::uint8_t* pixels() { return pixels_.data(); }

 private:
  std::size_t width_;
  std::size_t height_;
  Bytes pixels_;
};

}  // namespace tarvinel

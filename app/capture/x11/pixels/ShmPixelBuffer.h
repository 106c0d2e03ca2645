#pragma once

#include "app/capture/x11/pixels/SharedMemory.h"
#include "core/frames/PixelBuffer.h"
#include "core/support/PixelRect.h"

namespace tarvinel::x11 {

/// The picture of a display in memory that the X server can write into. The fourth byte of a pixel
/// is padding with any value: the picture is opaque. Lives on the capture queue, which alone
/// changes the contents; may outlive the connection.
class ShmPixelBuffer : public PixelBuffer {
 public:
  /// As large as `area`, which is not empty. Throws Error when the memory cannot be had.
  explicit ShmPixelBuffer(const PixelRect& area);

  PixelFormat pixelFormat() const override { return pixelFormatBGRA; }
  std::size_t width() const override { return width_; }
  std::size_t height() const override { return height_; }
  std::size_t bytesPerRow() const override { return width_ * 4; }
  int lockReadOnly() override { return 0; }
  void unlockReadOnly() override {}
  const std::uint8_t* baseAddress() const override { return memory_.data(); }

  std::uint8_t* pixels() { return memory_.data(); }
  const SharedMemory& memory() const { return memory_; }

 private:
  std::size_t width_;
  std::size_t height_;
  SharedMemory memory_;
};

}  // namespace tarvinel::x11

#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/support/Geometry.h"

#include <xcb/shm.h>

#include <cstddef>
#include <cstdint>
#include <memory>

namespace tarvinel::x11 {

class SharedMemory;
class Connection;

/// The X server's attachment to shared memory (MIT-SHM 1.2, by descriptor); the destructor detaches
/// it. Must not outlive the connection.
class ShmSegment {
 public:
  /// Returns null if the server lacks the extension, runs on another machine or rejects the
  /// request. Throws Error if the connection is lost.
  static std::unique_ptr<ShmSegment> attach(const Connection& connection,
                                            const SharedMemory& memory);

  ~ShmSegment();
  ShmSegment(const ShmSegment&) = delete;
  ShmSegment& operator=(const ShmSegment&) = delete;

  xcb_shm_seg_t id() const { return id_; }

 private:
  ShmSegment(const Connection& connection, xcb_shm_seg_t id);

  const Connection& connection_;
  xcb_shm_seg_t id_;
};

/// Anonymous memory, initially zero, that can be passed to another process by descriptor. Pages are
/// allocated when first touched; the other process cannot shrink it.
class SharedMemory {
 public:
  /// Throws Error (outOfMemory) if that many bytes cannot be allocated.
  explicit SharedMemory(std::uint64_t size);
  ~SharedMemory();
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }

  /// Returns a new descriptor of the memory. The caller owns it. Throws Error if there are too
  /// many.
  int duplicateDescriptor() const;

 private:
  std::size_t size_;
  int descriptor_;
  std::uint8_t* data_;
};

/// The picture of a display in memory that the X server can write into. The fourth byte of a pixel
/// is padding with any value: the picture is opaque. Lives on the capture queue, which alone
/// changes the contents; may outlive the connection.
class ShmPixelBuffer : public PixelBuffer {
 public:
  /// The buffer is as large as `area`, which is not empty. Throws Error if it cannot be allocated.
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

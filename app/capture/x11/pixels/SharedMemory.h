#pragma once

#include <cstddef>
#include <cstdint>

namespace tarvinel::x11 {

/// Anonymous memory, zero at first, that can be given to another process by descriptor. Pages are
/// taken from the system when first touched; the other process cannot shrink it.
class SharedMemory {
 public:
  /// Throws Error (outOfMemory) when that many bytes cannot be had.
  explicit SharedMemory(std::uint64_t size);
  ~SharedMemory();
  SharedMemory(const SharedMemory&) = delete;
  SharedMemory& operator=(const SharedMemory&) = delete;

  std::uint8_t* data() { return data_; }
  const std::uint8_t* data() const { return data_; }

  /// A new descriptor of the memory; the caller owns it. Throws Error when there are too many.
  int duplicateDescriptor() const;

 private:
  std::size_t size_;
  int descriptor_;
  std::uint8_t* data_;
};

}  // namespace tarvinel::x11

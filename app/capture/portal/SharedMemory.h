#pragma once

#include <cstddef>
#include <cstdint>

namespace tarvinel {

/// A file of memory that another process made and may cut off at any time: who looks through a map
/// at what is cut off gets a signal that ends the program. Borrows the descriptor.
class SharedMemory {
 public:
  explicit SharedMemory(int file) : file_(file) {}

  /// Whether its owner can still make it shorter. Where the owner allows that, it is sealed against
  /// that here; such a seal stays.
  bool mayShrink() const;

  /// How many bytes there are from `offset` on, none when that is not known. Once it cannot shrink,
  /// all of them can be looked at through a map.
  std::size_t bytesFrom(std::int64_t offset) const;

  /// Reads `count` bytes from `offset` on, past any map. False when not all of them are there.
  bool read(std::int64_t offset, std::uint8_t* to, std::size_t count) const;

 private:
  int file_;
};

}  // namespace tarvinel

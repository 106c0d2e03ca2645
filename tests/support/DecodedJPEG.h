#pragma once

#include "core/support/Bytes.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvinel::test {

/// A decoded JPEG file, with which tests inspect encoded frames.
struct DecodedJPEG {
  using Pixel = std::array<std::uint8_t, 3>;  ///< red, green, blue

  std::size_t width = 0;
  std::size_t height = 0;
  int components = 0;
  int lumaSamplesAcross = 0;  ///< for one chroma sample
  int lumaSamplesDown = 0;
  bool progressive = false;
  std::vector<std::uint8_t> rgb;

  /// Throws std::runtime_error if `file` is not a JPEG.
  static DecodedJPEG decode(const Bytes& file);

  Pixel at(std::size_t x, std::size_t y) const;
};

}  // namespace tarvinel::test

#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/support/Bytes.h"
#include "tests/support/DecodedJPEG.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvinel::test {

/// The picture of a viewer who follows the updates of tiles, as the page does.
class TileCanvas {
 public:
  /// Applies an update. Throws std::runtime_error if it is malformed or does not continue where the
  /// canvas stands.
  void apply(const Bytes& update);

  std::uint32_t version() const { return version_; }
  std::size_t width() const { return width_; }
  std::size_t height() const { return height_; }
  std::size_t tilesOfLastUpdate() const { return tilesOfLastUpdate_; }
  std::size_t movesOfLastUpdate() const { return movesOfLastUpdate_; }

  DecodedJPEG::Pixel at(std::size_t x, std::size_t y) const { return pixels_.at(y * width_ + x); }

  /// Returns the largest difference of a sample from a BGRA picture, which has the canvas's size.
  int differenceFrom(const PixelView& picture) const;

 private:
  void fit(std::size_t width, std::size_t height);
  void move(const std::vector<DecodedJPEG::Pixel>& before, const PixelRect& area,
            std::size_t fromY);
  void paint(const DecodedJPEG& stack, const std::vector<std::uint32_t>& indices);

  std::uint32_t version_ = 0;
  std::size_t width_ = 0;
  std::size_t height_ = 0;
  std::size_t tilesOfLastUpdate_ = 0;
  std::size_t movesOfLastUpdate_ = 0;
  std::vector<Bytes> heads_;
  std::vector<DecodedJPEG::Pixel> pixels_;
};

}  // namespace tarvinel::test

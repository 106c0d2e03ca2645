#pragma once

#include "core/support/Geometry.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tarvinel::tiles {

/// The number of a tile in its grid: row by row, from the top left.
using Index = std::uint32_t;

/// The division of a picture into tiles. Tiles at its right and bottom edges may be partial. A tile
/// of this size costs a typed character 161 bytes; smaller ones cost more for larger changes.
class Grid {
 public:
  static constexpr std::int32_t tileWidth = 128;  ///< pixels
  static constexpr std::int32_t tileHeight = 16;  ///< pixels

  Grid() = default;

  /// Takes the picture's size in pixels, each at least 1.
  Grid(std::int32_t width, std::int32_t height) : width_(width), height_(height) {}

  bool operator==(const Grid&) const = default;

  std::int32_t width() const { return width_; }
  std::int32_t height() const { return height_; }
  std::int32_t columns() const { return (width_ + tileWidth - 1) / tileWidth; }
  std::int32_t rows() const { return (height_ + tileHeight - 1) / tileHeight; }
  std::size_t count() const {
    return static_cast<std::size_t>(columns()) * static_cast<std::size_t>(rows());
  }

  /// Returns the pixels of a tile, clipped at the picture's edges.
  PixelRect area(Index tile) const;

  /// Returns the tiles that the areas touch, ascending and each once. What lies outside of the
  /// picture is ignored.
  std::vector<Index> touchedBy(const PixelRects& areas) const;

 private:
  std::int32_t width_ = 0;
  std::int32_t height_ = 0;
};

}  // namespace tarvinel::tiles

#pragma once

#include "core/frames/tiles/Grid.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarvinel::tiles {

/// A hash of each row of pixels in each tile. Of a picture only these are kept, because a copy
/// would take 8 MB at 1080p.
class RowHashes {
 public:
  static constexpr std::uint64_t unknown = 0;  ///< also of the rows below the picture

  explicit RowHashes(const Grid& grid) : grid_(grid), hashes_(grid.count() * Grid::tileHeight) {}

  const Grid& grid() const { return grid_; }

  /// Returns the hashes of a tile from the top down.
  std::span<std::uint64_t> of(Index tile) {
    return std::span(hashes_).subspan(std::size_t{tile} * Grid::tileHeight, Grid::tileHeight);
  }
  std::span<const std::uint64_t> of(Index tile) const {
    return std::span(hashes_).subspan(std::size_t{tile} * Grid::tileHeight, Grid::tileHeight);
  }

  /// Returns the hash of the row at `y`, which is within the picture, in a column of tiles.
  std::uint64_t at(std::int32_t column, std::int32_t y) const {
    const auto tile = static_cast<Index>(y / Grid::tileHeight * grid_.columns() + column);
    return of(tile)[static_cast<std::size_t>(y % Grid::tileHeight)];
  }

 private:
  Grid grid_;
  std::vector<std::uint64_t> hashes_;  // by tile
};

}  // namespace tarvinel::tiles

#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/frames/tiles/Grid.h"

#include <cstdint>
#include <vector>

namespace tarvinel::tiles {

/// Finds the tiles that really differ from the picture before. Of that picture only a fingerprint
/// of each tile is kept, because a copy would take 8 MB at 1080p.
class Fingerprints {
 public:
  /// Until the first update every tile differs.
  explicit Fingerprints(const Grid& grid);

  /// Returns those of the `candidates` whose pixels have changed. The picture has the grid's size.
  std::vector<Index> update(const PixelView& picture, const std::vector<Index>& candidates);

 private:
  std::uint64_t fingerprint(const PixelView& picture, Index tile) const;

  Grid grid_;
  std::uint64_t seed_;                ///< random, so that no content can be made to collide
  std::vector<std::uint64_t> known_;  ///< by tile; 0: none yet
};

}  // namespace tarvinel::tiles

#pragma once

#include "core/frames/PixelBuffer.h"
#include "core/frames/tiles/Grid.h"
#include "core/frames/tiles/RowHashes.h"

#include <cstdint>
#include <vector>

namespace tarvinel::tiles {

/// Finds the tiles that really differ from the picture before, and from what viewers are shown.
class Fingerprints {
 public:
  /// Until the first update every tile differs, and viewers are shown nothing.
  explicit Fingerprints(const Grid& grid);

  /// Returns those of the `candidates` whose pixels have changed. The picture has the grid's size.
  std::vector<Index> update(const PixelView& picture, const std::vector<Index>& candidates);

  /// Returns whether viewers are shown other pixels than those of the last update.
  bool isOutdated(Index tile) const;

  /// Notes that viewers are shown the pixels of the last update.
  void markShown(const std::vector<Index>& tiles);

  const RowHashes& current() const { return current_; }
  const RowHashes& shown() const { return shown_; }

 private:
  std::uint64_t seed_;  // random, so that no content can be made to collide
  RowHashes current_;
  RowHashes shown_;
};

}  // namespace tarvinel::tiles

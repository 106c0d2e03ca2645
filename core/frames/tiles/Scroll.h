#pragma once

#include "core/frames/tiles/Grid.h"
#include "core/frames/tiles/RowHashes.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace tarvinel::tiles {

/// Content that is found again above or below where it was.
struct Scroll {
  std::int32_t down = 0;      ///< pixels that the content moved down; negative: up
  std::vector<Index> moved;   ///< the changed tiles whose pixels were all `down` pixels above
  std::vector<Index> either;  ///< unchanged tiles of which the same is true, such as empty ones
};

/// Returns the scroll that explains most of the changed tiles, or nullopt if none is found. It is
/// exact: rows of pixels are compared by their hashes. Most of the search is done in a few columns
/// of tiles, so that it costs little where nothing scrolls.
std::optional<Scroll> findScroll(const RowHashes& before, const RowHashes& now,
                                 const std::vector<Index>& changed);

}  // namespace tarvinel::tiles

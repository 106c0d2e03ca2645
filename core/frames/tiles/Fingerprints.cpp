#include "core/frames/tiles/Fingerprints.h"

#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>

namespace tarvinel::tiles {

namespace {

std::uint64_t randomSeed() {
  std::random_device random;
  return std::uint64_t{random()} << 32U | random();
}

}  // namespace

Fingerprints::Fingerprints(const Grid& grid)
    : grid_(grid), seed_(randomSeed()), known_(grid.count()) {}

std::vector<Index> Fingerprints::update(const PixelView& picture,
                                        const std::vector<Index>& candidates) {
  std::vector<Index> changed;
  for (const Index tile : candidates) {
    const std::uint64_t now = fingerprint(picture, tile);
    if (known_[tile] == now) continue;
    known_[tile] = now;
    changed.push_back(tile);
  }
  return changed;
}

std::uint64_t Fingerprints::fingerprint(const PixelView& picture, Index tile) const {
  const PixelView pixels = picture.part(grid_.area(tile));
  std::array<std::uint64_t, Grid::tileHeight> rows{};
  for (std::size_t y = 0; y < pixels.height; ++y)
    rows[y] = XXH3_64bits_withSeed(pixels.row(y), pixels.width * PixelView::bytesPerPixel, seed_);
  const std::uint64_t all =
      XXH3_64bits_withSeed(rows.data(), pixels.height * sizeof(rows[0]), seed_);
  return std::max<std::uint64_t>(all, 1);
}

}  // namespace tarvinel::tiles

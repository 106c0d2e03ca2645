#include "core/frames/tiles/Fingerprints.h"

#include <xxhash.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <random>

namespace tarvinel::tiles {

namespace {

using Rows = std::array<std::uint64_t, Grid::tileHeight>;

std::uint64_t randomSeed() {
  std::random_device random;
  return std::uint64_t{random()} << 32U | random();
}

Rows hashes(const PixelView& pixels, std::uint64_t seed) {
  Rows rows{};
  for (std::size_t y = 0; y < pixels.height; ++y) {
    const std::uint64_t hash =
        XXH3_64bits_withSeed(pixels.row(y), pixels.width * PixelView::bytesPerPixel, seed);
    rows[y] = hash == RowHashes::unknown ? hash + 1 : hash;
  }
  return rows;
}

}  // namespace

Fingerprints::Fingerprints(const Grid& grid) : seed_(randomSeed()), current_(grid), shown_(grid) {}

std::vector<Index> Fingerprints::update(const PixelView& picture,
                                        const std::vector<Index>& candidates) {
  std::vector<Index> changed;
  for (const Index tile : candidates) {
    const Rows now = hashes(picture.part(current_.grid().area(tile)), seed_);
    if (std::ranges::equal(current_.of(tile), now)) continue;
    std::ranges::copy(now, current_.of(tile).begin());
    changed.push_back(tile);
  }
  return changed;
}

bool Fingerprints::isOutdated(Index tile) const {
  return !std::ranges::equal(current_.of(tile), shown_.of(tile));
}

void Fingerprints::markShown(const std::vector<Index>& tiles) {
  for (const Index tile : tiles)
    std::ranges::copy(current_.of(tile), shown_.of(tile).begin());
}

}  // namespace tarvinel::tiles

#include "core/frames/tiles/Composer.h"

#include "core/frames/tiles/Scroll.h"

#include <algorithm>
#include <limits>

namespace tarvinel::tiles {

namespace {

// Lets changes pass that are delivered slightly early at the motion rate.
constexpr double slackSeconds = 0.0005;

}  // namespace

void Composer::begin(const Grid& grid, Qualities qualities, bool isMotionHalved) {
  if (motion_ && grid == table_.grid && qualities == qualities_ &&
      isMotionHalved == isMotionHalved_) {
    return;
  }
  qualities_ = qualities;
  isMotionHalved_ = isMotionHalved;
  motion_ = std::make_unique<Encoder>(
      Look{.quality = qualities.motion, .isHalved = isMotionHalved, .hasHalfColour = true});
  settled_ = std::make_unique<Encoder>(Look{.quality = qualities.settled});
  table_ = table_.restarted(
      grid, std::make_shared<const Heads>(Heads{motion_->head(1), settled_->head(1)}));
  restart();
}

void Composer::restart() {
  if (!motion_) return;
  fingerprints_.emplace(table_.grid);
  table_ = table_.restarted(table_.grid, table_.heads);
  states_.assign(table_.grid.count(), {.isTouched = true});
  unsettled_ = states_.size();
  motionAt_.reset();
}

void Composer::setMotionFPS(std::int64_t framesPerSecond) {
  motionInterval_ = 1.0 / static_cast<double>(std::max<std::int64_t>(1, framesPerSecond));
}

void Composer::touch(const PixelRects& areas) {
  for (const Index tile : table_.grid.touchedBy(areas))
    states_[tile].isTouched = true;
}

void Composer::touchAll() {
  for (State& state : states_)
    state.isTouched = true;
}

std::shared_ptr<const Table> Composer::compose(const PixelView& picture, double at) {
  motionBytes_ = 0;
  findChanges(picture, at);
  encodeChanges(picture, at);
  settle(picture, at - settleDelay, maxSettledAtOnce);
  return table_.version == published_ ? nullptr : published();
}

std::shared_ptr<const Table> Composer::composeAll(const PixelView& picture, double at) {
  motionBytes_ = 0;
  findChanges(picture, at);
  settle(picture, at, std::numeric_limits<std::size_t>::max());
  complete(picture, Quality::settled);
  return published();
}

std::shared_ptr<const Table> Composer::composeComplete(const PixelView& picture, double at) {
  compose(picture, at);
  const std::vector<Index> changed = changedTiles();
  const bool isAnyNeeded = std::ranges::any_of(
      changed, [this](Index tile) { return table_.tiles[tile].segment == nullptr; });
  // with only those, a viewer would see parts of two pictures
  if (isAnyNeeded) encode(picture, changed, Quality::motion);
  complete(picture, Quality::motion);
  complete(picture, Quality::settled);
  return published();
}

bool Composer::isComplete() const {
  return std::ranges::all_of(table_.tiles,
                             [](const Tile& tile) { return tile.segment != nullptr; });
}

void Composer::findChanges(const PixelView& picture, double at) {
  std::vector<Index> touched;
  for (Index tile = 0; tile < states_.size(); ++tile) {
    if (states_[tile].isTouched) touched.push_back(tile);
  }
  for (const Index tile : fingerprints_->update(picture, touched)) {
    states_[tile].isChanged = fingerprints_->isOutdated(tile);
    states_[tile].changedAt = at;
  }
  for (const Index tile : touched)
    states_[tile].isTouched = false;
}

std::vector<Index> Composer::changedTiles() const {
  std::vector<Index> changed;
  for (Index tile = 0; tile < states_.size(); ++tile) {
    if (states_[tile].isChanged) changed.push_back(tile);
  }
  return changed;
}

void Composer::encodeChanges(const PixelView& picture, double at) {
  std::vector<Index> changed = changedTiles();
  if (changed.empty()) return;
  if (isSmall(changed)) {
    encode(picture, changed, Quality::settled);
  } else if (!motionAt_ || at - *motionAt_ >= motionInterval_ - slackSeconds) {
    motionAt_ = at;
    takeScroll(changed);
    if (changed.empty()) return;
    encode(picture, changed, isSmall(changed) ? Quality::settled : Quality::motion);
    for (const Index tile : changed)
      motionBytes_ += table_.tiles[tile].segment->size();
  }
}

bool Composer::isSmall(const std::vector<Index>& tiles) const {
  return static_cast<double>(tiles.size()) < smallFraction * static_cast<double>(states_.size());
}

// Takes out what has only scrolled.
void Composer::takeScroll(std::vector<Index>& changed) {
  const auto scroll = findScroll(fingerprints_->shown(), fingerprints_->current(), changed);
  if (!scroll) return;
  table_ = table_.scrolled(*scroll);
  markShown(scroll->moved);
  std::erase_if(changed, [this](Index tile) { return !states_[tile].isChanged; });
}

bool Composer::needsWork(Index tile) const {
  return states_[tile].isChanged || table_.tiles[tile].quality == Quality::motion;
}

// The longest still come first: what changed last is looked at and may change again.
void Composer::settle(const PixelView& picture, double before, std::size_t atMost) {
  std::vector<Index> still;
  unsettled_ = 0;
  for (Index tile = 0; tile < states_.size(); ++tile) {
    if (!needsWork(tile)) continue;
    ++unsettled_;
    if (states_[tile].changedAt <= before) still.push_back(tile);
  }
  if (still.size() > atMost) {
    std::ranges::stable_sort(still, {}, [this](Index tile) { return states_[tile].changedAt; });
    still.resize(atMost);
    std::ranges::sort(still);
  }
  if (still.empty()) return;
  encode(picture, still, Quality::settled);
  unsettled_ -= still.size();
}

void Composer::encode(const PixelView& picture, const std::vector<Index>& tiles, Quality quality) {
  const std::vector<Segment> segments = encoder(quality).encode(picture, table_.grid, tiles);
  table_ = table_.changed(tiles, segments, quality);
  markShown(tiles);
}

// Encodes the unchanged tiles of a quality that have no segments.
void Composer::complete(const PixelView& picture, Quality quality) {
  std::vector<Index> missing;
  for (Index tile = 0; tile < table_.tiles.size(); ++tile) {
    if (!table_.tiles[tile].segment && table_.tiles[tile].quality == quality)
      missing.push_back(tile);
  }
  if (missing.empty()) return;
  table_ = table_.completed(missing, encoder(quality).encode(picture, table_.grid, missing));
}

void Composer::markShown(const std::vector<Index>& tiles) {
  fingerprints_->markShown(tiles);
  for (const Index tile : tiles)
    states_[tile].isChanged = false;
}

std::shared_ptr<const Table> Composer::published() {
  published_ = table_.version;
  return std::make_shared<const Table>(table_);
}

}  // namespace tarvinel::tiles

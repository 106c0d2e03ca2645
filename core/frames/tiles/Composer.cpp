#include "core/frames/tiles/Composer.h"

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
  motion_ =
      std::make_unique<Encoder>(Look{.quality = qualities.motion, .isHalved = isMotionHalved});
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
  return published();
}

void Composer::findChanges(const PixelView& picture, double at) {
  std::vector<Index> touched;
  for (Index tile = 0; tile < states_.size(); ++tile) {
    if (states_[tile].isTouched) touched.push_back(tile);
  }
  for (const Index tile : fingerprints_->update(picture, touched)) {
    states_[tile].isChanged = true;
    states_[tile].changedAt = at;
  }
  for (const Index tile : touched)
    states_[tile].isTouched = false;
}

void Composer::encodeChanges(const PixelView& picture, double at) {
  std::vector<Index> changed;
  for (Index tile = 0; tile < states_.size(); ++tile) {
    if (states_[tile].isChanged) changed.push_back(tile);
  }
  if (changed.empty()) return;
  if (static_cast<double>(changed.size()) < smallFraction * static_cast<double>(states_.size())) {
    encode(picture, changed, Quality::settled);
  } else if (!motionAt_ || at - *motionAt_ >= motionInterval_ - slackSeconds) {
    encode(picture, changed, Quality::motion);
    motionAt_ = at;
    for (const Index tile : changed)
      motionBytes_ += table_.tiles[tile].segment->size();
  }
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
  Encoder& encoder = quality == Quality::motion ? *motion_ : *settled_;
  table_ = table_.changed(tiles, encoder.encode(picture, table_.grid, tiles), quality);
  for (const Index tile : tiles)
    states_[tile].isChanged = false;
}

std::shared_ptr<const Table> Composer::published() {
  published_ = table_.version;
  return std::make_shared<const Table>(table_);
}

}  // namespace tarvinel::tiles

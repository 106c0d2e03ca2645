#include "core/frames/FrameBroadcaster.h"

#include "core/frames/JPEGWriter.h"
#include "core/support/FatalError.h"

#include <utility>

namespace tarvinel {

namespace {

std::int64_t checkedTotal(std::int64_t total, std::size_t frameBytes, std::size_t viewers) {
  std::int64_t offered = 0;
  std::int64_t sum = 0;
  if (__builtin_mul_overflow(frameBytes, viewers, &offered) ||
      __builtin_add_overflow(total, offered, &sum)) {
    fatalError("byte counter overflow");
  }
  return sum;
}

}  // namespace

UUID FrameBroadcaster::subscribe(Sink sink) {
  const UUID identifier = UUID::random();
  const std::scoped_lock lock(mutex_);
  const auto& stored = sinks_.emplace(identifier, std::move(sink)).first->second;
  if (latest_) stored(latest_);
  notifyOfRequest();
  return identifier;
}

UUID FrameBroadcaster::subscribeToTiles(TileSink sink) {
  const UUID identifier = UUID::random();
  const std::scoped_lock lock(mutex_);
  const auto& stored = tileSinks_.emplace(identifier, std::move(sink)).first->second;
  if (table_) stored({.table = table_, .whole = nullptr});
  notifyOfRequest();
  return identifier;
}

void FrameBroadcaster::requestTiles() {
  const std::scoped_lock lock(mutex_);
  notifyOfRequest();
}

void FrameBroadcaster::notifyOfRequest() {
  if (onRequest_) onRequest_();
}

void FrameBroadcaster::unsubscribe(const UUID& identifier) {
  const std::scoped_lock lock(mutex_);
  sinks_.erase(identifier);
  tileSinks_.erase(identifier);
}

void FrameBroadcaster::publish(const Frame& frame) {
  const std::scoped_lock lock(mutex_);
  latest_ = frame;
  count(frame->size(), sinks_.size());
  for (const auto& [identifier, sink] : sinks_)
    sink(frame);
  if (table_) return;
  count(frame->size(), tileSinks_.size());
  for (const auto& [identifier, sink] : tileSinks_)
    sink({.table = nullptr, .whole = frame});
}

void FrameBroadcaster::publishTiles(std::shared_ptr<const tiles::Table> table) {
  const std::scoped_lock lock(mutex_);
  table_ = std::move(table);
  for (const auto& [identifier, sink] : tileSinks_)
    sink({.table = table_, .whole = nullptr});
}

void FrameBroadcaster::clearLatest() {
  const std::scoped_lock lock(mutex_);
  latest_.reset();
}

void FrameBroadcaster::clearTiles() {
  const std::scoped_lock lock(mutex_);
  table_.reset();
}

void FrameBroadcaster::setOnRequest(std::function<void()> onRequest) {
  const std::scoped_lock lock(mutex_);
  onRequest_ = std::move(onRequest);
}

std::size_t FrameBroadcaster::viewerCount() const {
  const std::scoped_lock lock(mutex_);
  return sinks_.size() + tileSinks_.size();
}

std::size_t FrameBroadcaster::frameViewerCount() const {
  const std::scoped_lock lock(mutex_);
  return sinks_.size();
}

std::size_t FrameBroadcaster::tileViewerCount() const {
  const std::scoped_lock lock(mutex_);
  return tileSinks_.size();
}

bool FrameBroadcaster::hasTiles() const {
  const std::scoped_lock lock(mutex_);
  return table_ != nullptr;
}

void FrameBroadcaster::count(std::size_t bytes, std::size_t viewers) {
  bytesSent_ = checkedTotal(bytesSent_, bytes, viewers);
}

void FrameBroadcaster::addTileBytes(std::size_t bytes) {
  const std::scoped_lock lock(mutex_);
  count(bytes, 1);
}

std::int64_t FrameBroadcaster::bytesSent() const {
  const std::scoped_lock lock(mutex_);
  return bytesSent_;
}

Frame FrameBroadcaster::latest() const {
  const std::scoped_lock lock(mutex_);
  return latest_;
}

std::optional<PixelSize> FrameBroadcaster::latestSize() const {
  const std::scoped_lock lock(mutex_);
  if (table_) return PixelSize{table_->grid.width(), table_->grid.height()};
  return latest_ ? sizeOfJPEG(*latest_) : std::nullopt;
}

}  // namespace tarvinel

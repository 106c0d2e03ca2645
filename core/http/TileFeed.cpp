#include "core/http/TileFeed.h"

#include "core/http/MJPEGFramer.h"

#include <algorithm>
#include <utility>

namespace tarvinel {

std::shared_ptr<const Bytes> TileUpdates::update(const std::shared_ptr<const tiles::Table>& table,
                                                 tiles::Version from) {
  if (table_.lock() != table) {
    table_ = table;
    updates_.clear();
  }
  std::weak_ptr<const Bytes>& kept = updates_[from];
  std::shared_ptr<const Bytes> update = kept.lock();
  if (update) return update;
  std::optional<Bytes> message = tiles::updateMessage(*table, from);
  if (message) update = std::make_shared<const Bytes>(*std::move(message));
  kept = update;
  return update;
}

bool TileFeed::hasNext() const {
  return newest_.whole != nullptr || (newest_.table && newest_.table->version != version_);
}

std::optional<TileFeed::Part> TileFeed::take(Clock::time_point now, double byteRate) {
  Part part;
  if (newest_.whole) {
    part = {MJPEGFramer::jpegType, std::exchange(newest_.whole, nullptr)};
    version_ = 0;
  } else {
    part = {MJPEGFramer::tilesType, updates_.update(newest_.table, version_)};
    if (!part.body) return std::nullopt;
    version_ = newest_.table->version;
  }
  const std::chrono::duration<double> share(static_cast<double>(part.body->size()) / byteRate);
  const std::chrono::duration<double> pause =
      std::clamp<std::chrono::duration<double>>(share, shortestPause, longestPause);
  due_ = now + std::chrono::duration_cast<Clock::duration>(pause);
  return part;
}

}  // namespace tarvinel

#pragma once

#include "core/frames/FrameBroadcaster.h"
#include "core/frames/tiles/Table.h"
#include "core/support/Bytes.h"

#include <chrono>
#include <memory>
#include <optional>
#include <string_view>
#include <unordered_map>

namespace tarvinel {

/// The updates of the newest table, each made once for all viewers who have the same version. Lives
/// on the server's queue.
class TileUpdates {
 public:
  /// Returns the message that brings a viewer with version `from` up to this table, or null if the
  /// table does not have all that this needs.
  std::shared_ptr<const Bytes> update(const std::shared_ptr<const tiles::Table>& table,
                                      tiles::Version from);

 private:
  std::weak_ptr<const tiles::Table> table_;
  /// By version; for as long as somebody sends them.
  std::unordered_map<tiles::Version, std::weak_ptr<const Bytes>> updates_;
};

/// What one viewer of tiles is to be sent, and when: it gets everything that is newer than what it
/// has, at most 30 times a second, and within its share of the budget. Lives on the server's queue.
class TileFeed {
 public:
  using Clock = std::chrono::steady_clock;

  /// The longest pause that a large update makes necessary.
  static constexpr std::chrono::milliseconds longestPause{500};

  /// The pause after a small update: 30 a second.
  static constexpr std::chrono::milliseconds shortestPause{33};

  struct Part {
    std::string_view contentType;
    std::shared_ptr<const Bytes> body;
  };

  /// `updates` must outlive the feed.
  explicit TileFeed(TileUpdates& updates) : updates_(updates) {}

  /// Replaces what the viewer is to see.
  void offer(TilePicture newest) { newest_ = std::move(newest); }

  /// Returns whether the viewer does not have the newest yet.
  bool hasNext() const;

  /// Returns when the next part may be sent.
  Clock::time_point due() const { return due_; }

  /// Returns the next part, which counts as sent at `now`; there must be one. Returns nullopt if a
  /// complete table must be requested for it. `byteRate` is the viewer's share of the budget in
  /// bytes per second.
  std::optional<Part> take(Clock::time_point now, double byteRate);

 private:
  TileUpdates& updates_;
  TilePicture newest_;
  tiles::Version version_ = 0;  ///< the viewer's; 0: it has no tiles
  Clock::time_point due_;
};

}  // namespace tarvinel

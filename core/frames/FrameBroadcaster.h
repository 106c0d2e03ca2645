#pragma once

#include "core/frames/Frame.h"
#include "core/frames/tiles/Table.h"
#include "core/support/Geometry.h"
#include "core/support/UUID.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <unordered_map>

namespace tarvinel {

/// What a viewer of tiles is to see: exactly one of both.
struct TilePicture {
  std::shared_ptr<const tiles::Table> table;
  Frame whole;  ///< where there are no tiles, as for a card
};

/// Fans each picture out to every viewer and retains the newest, so that a viewer who joins while
/// the screen is still gets it at once. Viewers of frames get whole JPEG files; viewers of tiles
/// get tables, and frames only while there is no table.
///
/// Safe from any thread: one lock makes every operation atomic, so a subscriber is either before or
/// after a publication and receives no frame twice. Sinks are called under that lock: they hand the
/// frame to their own queue and return, and never call back into the broadcaster.
class FrameBroadcaster {
 public:
  using Sink = std::function<void(const Frame&)>;
  using TileSink = std::function<void(const TilePicture&)>;

  /// Adds a viewer and hands it the retained frame, if any, before returning; that frame is not
  /// counted in `bytesSent`.
  UUID subscribe(Sink sink);

  /// Adds a viewer of tiles and hands it the retained table, if any, before returning.
  UUID subscribeToTiles(TileSink sink);

  /// Removes a viewer; an unknown identifier is ignored.
  void unsubscribe(const UUID& identifier);

  /// Retains the frame and hands it to every viewer, in no particular order.
  void publish(const Frame& frame);

  /// Retains the table and hands it to every viewer of tiles.
  void publishTiles(std::shared_ptr<const tiles::Table> table);

  /// Forgets the retained frame; viewers stay.
  void clearLatest();

  /// Forgets the retained table: viewers of tiles get frames until the next one.
  void clearTiles();

  /// Asks for a table with all segments.
  void requestTiles();

  /// Is called under the lock after every subscription and request, so that what is not retained
  /// can be made; null: nobody is notified any more.
  void setOnRequest(std::function<void()> onRequest);

  std::size_t viewerCount() const;       ///< of both kinds
  std::size_t frameViewerCount() const;  ///< of frames alone
  std::size_t tileViewerCount() const;

  /// Returns whether a table is retained.
  bool hasTiles() const;

  /// Bytes handed to sinks as frames or reported by `addTileBytes` since creation, whether or not
  /// they reached the network.
  std::int64_t bytesSent() const;

  /// Counts what was sent to a viewer of tiles.
  void addTileBytes(std::size_t bytes);

  /// The bytes per second that each viewer of tiles may get on average.
  double tileByteRate() const { return tileByteRate_; }
  void setTileByteRate(double bytesPerSecond) { tileByteRate_ = bytesPerSecond; }

  /// Returns the retained frame, or null if there is none.
  Frame latest() const;

  /// Returns the size of the retained picture in pixels, or nullopt if there is none.
  std::optional<PixelSize> latestSize() const;

 private:
  void count(std::size_t bytes, std::size_t viewers);
  void notifyOfRequest();

  mutable std::mutex mutex_;
  // guarded by mutex_
  std::unordered_map<UUID, Sink> sinks_;
  std::unordered_map<UUID, TileSink> tileSinks_;
  std::function<void()> onRequest_;
  Frame latest_;
  std::shared_ptr<const tiles::Table> table_;
  std::int64_t bytesSent_ = 0;

  std::atomic<double> tileByteRate_{std::numeric_limits<double>::max()};
};

}  // namespace tarvinel

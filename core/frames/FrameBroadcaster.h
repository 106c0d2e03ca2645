#pragma once

#include "core/frames/Frame.h"
#include "core/support/UUID.h"

#include <cstddef>
#include <cstdint>
#include <functional>
#include <mutex>
#include <unordered_map>

namespace tarvinel {

/// Fans each encoded frame out to every viewer and retains the newest, so that a viewer who joins
/// while the screen is still gets a picture at once.
///
/// Safe from any thread: one lock makes every operation atomic, so a subscriber is either before or
/// after a publication and receives no frame twice. Sinks are called under that lock: they hand the
/// frame to their own queue and return, and never call back into the broadcaster.
class FrameBroadcaster {
 public:
  using Sink = std::function<void(const Frame&)>;

  /// Adds a viewer and hands it the retained frame, if any, before returning; that frame is not
  /// counted in `bytesSent`.
  UUID subscribe(Sink sink);

  /// Removes a viewer; an unknown identifier is ignored.
  void unsubscribe(const UUID& identifier);

  /// Retains the frame and hands it to every viewer, in no particular order.
  void publish(const Frame& frame);

  /// Forgets the retained frame; viewers stay.
  void clearLatest();

  std::size_t viewerCount() const;

  /// Frame bytes handed to sinks since creation, whether or not they reached the network.
  std::int64_t bytesSent() const;

  /// Returns the retained frame, or null if there is none.
  Frame latest() const;

 private:
  mutable std::mutex mutex_;
  // guarded by mutex_
  std::unordered_map<UUID, Sink> sinks_;
  Frame latest_;
  std::int64_t bytesSent_ = 0;
};

}  // namespace tarvinel

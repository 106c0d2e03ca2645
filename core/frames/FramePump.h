#pragma once

#include "core/frames/Frame.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/support/SerialQueue.h"

#include <functional>
#include <mutex>

namespace tarvinel {

/// Publishes frames on a thread of its own, so that a slow broadcaster never blocks the capture. At
/// most one frame waits: a newer one replaces it. Frames are published in the order offered. Safe
/// from any thread.
class FramePump {
 public:
  /// The broadcaster must outlive the pump.
  explicit FramePump(FrameBroadcaster& broadcaster);
  ~FramePump() { queue_.stop(); }
  FramePump(const FramePump&) = delete;
  FramePump& operator=(const FramePump&) = delete;

  void offer(Frame frame);

  /// Drops the frame that waits, if any.
  void discard();

  /// Calls `then` on the pump's thread once everything offered before is published or dropped.
  void afterPublishing(std::function<void()> then);

 private:
  void publishNewest();
  Frame takeNewest();

  SerialQueue queue_{".publish"};
  FrameBroadcaster& broadcaster_;
  std::mutex mutex_;
  Frame newest_;  // guarded by mutex_; while it is set a publishing task is posted
};

}  // namespace tarvinel

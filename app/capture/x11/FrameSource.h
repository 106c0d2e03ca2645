#pragma once

#include "app/capture/ScreenCaptureService.h"

#include <xcb/xcb.h>

#include <optional>

namespace tarvinel::x11 {

class Connection;

/// The source of a stream's frames, with the connection over which it is read. It knows no queue
/// and no clock: its owner passes it the events and requests frames. Every call may throw Error,
/// after which the source is unusable.
class FrameSource {
 public:
  virtual ~FrameSource() = default;
  FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  virtual const Connection& connection() const = 0;

  /// Handles one event of the connection.
  virtual void handle(const xcb_generic_event_t& event) = 0;

  /// Returns whether `capture` may find something new.
  virtual bool wantsCapture() const = 0;

  /// Updates the picture; returns nullopt if it has not changed. The first frame is whole.
  virtual std::optional<CapturedFrame> capture() = 0;
};

}  // namespace tarvinel::x11

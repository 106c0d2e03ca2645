#pragma once

#include "app/capture/ScreenCaptureService.h"

#include <xcb/xcb.h>

#include <optional>

namespace tarvinel::x11 {

class Connection;

/// What a stream shows, with the connection it is read over. Knows no queue and no clock: it is
/// told of the events and asked for frames. Every call may throw Error, after which a source is
/// of no more use.
class FrameSource {
 public:
  virtual ~FrameSource() = default;
  FrameSource() = default;
  FrameSource(const FrameSource&) = delete;
  FrameSource& operator=(const FrameSource&) = delete;

  virtual const Connection& connection() const = 0;

  /// Takes notice of one event of the connection.
  virtual void handle(const xcb_generic_event_t& event) = 0;

  /// True when `capture` may find something new.
  virtual bool wantsCapture() const = 0;

  /// Brings the picture up to date; none when it has not changed. The first frame is whole.
  virtual std::optional<CapturedFrame> capture() = 0;
};

}  // namespace tarvinel::x11

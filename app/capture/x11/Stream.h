#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/x11/CapturePacing.h"
#include "app/capture/x11/FrameSource.h"
#include "core/support/SerialQueue.h"

#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <system_error>

namespace tarvinel::x11 {

/// Drives one source: waits for the connection's events, looks when they tell of something new, not
/// more often than the rate allows, and sleeps while the screen is still. Lives on the capture
/// queue, which outlives it; made by std::make_shared.
class Stream final : public CaptureStream, public std::enable_shared_from_this<Stream> {
 public:
  /// Connects and prepares; called by `start`. May throw.
  using OpenSource = std::function<std::unique_ptr<FrameSource>()>;

  Stream(SerialQueue& queue, OpenSource openSource, std::int32_t framesPerSecond,
         StreamHandlers handlers);

  /// May be called once.
  void start(Completion<void> completion) override;
  void stop(Completion<void> completion) override;

 private:
  void open();
  void close();
  bool isOpen() const { return source_ != nullptr; }
  void advance();
  void takeEvents();
  bool mayLookNow();
  void look();
  void awaitEvents();
  void awaitTime();
  void fail(std::exception_ptr error);

  SerialQueue& queue_;
  const OpenSource openSource_;
  StreamHandlers handlers_;
  CapturePacing pacing_;
  std::unique_ptr<FrameSource> source_;                   ///< null: not started, stopped or failed
  std::optional<asio::posix::stream_descriptor> socket_;  ///< a duplicate of the connection's
  asio::steady_timer timer_;
  bool awaitingEvents_ = false;
  bool awaitingTime_ = false;
};

}  // namespace tarvinel::x11

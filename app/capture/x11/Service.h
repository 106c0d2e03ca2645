#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "app/capture/x11/FrameSource.h"
#include "app/x11/Connection.h"
#include "core/support/SerialQueue.h"

#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <unordered_map>

namespace tarvinel::x11 {

/// Decides when a stream may look at the screen again. Pure: the time is passed in.
class CapturePacing {
 public:
  using Time = std::chrono::steady_clock::time_point;

  /// A rate below 1 counts as 1.
  explicit CapturePacing(std::int32_t framesPerSecond);

  /// Returns the earliest time of the next look; initially a time long past.
  Time notBefore() const { return notBefore_; }

  /// Records a look that began at `now`. After a frame the next look comes an interval later at the
  /// earliest. A look without a frame (something changed elsewhere) delays the next one by only a
  /// fraction of that, which still limits the looks that a busy neighbour causes.
  void looked(Time now, bool delivered);

 private:
  std::chrono::nanoseconds interval_;
  Time notBefore_{};
};

/// Drives one source: waits for the connection's events, looks when they report something new, no
/// more often than the rate allows, and sleeps while the screen is still. Lives on the capture
/// queue, which outlives it; made by std::make_shared.
class Stream final : public CaptureStream, public std::enable_shared_from_this<Stream> {
 public:
  /// Connects and prepares the source; called by `start`. May throw.
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

/// Screen capture from an X server: displays, windows and applications. Lives on the capture queue,
/// which outlives it. Holds no connection itself: each listing and each stream has its own.
class Service final : public ScreenCaptureService {
 public:
  /// `server` is the display's name such as ":0", or empty if the environment has none: listing and
  /// streams then fail with a message that says so.
  Service(SerialQueue& queue, std::string server, Options options = {});

  void shareableContent(Completion<ShareableContent> completion) override;

  std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                            const StreamConfiguration& configuration,
                                            StreamHandlers handlers) override;

 private:
  ShareableContent listContent();
  Stream::OpenSource opener(const ContentFilter& filter, bool showsCursor) const;
  std::int32_t listedProcess(std::uint32_t windowID) const;

  SerialQueue& queue_;
  const std::string server_;
  const Options options_;
  std::unordered_map<std::uint32_t, std::int32_t> listed_;  ///< process by window, when last listed
};

}  // namespace tarvinel::x11

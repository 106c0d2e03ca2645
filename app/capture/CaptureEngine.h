#pragma once

#include "app/capture/CaptureSource.h"
#include "app/capture/FramePipeline.h"
#include "app/capture/ScreenCaptureService.h"
#include "app/capture/SourceCatalog.h"
#include "core/config/TarvinelConfig.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/frames/FramePump.h"
#include "core/support/Log.h"
#include "core/support/Result.h"
#include "core/support/SerialQueue.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// Owns the screen capture: lists what can be shared, runs at most one stream, and encodes what it
/// delivers into frames for the broadcaster.
///
/// Everything runs on the engine's own queue (".capture"). Members may be called from any thread,
/// the destructor from any thread but that queue's. Completions and the stop callback run on the
/// capture queue; those still pending when the engine is destroyed are dropped.
class CaptureEngine {
 public:
  /// Makes the platform's service. It is called on the capture queue at the first listing; if it
  /// throws, that listing fails and the next one tries again.
  using ServiceFactory = std::function<std::unique_ptr<ScreenCaptureService>(SerialQueue& queue)>;

  /// The broadcaster must outlive the engine.
  CaptureEngine(FrameBroadcaster& broadcaster, Logger logger, ServiceFactory makeService,
                const CaptureTools& tools = CaptureTools::system());
  ~CaptureEngine();
  CaptureEngine(const CaptureEngine&) = delete;
  CaptureEngine& operator=(const CaptureEngine&) = delete;

  /// Lists the sources in menu order, without those of the program's own bundle. Every failure is
  /// reported as CaptureError noPermission.
  void listSources(std::optional<std::string> excludingBundleID,
                   Completion<std::vector<CaptureSource>> completion);

  /// Captures a source of the latest listing in place of the current one. Fails with CaptureError
  /// unknownSource if the listing does not contain it, with the service's error if it cannot be
  /// captured, and with operation_canceled if the presenter declined or it was stopped before it
  /// began. If the presenter declined, the previous capture continues; after other failures nothing
  /// is captured. Returns the number by which `onStop` identifies this capture; never 0.
  std::uint64_t start(CaptureSource source, TarvinelConfig config, Completion<void> completion);

  /// Stops the stream, if any; never fails. No frame is published after its completion.
  void stop(Completion<void> completion);

  /// Sets the frames per second while the screen moves (at least 1), until the next start.
  void setMotionFPS(std::int64_t framesPerSecond);

  /// Is called with the number of a capture and the error when its stream ended by itself, after
  /// its last frame was published. Another capture may have been started meanwhile.
  using StopHandler = std::function<void(std::uint64_t capture, const Result<void>& why)>;
  void setOnStop(StopHandler onStop);

  /// Returns the recent average size of a motion frame in bytes; 0 before the first.
  double motionBytesAverage() const { return pipeline_.motionBytesAverage(); }

  /// Returns whether the capture that was started last has had a picture for viewers.
  bool hasSentFrame() const { return pipeline_.hasSentFrame(); }

 private:
  struct Capture {
    std::uint64_t number = 0;
    std::shared_ptr<CaptureStream> stream;
    StreamConfiguration configuration;
    FrameSettings settings;
    SourceCatalog::Entry shown;
    Completion<void> onStarted;
  };

  ScreenCaptureService& service();
  void list(const std::optional<std::string>& excludingBundleID,
            const Completion<std::vector<CaptureSource>>& completion);
  Result<std::vector<CaptureSource>> listed(const Result<ShareableContent>& content,
                                            const std::optional<std::string>& excludingBundleID);
  std::vector<SourceCatalog::Entry> shownSources() const;
  void begin(std::uint64_t number, const CaptureSource& source, const TarvinelConfig& config,
             Completion<void> completion);
  Capture makeCapture(std::uint64_t number, const CaptureSource& source,
                      const TarvinelConfig& config);
  StreamHandlers handlersOf(std::uint64_t number);
  void startNext();
  void streamStarted(std::uint64_t number, const Result<void>& result);
  void startFailed(const Result<void>& result);
  void showNext();
  void end(Completion<void> completion);
  void endStart();
  void stopStream(const std::shared_ptr<CaptureStream>& stream, Completion<void> completion);
  void logStopped(const Result<void>& result);
  void streamStopped(std::uint64_t number, const Result<void>& why);
  void frame(std::uint64_t number, const CapturedFrame& frame);
  void viewerWaits();
  void tick();
  static bool isOf(const std::optional<Capture>& capture, std::uint64_t number) {
    return capture && capture->number == number;
  }
  Capture dropNext();
  Capture dropCapture();
  Capture keepUntilNextTask(std::optional<Capture>& capture);
  void afterPublishing(std::function<void()> task);

  SerialQueue queue_{".capture"};
  const Logger logger_;
  const ServiceFactory makeService_;
  FrameBroadcaster& broadcaster_;
  FramePump pump_;
  std::atomic<std::uint64_t> captures_{0};  ///< started so far

  // used on the queue only
  FramePipeline pipeline_;
  std::unique_ptr<RepeatingTimer> settleTimer_;
  std::unique_ptr<ScreenCaptureService> service_;
  SourceCatalog catalog_;
  std::optional<Capture> capture_;  // its frames are published
  std::optional<Capture> next_;     // is starting and will replace capture_
  StopHandler onStop_;
};

}  // namespace tarvinel

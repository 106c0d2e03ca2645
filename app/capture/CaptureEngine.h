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

/// Owns the screen capture: lists what can be shared, runs at most one stream, and makes frames for
/// the broadcaster of what the stream delivers.
///
/// Everything lives on the engine's own queue (".capture"); its members may be called from any
/// thread, its destructor from any other than that queue. Completions and the stop callback run on
/// the capture queue; those still open when the engine goes are dropped.
class CaptureEngine {
 public:
  /// Makes the platform's service, on the capture queue at the first listing; when it throws, that
  /// listing fails and the next one tries again.
  using ServiceFactory = std::function<std::unique_ptr<ScreenCaptureService>(SerialQueue& queue)>;

  /// The broadcaster must outlive the engine.
  CaptureEngine(FrameBroadcaster& broadcaster, Logger logger, ServiceFactory makeService,
                const CaptureTools& tools = CaptureTools::system());
  ~CaptureEngine();
  CaptureEngine(const CaptureEngine&) = delete;
  CaptureEngine& operator=(const CaptureEngine&) = delete;

  /// Lists the sources in menu order, without those of the program's own bundle. Fails with
  /// CaptureError noPermission, whatever went wrong.
  void listSources(std::optional<std::string> excludingBundleID,
                   Completion<std::vector<CaptureSource>> completion);

  /// Captures a source of the latest listing in place of what is captured now. Fails with
  /// CaptureError unknownSource when the listing does not have it, with the service's error when it
  /// cannot be captured, and with operation_canceled when the presenter refused, or it was stopped
  /// before it began. After a refusal what was captured before goes on, else nothing is captured.
  /// Returns the number by which `onStop` names this capture; never 0.
  std::uint64_t start(CaptureSource source, TarvinelConfig config, Completion<void> completion);

  /// Stops the stream, if any; never fails. No frame is published after it completed.
  void stop(Completion<void> completion);

  /// Frames per second while the screen moves (at least 1), until the next start.
  void setMotionFPS(std::int64_t framesPerSecond);

  /// Called with the number of a capture and the error when its stream ended by itself, after its
  /// last frame was published. Another capture may have been started meanwhile.
  using StopHandler = std::function<void(std::uint64_t capture, const Result<void>& why)>;
  void setOnStop(StopHandler onStop);

  /// Bytes of an encoded motion frame lately, 0 before the first.
  double motionBytesAverage() const { return pipeline_.motionBytesAverage(); }

  /// Whether there was a frame yet of what was started last.
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
  FramePump pump_;
  std::atomic<std::uint64_t> captures_{0};  ///< so far

  // of the queue
  FramePipeline pipeline_;
  std::unique_ptr<RepeatingTimer> settleTimer_;
  std::unique_ptr<ScreenCaptureService> service_;
  SourceCatalog catalog_;
  std::optional<Capture> capture_;  // whose frames go out
  std::optional<Capture> next_;     // starting, to take its place
  StopHandler onStop_;
};

}  // namespace tarvinel

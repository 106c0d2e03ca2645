#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/support/SerialQueue.h"
#include "tests/support/FrameLog.h"

#include <cstdint>
#include <functional>
#include <future>
#include <memory>

namespace tarvinel {

/// A capture service on a queue of its own with at most one stream, driven from the test's thread.
/// Everything made on the queue is destroyed on it.
class CaptureRun {
 public:
  using MakeService = std::function<std::unique_ptr<ScreenCaptureService>(SerialQueue&)>;

  explicit CaptureRun(const MakeService& makeService);
  ~CaptureRun();
  CaptureRun(const CaptureRun&) = delete;
  CaptureRun& operator=(const CaptureRun&) = delete;

  /// Waits for the list; throws what the service reports.
  ShareableContent content();

  /// Prepares a stream and waits for its start; throws if one of them fails.
  void start(const ContentFilter& filter, const StreamConfiguration& configuration);
  void startDisplay(std::uint32_t displayID, bool showsCursor = false);
  void startWindow(std::uint32_t windowID, bool showsCursor = false);

  /// Starts with the windows of a process on a display.
  void startApplication(std::int32_t processID, std::uint32_t displayID, bool showsCursor = false);
  void stop();

  /// Drops the stream without stopping it.
  void drop();

  FrameLog& log() { return log_; }
  SerialQueue& queue() { return queue_; }

 private:
  FrameLog log_;
  std::unique_ptr<ScreenCaptureService> service_;
  std::shared_ptr<CaptureStream> stream_;
  SerialQueue queue_{".capture"};
};

}  // namespace tarvinel

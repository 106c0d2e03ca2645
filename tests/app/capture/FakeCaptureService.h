#pragma once

#include "app/capture/ScreenCaptureService.h"
#include "core/support/SerialQueue.h"

#include <exception>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace tarvinel {

inline std::exception_ptr failure(const std::string& text) {
  return std::make_exception_ptr(std::runtime_error(text));
}

/// The state with which a test controls and observes the fake service. Used on the capture queue
/// only.
struct FakeScreen {
  struct Stream {
    ContentFilter filter;
    StreamConfiguration configuration;
    StreamHandlers handlers;
    Completion<void> pendingStart;  ///< set while `holdStarts`
    bool stopped = false;
    bool goneOnQueue = false;  ///< destroyed on the capture queue
  };

  SerialQueue* queue = nullptr;
  ShareableContent content;
  std::exception_ptr serviceFailure;
  std::exception_ptr listFailure;
  std::exception_ptr makeFailure;
  std::exception_ptr startFailure;
  std::exception_ptr stopFailure;
  bool holdStarts = false;
  std::vector<std::shared_ptr<Stream>> streams;
};

class FakeCaptureStream : public CaptureStream {
 public:
  FakeCaptureStream(FakeScreen& screen, std::shared_ptr<FakeScreen::Stream> stream)
      : screen_(screen), stream_(std::move(stream)) {}

  ~FakeCaptureStream() override {
    stream_->goneOnQueue = screen_.queue != nullptr && screen_.queue->isCurrent();
  }
  FakeCaptureStream(const FakeCaptureStream&) = delete;
  FakeCaptureStream& operator=(const FakeCaptureStream&) = delete;

  void start(Completion<void> completion) override {
    if (screen_.holdStarts) {
      stream_->pendingStart = std::move(completion);
    } else {
      completion(screen_.startFailure ? Result<void>(screen_.startFailure) : Result<void>());
    }
  }

  void stop(Completion<void> completion) override {
    stream_->stopped = true;
    completion(screen_.stopFailure ? Result<void>(screen_.stopFailure) : Result<void>());
  }

 private:
  FakeScreen& screen_;
  std::shared_ptr<FakeScreen::Stream> stream_;
};

class FakeCaptureService : public ScreenCaptureService {
 public:
  explicit FakeCaptureService(FakeScreen& screen) : screen_(screen) {}

  void shareableContent(Completion<ShareableContent> completion) override {
    if (screen_.listFailure) {
      completion(screen_.listFailure);
    } else {
      completion(screen_.content);
    }
  }

  std::shared_ptr<CaptureStream> makeStream(const ContentFilter& filter,
                                            const StreamConfiguration& configuration,
                                            StreamHandlers handlers) override {
    if (screen_.makeFailure) std::rethrow_exception(screen_.makeFailure);
    screen_.streams.push_back(std::make_shared<FakeScreen::Stream>(
        FakeScreen::Stream{filter, configuration, std::move(handlers), nullptr, false}));
    return std::make_shared<FakeCaptureStream>(screen_, screen_.streams.back());
  }

 private:
  FakeScreen& screen_;
};

}  // namespace tarvinel

#include "tests/support/CaptureRun.h"

#include <utility>

namespace tarvinel {

namespace {

/// Runs an operation on the queue, waits for its completion and returns the result.
template <class T>
T await(SerialQueue& queue, const std::function<void(Completion<T>)>& operation) {
  std::promise<Result<T>> promise;
  queue.sync(
      [&] { operation([&promise](Result<T> result) { promise.set_value(std::move(result)); }); });
  return promise.get_future().get().value();
}

}  // namespace

CaptureRun::CaptureRun(const MakeService& makeService) {
  queue_.sync([&] { service_ = makeService(queue_); });
}

CaptureRun::~CaptureRun() {
  queue_.sync([this] {
    stream_.reset();
    service_.reset();
  });
}

ShareableContent CaptureRun::content() {
  return await<ShareableContent>(queue_, [this](Completion<ShareableContent> completion) {
    service_->shareableContent(std::move(completion));
  });
}

void CaptureRun::start(const ContentFilter& filter, const StreamConfiguration& configuration) {
  queue_.sync([&] { stream_ = service_->makeStream(filter, configuration, log_.handlers()); });
  await<void>(queue_,
              [this](Completion<void> completion) { stream_->start(std::move(completion)); });
}

void CaptureRun::startDisplay(std::uint32_t displayID, bool showsCursor) {
  ContentFilter filter;
  filter.displayID = displayID;
  start(filter, {640, 480, 60, showsCursor});
}

void CaptureRun::startWindow(std::uint32_t windowID, bool showsCursor) {
  ContentFilter filter;
  filter.kind = ContentFilter::Kind::window;
  filter.windowID = windowID;
  start(filter, {640, 480, 60, showsCursor});
}

void CaptureRun::startApplication(std::int32_t processID, std::uint32_t displayID,
                                  bool showsCursor) {
  ContentFilter filter;
  filter.kind = ContentFilter::Kind::application;
  filter.processID = processID;
  filter.displayID = displayID;
  start(filter, {640, 480, 60, showsCursor});
}

void CaptureRun::stop() {
  await<void>(queue_,
              [this](Completion<void> completion) { stream_->stop(std::move(completion)); });
}

void CaptureRun::drop() {
  queue_.sync([this] { stream_.reset(); });
}

}  // namespace tarvinel

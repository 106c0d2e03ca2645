#include "app/capture/CaptureEngine.h"

#include "app/capture/CaptureError.h"
#include "app/capture/StreamGeometry.h"
#include "core/support/FatalError.h"

#include <limits>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

std::exception_ptr unknownSource() {
  return std::make_exception_ptr(CaptureError(CaptureError::Case::unknownSource));
}

std::exception_ptr noPermission() {
  return std::make_exception_ptr(CaptureError(CaptureError::Case::noPermission));
}

Result<void> stoppedBeforeItBegan() {
  return std::make_exception_ptr(
      std::system_error(std::make_error_code(std::errc::operation_canceled)));
}

std::int32_t frameRate(std::int64_t fps) {
  using Limits = std::numeric_limits<std::int32_t>;
  if (fps < Limits::min() || fps > Limits::max()) fatalError("frame rate out of range");
  return static_cast<std::int32_t>(fps);
}

StreamConfiguration configurationOf(const CaptureSource& source, const TarvinelConfig& config) {
  const PixelSize size = configuredSize(source.size, config.scale);
  return {size.width, size.height, frameRate(config.fps), true};
}

FrameSettings settingsOf(const TarvinelConfig& config, const StreamConfiguration& configuration) {
  return {config.jpegQuality,
          config.motionQuality,
          1 / config.scale,
          config.motionFps.value_or(FrameSettings::defaultMotionFPS),
          {configuration.width, configuration.height},
          config.scale};
}

}  // namespace

CaptureEngine::CaptureEngine(FrameBroadcaster& broadcaster, Logger logger,
                             ServiceFactory makeService, const CaptureTools& tools)
    : logger_(std::move(logger)),
      makeService_(std::move(makeService)),
      pump_(broadcaster),
      pipeline_(pump_, logger_, tools),
      settleTimer_(tools.makeSettleTimer(queue_, [this] { tick(); })) {}

CaptureEngine::~CaptureEngine() {
  queue_.sync([this] {
    capture_.reset();
    service_.reset();
  });
  queue_.stop();
}

void CaptureEngine::listSources(std::optional<std::string> excludingBundleID,
                                Completion<std::vector<CaptureSource>> completion) {
  queue_.post([this, excluding = std::move(excludingBundleID), completion = std::move(completion)] {
    list(excluding, completion);
  });
}

void CaptureEngine::start(CaptureSource source, TarvinelConfig config,
                          Completion<void> completion) {
  queue_.post([this, source = std::move(source), config = std::move(config),
               completion = std::move(completion)] { begin(source, config, completion); });
}

void CaptureEngine::stop(Completion<void> completion) {
  queue_.post([this, completion = std::move(completion)] { end(completion); });
}

void CaptureEngine::setMotionFPS(std::int64_t framesPerSecond) {
  queue_.post([this, framesPerSecond] { pipeline_.setMotionFPS(framesPerSecond); });
}

void CaptureEngine::setOnStop(std::function<void(Result<void>)> onStop) {
  queue_.post([this, onStop = std::move(onStop)]() mutable { onStop_ = std::move(onStop); });
}

// Listing

ScreenCaptureService& CaptureEngine::service() {
  if (!service_) service_ = makeService_(queue_);
  return *service_;
}

void CaptureEngine::list(const std::optional<std::string>& excludingBundleID,
                         const Completion<std::vector<CaptureSource>>& completion) {
  auto onContent = [this, excludingBundleID, completion](const Result<ShareableContent>& content) {
    completion(listed(content, excludingBundleID));
  };
  const auto asked = resultOf([&] { service().shareableContent(onContent); });
  if (!asked.ok()) onContent(asked.error());
}

Result<std::vector<CaptureSource>> CaptureEngine::listed(
    const Result<ShareableContent>& content, const std::optional<std::string>& excludingBundleID) {
  if (!content.ok()) {
    logger_->error("shareable content failed: {}", describe(content.error()));
    return noPermission();
  }
  catalog_ = SourceCatalog(content.value(), excludingBundleID);
  logger_->info(
      "sources: {} displays, {} windows, {} apps", catalog_.count(CaptureSource::Kind::display),
      catalog_.count(CaptureSource::Kind::window), catalog_.count(CaptureSource::Kind::app));
  return catalog_.sources();
}

// Starting

void CaptureEngine::begin(const CaptureSource& source, const TarvinelConfig& config,
                          Completion<void> completion) {
  if (capture_) end([](const Result<void>&) {});
  const auto made = resultOf([&] { capture_ = makeCapture(source, config); });
  if (!made.ok()) {
    completion(made);
    return;
  }
  capture_->onStarted = std::move(completion);
  pipeline_.begin(settingsOf(config, capture_->configuration));
  startStream();
}

CaptureEngine::Capture CaptureEngine::makeCapture(const CaptureSource& source,
                                                  const TarvinelConfig& config) {
  const auto filter = catalog_.filter(source.id);
  if (!filter) std::rethrow_exception(unknownSource());
  const StreamConfiguration configuration = configurationOf(source, config);
  const std::uint64_t number = ++captures_;
  return {number, service().makeStream(*filter, configuration, handlersOf(number)), configuration,
          source.title, nullptr};
}

StreamHandlers CaptureEngine::handlersOf(std::uint64_t number) {
  return {[this, number](const CapturedFrame& captured) { frame(number, captured); },
          [this, number](std::exception_ptr error) { streamStopped(number, std::move(error)); }};
}

void CaptureEngine::startStream() {
  const auto stream = capture_->stream;  // it may fail at once and be dropped
  auto started = [this, number = capture_->number](const Result<void>& result) {
    streamStarted(number, result);
  };
  const auto asked = resultOf([&] { stream->start(started); });
  if (!asked.ok()) started(asked);
}

void CaptureEngine::streamStarted(std::uint64_t number, const Result<void>& result) {
  if (!isCurrent(number) || !capture_->onStarted) return;
  if (!result.ok()) {
    logger_->error("startCapture failed for {}: {}", capture_->title, describe(result.error()));
    dropCapture(result);
    return;
  }
  const StreamConfiguration& configuration = capture_->configuration;
  logger_->info("capturing {} at {}x{} {} fps", capture_->title, configuration.width,
                configuration.height, configuration.framesPerSecond);
  std::exchange(capture_->onStarted, nullptr)({});
}

// Stopping

void CaptureEngine::end(Completion<void> completion) {
  if (!capture_) {
    completion({});
    return;
  }
  const auto stream = dropCapture(stoppedBeforeItBegan());
  auto stopped = [this, stream, completion = std::move(completion)](const Result<void>& result) {
    logStopped(result);
    afterPublishing([completion] { completion({}); });
  };
  const auto asked = resultOf([&] { stream->stop(stopped); });
  if (!asked.ok()) stopped(asked);
}

void CaptureEngine::logStopped(const Result<void>& result) {
  if (result.ok()) {
    logger_->info("capture stopped");
  } else {
    logger_->error("stopCapture: {}", describe(result.error()));
  }
}

void CaptureEngine::streamStopped(std::uint64_t number, const Result<void>& why) {
  logger_->error("stream stopped: {}", describe(why.error()));
  if (isCurrent(number)) dropCapture(why);
  afterPublishing([this, why] {
    if (onStop_) onStop_(why);
  });
}

// The stream lives on until the next task: it may be the one that is calling.
std::shared_ptr<CaptureStream> CaptureEngine::dropCapture(const Result<void>& notStartedBecause) {
  const Capture dropped = std::move(*capture_);
  capture_.reset();
  queue_.post([stream = dropped.stream] {});
  pipeline_.forget();
  pump_.discard();
  settleTimer_->run(pipeline_.needsTicks());
  if (dropped.onStarted) dropped.onStarted(notStartedBecause);
  return dropped.stream;
}

// So that an owner who makes viewers forget the picture in `task` is not overtaken by a late frame.
void CaptureEngine::afterPublishing(std::function<void()> task) {
  pump_.afterPublishing([this, task = std::move(task)] { queue_.post(task); });
}

// Frames

void CaptureEngine::frame(std::uint64_t number, const CapturedFrame& frame) {
  if (!isCurrent(number)) return;
  pipeline_.frame(frame);
  settleTimer_->run(pipeline_.needsTicks());
}

void CaptureEngine::tick() {
  pipeline_.tick();
  settleTimer_->run(pipeline_.needsTicks());
}

}  // namespace tarvinel

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
      broadcaster_(broadcaster),
      pump_(broadcaster),
      pipeline_(broadcaster, pump_, logger_, tools),
      settleTimer_(tools.makeSettleTimer(queue_, [this] { tick(); })) {
  broadcaster_.setOnRequest([this] { queue_.post([this] { viewerWaits(); }); });
}

CaptureEngine::~CaptureEngine() {
  broadcaster_.setOnRequest(nullptr);
  queue_.sync([this] {
    next_.reset();
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

std::uint64_t CaptureEngine::start(CaptureSource source, TarvinelConfig config,
                                   Completion<void> completion) {
  const std::uint64_t number = ++captures_;
  queue_.post([this, number, source = std::move(source), config = std::move(config),
               completion = std::move(completion)] { begin(number, source, config, completion); });
  return number;
}

void CaptureEngine::stop(Completion<void> completion) {
  queue_.post([this, completion = std::move(completion)] { end(completion); });
}

void CaptureEngine::setMotionFPS(std::int64_t framesPerSecond) {
  queue_.post([this, framesPerSecond] { pipeline_.setMotionFPS(framesPerSecond); });
}

void CaptureEngine::setOnStop(StopHandler onStop) {
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
  catalog_ = SourceCatalog(content.value(), excludingBundleID, shownSources());
  logger_->info(
      "sources: {} displays, {} windows, {} apps", catalog_.count(CaptureSource::Kind::display),
      catalog_.count(CaptureSource::Kind::window), catalog_.count(CaptureSource::Kind::app));
  return catalog_.sources();
}

std::vector<SourceCatalog::Entry> CaptureEngine::shownSources() const {
  std::vector<SourceCatalog::Entry> shown;
  if (capture_) shown.push_back(capture_->shown);
  if (next_) shown.push_back(next_->shown);
  return shown;
}

// Starting

// The desktop may ask the presenter first; until then the current capture continues.
void CaptureEngine::begin(std::uint64_t number, const CaptureSource& source,
                          const TarvinelConfig& config, Completion<void> completion) {
  endStart();
  const auto made = resultOf([&] { next_ = makeCapture(number, source, config); });
  if (!made.ok()) {
    end([](const Result<void>&) {});
    completion(made);
    return;
  }
  next_->onStarted = std::move(completion);
  startNext();
}

CaptureEngine::Capture CaptureEngine::makeCapture(std::uint64_t number, const CaptureSource& source,
                                                  const TarvinelConfig& config) {
  const auto filter = catalog_.filter(source.id);
  if (!filter) std::rethrow_exception(unknownSource());
  const StreamConfiguration configuration = configurationOf(source, config);
  return {number,
          service().makeStream(*filter, configuration, handlersOf(number)),
          configuration,
          settingsOf(config, configuration),
          {source, *filter},
          nullptr};
}

StreamHandlers CaptureEngine::handlersOf(std::uint64_t number) {
  return {[this, number](const CapturedFrame& captured) { frame(number, captured); },
          [this, number](std::exception_ptr error) { streamStopped(number, std::move(error)); }};
}

void CaptureEngine::startNext() {
  const auto stream = next_->stream;  // start() may fail at once, which resets next_
  auto started = [this, number = next_->number](const Result<void>& result) {
    streamStarted(number, result);
  };
  const auto asked = resultOf([&] { stream->start(started); });
  if (!asked.ok()) started(asked);
}

void CaptureEngine::streamStarted(std::uint64_t number, const Result<void>& result) {
  if (!isOf(next_, number)) return;
  if (result.ok()) {
    showNext();
  } else {
    startFailed(result);
  }
}

// The presenter wants to show something else: the old capture continues only if they cancel.
void CaptureEngine::startFailed(const Result<void>& result) {
  logger_->error("startCapture failed for {}: {}", next_->shown.source.title,
                 describe(result.error()));
  const Capture failed = dropNext();
  if (!isRefusal(result.error())) end([](const Result<void>&) {});
  failed.onStarted(result);
}

void CaptureEngine::showNext() {
  if (capture_) stopStream(dropCapture().stream, [](const Result<void>&) {});
  capture_ = std::exchange(next_, std::nullopt);
  const StreamConfiguration& configuration = capture_->configuration;
  logger_->info("capturing {} at {}x{} {} fps", capture_->shown.source.title, configuration.width,
                configuration.height, configuration.framesPerSecond);
  pipeline_.begin(capture_->settings);
  std::exchange(capture_->onStarted, nullptr)({});
}

// Stopping

void CaptureEngine::end(Completion<void> completion) {
  endStart();
  if (!capture_) {
    completion({});
    return;
  }
  stopStream(dropCapture().stream, std::move(completion));
}

void CaptureEngine::endStart() {
  if (!next_) return;
  const Capture ended = dropNext();
  stopStream(ended.stream, [](const Result<void>&) {});
  ended.onStarted(stoppedBeforeItBegan());
}

void CaptureEngine::stopStream(const std::shared_ptr<CaptureStream>& stream,
                               Completion<void> completion) {
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
  if (isOf(next_, number)) {
    const Capture ended = dropNext();
    ended.onStarted(why);
  }
  if (isOf(capture_, number)) dropCapture();
  afterPublishing([this, number, why] {
    if (onStop_) onStop_(number, why);
  });
}

CaptureEngine::Capture CaptureEngine::dropNext() {
  return keepUntilNextTask(next_);
}

CaptureEngine::Capture CaptureEngine::dropCapture() {
  pipeline_.forget();
  pump_.discard();
  settleTimer_->run(pipeline_.needsTicks());
  return keepUntilNextTask(capture_);
}

// The stream may be the caller, so the next task destroys it.
CaptureEngine::Capture CaptureEngine::keepUntilNextTask(std::optional<Capture>& capture) {
  Capture dropped = std::move(*capture);
  capture.reset();
  queue_.post([stream = dropped.stream] {});
  return dropped;
}

// An owner may make viewers forget the picture in `task`, which no late frame may overtake.
void CaptureEngine::afterPublishing(std::function<void()> task) {
  pump_.afterPublishing([this, task = std::move(task)] { queue_.post(task); });
}

// Frames

void CaptureEngine::frame(std::uint64_t number, const CapturedFrame& frame) {
  if (!isOf(capture_, number)) return;
  pipeline_.frame(frame);
  settleTimer_->run(pipeline_.needsTicks());
}

void CaptureEngine::viewerWaits() {
  pipeline_.viewerWaits();
  settleTimer_->run(pipeline_.needsTicks());
}

void CaptureEngine::tick() {
  pipeline_.tick();
  settleTimer_->run(pipeline_.needsTicks());
}

}  // namespace tarvinel

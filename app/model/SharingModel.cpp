#include "app/model/SharingModel.h"

#include "app/capture/CaptureError.h"
#include "core/frames/StreamPolicy.h"
#include "core/link/LinkMonitor.h"
#include "core/pages/ViewerPage.h"
#include "core/support/ApplicationIdentifier.h"

#include <algorithm>
#include <chrono>
#include <future>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::seconds orderlyCaptureEnd{1};

std::string waitingText(const std::optional<BrandConfig>& brand) {
  return brand && brand->waiting ? *brand->waiting : std::string(ViewerPage::defaultWaiting);
}

}  // namespace

SharingModel::SharingModel(Dependencies dependencies)
    : ModelPart(dependencies.mainQueue, dependencies.onChange),
      dependencies_(std::move(dependencies)),
      logger_(dependencies_.log.category("app")),
      engine_(dependencies_.broadcaster, dependencies_.log.category("capture"),
              dependencies_.captureService),
      quietCard_(waitingText(dependencies_.config.brand)) {
  setMotionRate(firstMotionRate());
}

void SharingModel::begin() {
  using CaptureEnd = std::pair<std::uint64_t, Result<void>>;
  engine_.setOnStop(
      [report = onMain<CaptureEnd>([](SharingModel& self, const CaptureEnd& end) {
         self.captureDidStop(end.first, end.second);
       })](std::uint64_t capture, const Result<void>& why) { report({capture, why}); });
  refreshSources([] {});
}

void SharingModel::end() {
  if (!endCallbacks()) return;
  endShare();
  endCapture();
}

// Ends the capture in order if the display responds, and interrupts it if it hangs.
void SharingModel::endCapture() {
  const auto stopped = std::make_shared<std::promise<void>>();
  engine_.stop([stopped](const Result<void>&) { stopped->set_value(); });
  const bool inOrder =
      stopped->get_future().wait_for(orderlyCaptureEnd) == std::future_status::ready;
  if (!inOrder && dependencies_.interruptCapture) dependencies_.interruptCapture();
}

void SharingModel::refreshSources(std::function<void()> done) {
  engine_.listSources(
      std::string(applicationIdentifier),
      onMain<Result<std::vector<CaptureSource>>>(
          [done = std::move(done)](SharingModel& self, Result<std::vector<CaptureSource>> sources) {
            self.sourcesListed(std::move(sources));
            done();
          }));
}

void SharingModel::sourcesListed(Result<std::vector<CaptureSource>> sources) {
  if (!sources.ok()) {
    update(permissionHint_, std::optional(describe(sources.error())));
    return;
  }
  update(permissionHint_, {});
  update(sources_, std::move(sources).value());
  // while the presenter is asked about another source, only the end of the capture ends the share
  if (isSharing_ && !isStarting_ && source(sharedID_) == nullptr) {
    stopBecause(CaptureError(CaptureError::Case::unknownSource).what());
  }
  if (selectedID_ && source(selectedID_) == nullptr) update(selectedID_, {});
}

void SharingModel::share(const std::string& sourceID, std::function<void()> unlisted) {
  refreshSources([weak = weak_from_this(), sourceID, unlisted = std::move(unlisted)] {
    const auto self = weak.lock();
    if (!self) return;
    self->select(sourceID);
    if (self->selectedID_ != sourceID) {
      unlisted();
    } else if (!self->isSharing_) {
      self->start();
    }
  });
}

void SharingModel::select(const std::string& sourceID) {
  const bool listed = std::ranges::any_of(
      sources_, [&](const CaptureSource& source) { return source.id == sourceID; });
  if (!listed || selectedID_ == sourceID) return;
  update(selectedID_, std::optional(sourceID));
  if (isSharing_) start();
}

const CaptureSource* SharingModel::source(const std::optional<std::string>& id) const {
  const auto found =
      std::ranges::find_if(sources_, [&](const CaptureSource& source) { return source.id == id; });
  return found == sources_.end() ? nullptr : &*found;
}

void SharingModel::start() {
  const CaptureSource* selected = source(selectedID_);
  if (selected == nullptr) return;
  const std::uint64_t share = ++currentShare_;
  isStarting_ = true;
  update(captureError_, {});
  startedCapture_ =
      engine_.start(*selected, dependencies_.config,
                    onMain<Result<void>>([share, source = *selected](SharingModel& self,
                                                                     const Result<void>& outcome) {
                      self.started(share, source, outcome);
                    }));
}

void SharingModel::started(std::uint64_t share, const CaptureSource& source,
                           const Result<void>& outcome) {
  if (share != currentShare_) return;
  isStarting_ = false;
  if (outcome.ok()) {
    update(captureError_, {});         // of the previous share, which has ended meanwhile
    setMotionRate(firstMotionRate());  // the engine's initial rate
    dependencies_.flag->startSharing(source.title);
    sharedID_ = source.id;
    sharedCapture_ = startedCapture_;
    dependencies_.desktop.dismissAlert();  // that an earlier share stopped
    setSharing(true);
  } else if (!isRefusal(outcome.error())) {
    update(captureError_, std::optional(describe(outcome.error())));
    stop();
  } else if (isSharing_) {
    update(selectedID_, std::optional(sharedID_));
  }
}

void SharingModel::stop(std::function<void()> done) {
  endShare();
  engine_.stop(onMain<Result<void>>(
      [done = std::move(done), ended = currentShare_](SharingModel& self, const Result<void>&) {
        // a share started meanwhile has its own picture, which the card must not replace
        if (ended == self.currentShare_) self.hidePicture();
        done();
      }));
}

/// The report may be late: it ends only the share that it belongs to. A pending start of another
/// source is not cancelled.
void SharingModel::captureDidStop(std::uint64_t capture, const Result<void>& why) {
  if (capture != sharedCapture_) return;
  if (!isStarting_) return stopBecause(describe(why.error()));
  notifyStopped(describe(why.error()));
  showNotSharing();
  if (!engine_.hasSentFrame()) hidePicture();
}

void SharingModel::stopBecause(const std::string& reason) {
  notifyStopped(reason);
  stop();
}

// Notifies the presenter, who may be looking at something else.
void SharingModel::notifyStopped(const std::string& reason) {
  update(captureError_, std::optional("Sharing stopped: " + reason));
  dependencies_.desktop.alert("Tarvinel", *captureError_);
}

void SharingModel::endShare() {
  ++currentShare_;
  isStarting_ = false;
  showNotSharing();
}

void SharingModel::showNotSharing() {
  sharedCapture_ = 0;
  dependencies_.flag->stopSharing();
  setSharing(false);
}

void SharingModel::setSharing(bool sharing) {
  if (isSharing_ != sharing) dependencies_.desktop.keepAwake(sharing);
  update(isSharing_, sharing);
}

// Shows the card to current viewers and discards the retained picture, so that the ended share is
// visible neither to them nor to new ones.
void SharingModel::hidePicture() {
  FrameBroadcaster& broadcaster = dependencies_.broadcaster;
  const auto size = broadcaster.latestSize();
  if (!size) return;
  broadcaster.clearTiles();
  const auto shown = resultOf([&] { broadcaster.publish(quietCard_.ofSize(*size)); });
  if (!shown.ok()) logger_->error("no card for viewers: {}", describe(shown.error()));
  broadcaster.clearLatest();
}

void SharingModel::tick(std::int64_t viewerCount, bool isWired) {
  if (!isSharing_) return;
  retuneMotionRate(viewerCount, isWired);
  dependencies_.broadcaster.setTileByteRate(
      StreamPolicy::byteRate(viewerCount, isWired, dependencies_.config.budgetMbps));
  // a desktop may deliver no picture before something changes, not even a first one
  if (!engine_.hasSentFrame()) hidePicture();
}

std::optional<std::string> SharingModel::sharedTitle() const {
  const CaptureSource* shared = isSharing_ ? source(sharedID_) : nullptr;
  return shared == nullptr ? std::nullopt : std::optional(shared->title);
}

void SharingModel::retuneMotionRate(std::int64_t viewerCount, bool isWired) {
  const std::int64_t rate =
      dependencies_.config.motionFps
          ? *dependencies_.config.motionFps
          : StreamPolicy::motionFPS(viewerCount,
                                    static_cast<std::int64_t>(engine_.motionBytesAverage()),
                                    isWired, dependencies_.config.budgetMbps,
                                    StreamPolicy::defaultFloor, StreamPolicy::defaultCeiling);
  if (rate == motionFPS_) return;
  engine_.setMotionFPS(rate);
  setMotionRate(rate);
  logger_->info("motion rate now {} fps for {} viewers on {}", rate, viewerCount,
                LinkMonitor::name(isWired));
}

std::int64_t SharingModel::firstMotionRate() const {
  return dependencies_.config.motionFps.value_or(FrameSettings::defaultMotionFPS);
}

void SharingModel::setMotionRate(std::int64_t rate) {
  dependencies_.flag->setMotionFPS(rate);
  update(motionFPS_, rate);
}

}  // namespace tarvinel

#include "app/model/AppModel.h"

#include "app/capture/CaptureError.h"
#include "core/frames/JPEGWriter.h"
#include "core/frames/StreamPolicy.h"
#include "core/http/StreamServer.h"
#include "core/link/LocalAddresses.h"
#include "core/pages/HelpPage.h"
#include "core/pages/ViewerPage.h"
#include "core/support/ApplicationIdentifier.h"
#include "core/support/RegularFile.h"
#include "core/support/Result.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <future>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::seconds tickInterval{1};
constexpr std::chrono::seconds orderlyCaptureEnd{1};
constexpr std::int64_t ticksBetweenSourceLists = 10;
constexpr std::int64_t ticksBetweenAddresses = 5;
constexpr std::int64_t ticksBeforeServerWithoutUploads = 3;
const std::string feedOverrideKey = "TarvinelFeedURL";
const std::string introducedKey = "introducedInTray";

std::string countOfViewers(std::int64_t count) {
  return fmt::format("{} {}", count, count == 1 ? "viewer" : "viewers");
}

std::string_view linkName(bool isWired) {
  return isWired ? "Ethernet" : "Wi-Fi";
}

/// Why the server may not have its port; none when it failed for another reason.
std::optional<std::error_code> refusalIn(const std::exception_ptr& error) {
  const auto failure = errorAs<StreamServerError>(error);
  if (!failure || failure->kind() != StreamServerError::Case::bindFailed) return std::nullopt;
  return failure->code();
}

/// The brand but for what only a server has.
std::optional<BrandConfig> withoutFiles(std::optional<BrandConfig> brand) {
  if (brand) brand->image.reset();
  if (brand) brand->font.reset();
  return brand;
}

std::string waitingText(const std::optional<BrandConfig>& brand) {
  return brand && brand->waiting ? *brand->waiting : std::string(ViewerPage::defaultWaiting);
}

std::vector<std::string> allowedHosts(const TarvinelConfig& config) {
  std::vector<std::string> names = namesOfThisComputer();
  names.insert(names.end(), config.allowedHosts.begin(), config.allowedHosts.end());
  return names;
}

}  // namespace

std::shared_ptr<AppModel> AppModel::create(TarvinelConfig config, Platform platform,
                                           const UploadLaunch& uploads) {
  std::shared_ptr<AppModel> model(new AppModel(std::move(config), std::move(platform), uploads));
  model->begin();
  return model;
}

AppModel::AppModel(TarvinelConfig config, Platform platform, const UploadLaunch& uploads)
    : config_(std::move(config)),
      platform_(std::move(platform)),
      logger_(platform_.log.category("app")),
      server_(broadcaster_, platform_.log.category("server"),
              {.port = config_.port,
               .status = [sharingFlag = sharingFlag_] { return sharingFlag->snapshot(); },
               .brand = config_.brand,
               .hostname = config_.hostname,
               .allowedHosts = allowedHosts(config_),
               .listenerFallback = config_.port == 80 ? platform_.listenerForPort80 : nullptr}),
      uploadStores_(std::make_shared<UploadStores>(platform_.log.category("upload"))),
      captureEngine_(broadcaster_, platform_.log.category("capture"), platform_.captureService),
      userDefaults_(platform_.userDefaults, logger_),
      quietCard_(waitingText(config_.brand)),
      namePublisher_(platform_.nameRegistrar, platform_.log.category("mdns")) {
  setMotionRate(firstMotionRate());
  readUploadDefaults(uploads);
}

AppModel::~AppModel() {
  end();
}

void AppModel::end() {
  if (std::exchange(hasEnded_, true)) return;
  onChange_ = nullptr;
  ticker_.reset();
  server_.stop();
  broadcaster_.clearLatest();
  endShare();
  endCapture();
  namePublisher_.stop();
}

// In order where the display answers; one that hangs is not waited for.
void AppModel::endCapture() {
  const auto stopped = std::make_shared<std::promise<void>>();
  captureEngine_.stop([stopped](const Result<void>&) { stopped->set_value(); });
  const bool inOrder =
      stopped->get_future().wait_for(orderlyCaptureEnd) == std::future_status::ready;
  if (!inOrder && platform_.interruptCapture) platform_.interruptCapture();
}

void AppModel::begin() {
  if (platform_.restoreTokens) keepRestoreTokens();
  using CaptureEnd = std::pair<std::uint64_t, Result<void>>;
  captureEngine_.setOnStop(
      [report = onMain<CaptureEnd>([](AppModel& self, const CaptureEnd& end) {
         self.captureDidStop(end.first, end.second);
       })](std::uint64_t capture, const Result<void>& why) { report({capture, why}); });
  linkMonitor_.emplace(platform_.networkPath, onMain<bool>([](AppModel& self, bool isWired) {
                         self.linkChanged(isWired);
                       }));
  update(isWired_, linkMonitor_->isWired());
  reloadUploadStore();  // the server starts with the outcome
  refreshSources();
  ticker_ = platform_.mainQueue.repeat(tickInterval, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->tick();
  });
  startUpdater();
}

void AppModel::keepRestoreTokens() {
  using Token = std::pair<std::string, std::string>;
  const auto save = onMain<Token>([](AppModel& self, const Token& token) {
    self.userDefaults_.set(token.first, token.second);
  });
  platform_.restoreTokens->begin(
      [this](const std::string& key) { return userDefaults_.text(key); },
      [save](const std::string& key, const std::string& token) { save({key, token}); });
}

void AppModel::startUpdater() {
  updater_ = std::make_unique<UpdaterModel>(
      platform_.updateController,
      UpdaterModel::Environment{logger_, userDefaults_.text(feedOverrideKey),
                                [this] { return isSharing_; }, [this] { changed(); }});
}

void AppModel::checkForUpdates() {
  updater_->checkForUpdates();
}

void AppModel::linkChanged(bool isWired) {
  logger_->info("network path is now {}", linkName(isWired));
  update(isWired_, isWired);
}

void AppModel::startServer() {
  if (std::exchange(serverAsked_, true)) return;
  server_.start(onMain<Result<std::uint16_t>>(
      [](AppModel& self, const Result<std::uint16_t>& port) { self.serverStarted(port); }));
}

void AppModel::serverStarted(const Result<std::uint16_t>& port) {
  if (!port.ok()) return serverFailed(port.error());
  update(serverError_, {});
  update(boundPort_, port.value());
  const auto host = platform_.preferredHost();
  showAddress(host);
  publishName(host);
  introduce();
}

void AppModel::serverFailed(const std::exception_ptr& error) {
  const std::string reason = describe(error);
  logger_->error("server start failed on port {}: {}", config_.port, reason);
  update(serverError_,
         std::optional(fmt::format("Can't listen on port {}: {}", config_.port, reason)));
  std::vector<std::string> lines{*serverError_ + "."};
  const auto refusal = refusalIn(error);
  if (refusal && platform_.portAdvice) {
    for (std::string& line : platform_.portAdvice(config_.port, *refusal))
      lines.push_back(std::move(line));
  }
  platform_.desktop.notify("Nobody can open Tarvinel", fmt::format("{}", fmt::join(lines, "\n")));
}

void AppModel::showAddress(const std::optional<std::string>& host) {
  update(serverURL_, std::optional(LocalAddresses::url(host.value_or("localhost"), boundPort_)));
}

void AppModel::refreshSources(std::function<void()> done) {
  captureEngine_.listSources(
      std::string(applicationIdentifier),
      onMain<Result<std::vector<CaptureSource>>>(
          [done = std::move(done)](AppModel& self, Result<std::vector<CaptureSource>> sources) {
            self.sourcesListed(std::move(sources));
            done();
          }));
}

void AppModel::sourcesListed(Result<std::vector<CaptureSource>> sources) {
  if (!sources.ok()) {
    update(permissionHint_, std::optional(describe(sources.error())));
    return;
  }
  update(permissionHint_, {});
  update(sources_, std::move(sources).value());
  // while the presenter is asked about another source, the end of the capture tells
  if (isSharing_ && !isStarting_ && source(sharedID_) == nullptr) {
    stopBecause(CaptureError(CaptureError::Case::unknownSource).what());
  }
  if (selectedID_ && source(selectedID_) == nullptr) update(selectedID_, {});
}

void AppModel::share(const std::string& sourceID, std::function<void()> unlisted) {
  refreshSources([weak = weak_from_this(), sourceID, unlisted = std::move(unlisted)] {
    const auto self = weak.lock();
    if (!self) return;
    self->select(sourceID);
    if (self->selectedID_ != sourceID) {
      unlisted();
    } else if (!self->isSharing_) {
      self->startSharing();
    }
  });
}

void AppModel::select(const std::string& sourceID) {
  const bool listed = std::ranges::any_of(
      sources_, [&](const CaptureSource& source) { return source.id == sourceID; });
  if (!listed || selectedID_ == sourceID) return;
  update(selectedID_, std::optional(sourceID));
  if (isSharing_) startSharing();
}

const CaptureSource* AppModel::source(const std::optional<std::string>& id) const {
  const auto found =
      std::ranges::find_if(sources_, [&](const CaptureSource& source) { return source.id == id; });
  return found == sources_.end() ? nullptr : &*found;
}

void AppModel::startSharing() {
  const CaptureSource* selected = source(selectedID_);
  if (selected == nullptr) return;
  const std::uint64_t share = ++currentShare_;
  isStarting_ = true;
  update(captureError_, {});
  startedCapture_ =
      captureEngine_.start(*selected, config_,
                           onMain<Result<void>>([share, source = *selected](
                                                    AppModel& self, const Result<void>& outcome) {
                             self.sharingStarted(share, source, outcome);
                           }));
}

void AppModel::sharingStarted(std::uint64_t share, const CaptureSource& source,
                              const Result<void>& outcome) {
  if (share != currentShare_) return;
  isStarting_ = false;
  if (outcome.ok()) {
    update(captureError_, {});         // of the share before, which ended meanwhile
    setMotionRate(firstMotionRate());  // what the engine begins with
    sharingFlag_->startSharing(source.title);
    sharedID_ = source.id;
    sharedCapture_ = startedCapture_;
    platform_.desktop.dismissAlert();  // that an earlier share stopped
    setSharing(true);
  } else if (!isRefusal(outcome.error())) {
    update(captureError_, std::optional(describe(outcome.error())));
    stopSharing();
  } else if (isSharing_) {
    update(selectedID_, std::optional(sharedID_));
  }
}

void AppModel::stopSharing(std::function<void()> done) {
  endShare();
  captureEngine_.stop(onMain<Result<void>>(
      [done = std::move(done), ended = currentShare_](AppModel& self, const Result<void>&) {
        // a share begun meanwhile has its own picture, which the card must not follow
        if (ended == self.currentShare_) self.hidePicture();
        done();
      }));
}

/// The report may come late: it ends no other share than its own. What the presenter is being asked
/// about, to be shared instead, is not taken back for that.
void AppModel::captureDidStop(std::uint64_t capture, const Result<void>& why) {
  if (capture != sharedCapture_) return;
  if (!isStarting_) return stopBecause(describe(why.error()));
  tellStopped(describe(why.error()));
  showNotSharing();
  if (!captureEngine_.hasSentFrame()) hidePicture();
}

void AppModel::stopBecause(const std::string& reason) {
  tellStopped(reason);
  stopSharing();
}

// The presenter may be looking at something else.
void AppModel::tellStopped(const std::string& reason) {
  update(captureError_, std::optional("Sharing stopped: " + reason));
  platform_.desktop.alert("Tarvinel", *captureError_);
}

void AppModel::endShare() {
  ++currentShare_;
  isStarting_ = false;
  showNotSharing();
}

void AppModel::showNotSharing() {
  sharedCapture_ = 0;
  sharingFlag_->stopSharing();
  setSharing(false);
}

void AppModel::setSharing(bool sharing) {
  if (isSharing_ != sharing) platform_.desktop.keepAwake(sharing);
  update(isSharing_, sharing);
}

// What is no longer shared is seen no longer, neither by those who watch nor by who joins now.
void AppModel::hidePicture() {
  const Frame last = broadcaster_.latest();
  const auto size = last ? sizeOfJPEG(*last) : std::nullopt;
  if (!size) return;
  const auto shown = resultOf([&] { broadcaster_.publish(quietCard_.ofSize(*size)); });
  if (!shown.ok()) logger_->error("no card for viewers: {}", describe(shown.error()));
  broadcaster_.clearLatest();
}

void AppModel::openHelp() {
  if (serverURL_) return platform_.desktop.openInBrowser(*serverURL_ + "help");
  const auto written = resultOf([this] {
    replaceFile(platform_.helpFile, HelpPage::html(withoutFiles(config_.brand), config_.hostname));
  });
  if (written.ok()) return platform_.desktop.openFile(platform_.helpFile);
  const auto problem = fmt::format("help page at {} could not be written: {}",
                                   platform_.helpFile.string(), describe(written.error()));
  logger_->error(problem);
  platform_.desktop.notify("Tarvinel Help", problem);
}

void AppModel::appearedInTray() {
  isInTray_ = true;
  introduce();
}

// An invitation to share makes sense once there is a place for viewers to see it.
void AppModel::introduce() {
  if (!isInTray_ || !serverURL_ || userDefaults_.boolean(introducedKey)) return;
  userDefaults_.set(introducedKey, true);
  platform_.desktop.notify("Tarvinel is in the panel", "Click on its icon to share your screen.");
}

void AppModel::tick() {
  ++tickCount_;
  // a folder on a disk that hangs does not keep viewers waiting
  if (tickCount_ == ticksBeforeServerWithoutUploads) startServer();
  update(measuredMbps_, trafficMeter_.measure(broadcaster_.bytesSent()));
  update(viewerCount_, static_cast<std::int64_t>(broadcaster_.viewerCount()));
  if (isSharing_) retuneMotionRate();
  // a desktop may have no picture to give before something changes, not even a first one
  if (isSharing_ && !captureEngine_.hasSentFrame()) hidePicture();
  refreshUploadStatus();
  if (!isSharing_ && tickCount_ % ticksBetweenSourceLists == 0) refreshSources();
  if (serverURL_ && tickCount_ % ticksBetweenAddresses == 0) refreshAddress();
}

void AppModel::retuneMotionRate() {
  const std::int64_t rate =
      config_.motionFps
          ? *config_.motionFps
          : StreamPolicy::motionFPS(viewerCount_,
                                    static_cast<std::int64_t>(captureEngine_.motionBytesAverage()),
                                    isWired_, config_.budgetMbps, StreamPolicy::defaultFloor,
                                    StreamPolicy::defaultCeiling);
  if (rate == motionFPS_) return;
  captureEngine_.setMotionFPS(rate);
  setMotionRate(rate);
  logger_->info("motion rate now {} fps for {} viewers on {}", rate, viewerCount_,
                linkName(isWired_));
}

std::int64_t AppModel::firstMotionRate() const {
  return config_.motionFps.value_or(FrameSettings::defaultMotionFPS);
}

void AppModel::setMotionRate(std::int64_t rate) {
  sharingFlag_->setMotionFPS(rate);
  update(motionFPS_, rate);
}

void AppModel::refreshAddress() {
  const auto host = platform_.preferredHost();
  showAddress(host);
  refreshName(host);
}

std::string AppModel::statusLine() const {
  const CaptureSource* shared = source(sharedID_);
  if (!isSharing_ || shared == nullptr) return "Not sharing";
  return fmt::format("Sharing {} · {}", shared->title, countOfViewers(viewerCount_));
}

std::optional<std::string> AppModel::streamLine() const {
  if (!isSharing_) return std::nullopt;
  return fmt::format("{} · {} fps · {} · {:.0f} Mbps", linkName(isWired_), motionFPS_,
                     countOfViewers(viewerCount_), measuredMbps_);
}

}  // namespace tarvinel

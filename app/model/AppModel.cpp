#include "app/model/AppModel.h"

#include "app/model/UploadsModel.h"
#include "core/http/StreamServer.h"
#include "core/link/LocalAddresses.h"
#include "core/pages/HelpPage.h"
#include "core/support/RegularFile.h"
#include "core/support/Result.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <utility>

namespace tarvinel {

namespace {

constexpr std::chrono::seconds tickInterval{1};
constexpr std::int64_t ticksBetweenSourceLists = 10;
constexpr std::int64_t ticksBetweenAddresses = 5;
constexpr std::int64_t ticksBetweenNameAttempts = 30;
constexpr std::int64_t ticksBeforeServerWithoutUploads = 3;
const std::string feedOverrideKey = "TarvinelFeedURL";
const std::string introducedKey = "introducedInTray";

std::string countOfViewers(std::int64_t count) {
  return fmt::format("{} {}", count, count == 1 ? "viewer" : "viewers");
}

/// Returns why the port could not be bound, or nullopt if the server failed for another reason.
std::optional<std::error_code> errorCodeIn(const std::exception_ptr& error) {
  const auto failure = errorAs<StreamServerError>(error);
  if (!failure || failure->kind() != StreamServerError::Case::bindFailed) return std::nullopt;
  return failure->code();
}

/// Returns the brand without the files that only the server can deliver.
std::optional<BrandConfig> withoutFiles(std::optional<BrandConfig> brand) {
  if (brand) brand->image.reset();
  if (brand) brand->font.reset();
  return brand;
}

std::vector<std::string> allowedHosts(const TarvinelConfig& config) {
  std::vector<std::string> names = namesOfThisComputer();
  names.insert(names.end(), config.allowedHosts.begin(), config.allowedHosts.end());
  return names;
}

}  // namespace

std::shared_ptr<AppModel> AppModel::create(TarvinelConfig config, Dependencies dependencies,
                                           const UploadLaunch& uploads) {
  std::shared_ptr<AppModel> model(
      new AppModel(std::move(config), std::move(dependencies), uploads));
  model->begin();
  return model;
}

AppModel::AppModel(TarvinelConfig config, Dependencies dependencies, const UploadLaunch& uploads)
    : ModelPart(dependencies.mainQueue),
      config_(std::move(config)),
      dependencies_(std::move(dependencies)),
      logger_(dependencies_.log.category("app")),
      userDefaults_(dependencies_.userDefaults, logger_),
      server_(broadcaster_, dependencies_.log.category("server"),
              {.port = config_.port,
               .status = [sharingFlag = sharingFlag_] { return sharingFlag->snapshot(); },
               .brand = config_.brand,
               .hostname = config_.hostname,
               .allowedHosts = allowedHosts(config_),
               .listenerFallback = config_.port == 80 ? dependencies_.listenerForPort80 : nullptr}),
      uploads_(std::make_shared<UploadsModel>(
          UploadsModel::Dependencies{.mainQueue = dependencies_.mainQueue,
                                     .desktop = dependencies_.desktop,
                                     .userDefaults = userDefaults_,
                                     .log = dependencies_.log,
                                     .onChange = [this] { changed(); },
                                     .useController =
                                         [this](std::shared_ptr<UploadController> controller) {
                                           server_.setUploads(std::move(controller));
                                         },
                                     .folderOpened = [this] { startServer(); }},
          uploads)),
      sharing_(std::make_shared<SharingModel>(
          SharingModel::Dependencies{.mainQueue = dependencies_.mainQueue,
                                     .desktop = dependencies_.desktop,
                                     .config = config_,
                                     .broadcaster = broadcaster_,
                                     .flag = sharingFlag_,
                                     .log = dependencies_.log,
                                     .captureService = dependencies_.captureService,
                                     .interruptCapture = dependencies_.interruptCapture,
                                     .onChange = [this] { changed(); }})),
      name_(std::make_shared<NameModel>(
          NameModel::Dependencies{.mainQueue = dependencies_.mainQueue,
                                  .log = dependencies_.log,
                                  .registrar = dependencies_.nameRegistrar,
                                  .hostname = config_.hostname,
                                  .onChange = [this] { changed(); }})) {}

AppModel::~AppModel() {
  end();
}

void AppModel::end() {
  if (!endCallbacks()) return;
  ticker_.reset();
  server_.stop();
  broadcaster_.clearLatest();
  sharing_->end();
  name_->end();
  uploads_->end();
}

void AppModel::begin() {
  if (dependencies_.restoreTokens) keepRestoreTokens();
  linkMonitor_.emplace(dependencies_.networkPath, onMain<bool>([](AppModel& self, bool isWired) {
                         self.linkChanged(isWired);
                       }));
  update(isWired_, linkMonitor_->isWired());
  uploads_->begin();  // the server starts when the outcome is known
  sharing_->begin();
  ticker_ = dependencies_.mainQueue.repeat(tickInterval, [weak = weak_from_this()] {
    if (const auto self = weak.lock()) self->tick();
  });
  startUpdater();
}

void AppModel::keepRestoreTokens() {
  using Token = std::pair<std::string, std::string>;
  const auto save = onMain<Token>([](AppModel& self, const Token& token) {
    self.userDefaults_.set(token.first, token.second);
  });
  dependencies_.restoreTokens->begin(
      [this](const std::string& key) { return userDefaults_.text(key); },
      [save](const std::string& key, const std::string& token) { save({key, token}); });
}

void AppModel::startUpdater() {
  updater_ = std::make_unique<UpdaterModel>(
      dependencies_.updateController,
      UpdaterModel::Environment{logger_, userDefaults_.text(feedOverrideKey),
                                [this] { return isSharing(); }, [this] { changed(); }});
}

void AppModel::checkForUpdates() {
  updater_->checkForUpdates();
}

void AppModel::linkChanged(bool isWired) {
  logger_->info("network path is now {}", LinkMonitor::name(isWired));
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
  const auto host = dependencies_.preferredHost();
  showAddress(host);
  name_->publishName(host, boundPort_);
  introduce();
}

void AppModel::serverFailed(const std::exception_ptr& error) {
  const std::string reason = describe(error);
  logger_->error("server start failed on port {}: {}", config_.port, reason);
  update(serverError_,
         std::optional(fmt::format("Can't listen on port {}: {}", config_.port, reason)));
  std::vector<std::string> lines{*serverError_ + "."};
  const auto refusal = errorCodeIn(error);
  if (refusal && dependencies_.portAdvice) {
    for (std::string& line : dependencies_.portAdvice(config_.port, *refusal))
      lines.push_back(std::move(line));
  }
  dependencies_.desktop.notify("Nobody can open Tarvinel",
                               fmt::format("{}", fmt::join(lines, "\n")));
}

void AppModel::showAddress(const std::optional<std::string>& host) {
  update(serverURL_, std::optional(LocalAddresses::url(host.value_or("localhost"), boundPort_)));
}

void AppModel::openHelp() {
  if (serverURL_) return dependencies_.desktop.openInBrowser(*serverURL_ + "help");
  const auto written = resultOf([this] {
    replaceFile(dependencies_.helpFile,
                HelpPage::html(withoutFiles(config_.brand), config_.hostname));
  });
  if (written.ok()) return dependencies_.desktop.openFile(dependencies_.helpFile);
  const auto problem = fmt::format("help page at {} could not be written: {}",
                                   dependencies_.helpFile.string(), describe(written.error()));
  logger_->error(problem);
  dependencies_.desktop.notify("Tarvinel Help", problem);
}

void AppModel::appearedInTray() {
  isInTray_ = true;
  introduce();
}

// Invites the presenter to share only once viewers have an address to open.
void AppModel::introduce() {
  if (!isInTray_ || !serverURL_ || userDefaults_.boolean(introducedKey)) return;
  userDefaults_.set(introducedKey, true);
  dependencies_.desktop.notify("Tarvinel is in the panel",
                               "Click on its icon to share your screen.");
}

void AppModel::tick() {
  ++tickCount_;
  // the server starts without uploads if the disk of their folder hangs
  if (tickCount_ == ticksBeforeServerWithoutUploads) startServer();
  update(measuredMbps_, trafficMeter_.measure(broadcaster_.bytesSent()));
  update(viewerCount_, static_cast<std::int64_t>(broadcaster_.viewerCount()));
  sharing_->tick(viewerCount_, isWired_);
  uploads_->refreshStatus();
  if (!isSharing() && tickCount_ % ticksBetweenSourceLists == 0) refreshSources();
  if (serverURL_ && tickCount_ % ticksBetweenAddresses == 0) refreshAddress();
}

void AppModel::refreshAddress() {
  const auto host = dependencies_.preferredHost();
  showAddress(host);
  name_->refresh(host, tickCount_ % ticksBetweenNameAttempts == 0);
}

std::optional<std::string> AppModel::uploadURL() const {
  if (!serverURL_) return std::nullopt;
  return *serverURL_ + "upload";
}

std::string AppModel::statusLine() const {
  const auto shared = sharing_->sharedTitle();
  if (!shared) return "Not sharing";
  return fmt::format("Sharing {} · {}", *shared, countOfViewers(viewerCount_));
}

std::optional<std::string> AppModel::streamLine() const {
  if (!isSharing()) return std::nullopt;
  return fmt::format("{} · {} fps · {} · {:.0f} Mbps", LinkMonitor::name(isWired_), motionFPS(),
                     countOfViewers(viewerCount_), measuredMbps_);
}

std::optional<std::string> AppModel::uploadStatusLine() const {
  return uploadStatus() ? UploadLines::statusLine(*uploadStatus()) : std::nullopt;
}

std::optional<std::string> AppModel::uploadLastLine() const {
  return uploadStatus() ? UploadLines::lastLine(*uploadStatus()) : std::nullopt;
}

}  // namespace tarvinel

#pragma once

#include "app/capture/CaptureEngine.h"
#include "app/capture/CaptureSource.h"
#include "app/capture/portal/RestoreTokens.h"
#include "app/model/ModelPart.h"
#include "app/model/NameModel.h"
#include "app/model/SharingFlag.h"
#include "app/model/SharingModel.h"
#include "app/model/UploadsModel.h"
#include "app/platform/Desktop.h"
#include "app/platform/MainQueue.h"
#include "app/platform/UserDefaults.h"
#include "app/updates/UpdaterModel.h"
#include "core/config/TarvinelConfig.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/frames/StreamPolicy.h"
#include "core/http/StreamServer.h"
#include "core/link/LinkMonitor.h"
#include "core/link/LocalAddresses.h"
#include "core/link/NetworkInfo.h"
#include "core/mdns/NameRegistrar.h"
#include "core/mdns/SystemNameRegistrar.h"
#include "core/support/Log.h"
#include "core/support/Result.h"
#include "core/uploads/UploadController.h"
#include "core/uploads/UploadStore.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

namespace tarvinel {

/// Owns and drives everything: the server, the link, the clock that measures the traffic once a
/// second, and the models of the share, the name and the uploads. The tray and the console are
/// views of its state.
///
/// Lives on the main queue: every member is called there, and so is `onChange`, whenever a value
/// has changed.
class AppModel : public ModelPart<AppModel> {
 public:
  /// What the model stands on; the main queue and the desktop outlive it.
  struct Dependencies {
    MainQueue& mainQueue;
    Desktop& desktop;
    Log log;
    CaptureEngine::ServiceFactory captureService;
    UserDefaults::Place userDefaults;
    /// Kept in the user defaults; none where no desktop gives any.
    std::shared_ptr<portal::RestoreTokens> restoreTokens = {};
    /// Makes whatever the capture waits for fail, for good; called at the end when something there
    /// hangs. May be null.
    std::function<void()> interruptCapture = {};
    std::filesystem::path sysfs = "/sys";  ///< where that is mounted
    NetworkPath::Factory networkPath = kernelNetworkPath(sysfs);
    std::function<std::optional<std::string>()> preferredHost = [root = sysfs] {
      return LocalAddresses::preferredHost(root);
    };
    NameRegistrar::Factory nameRegistrar = SystemNameRegistrar::factory();
    /// How to listen on port 80 when this process may not; null when there is no other way.
    StreamServer::ListenerFallback listenerForPort80 = {};
    UpdateController::Factory updateController = {};  ///< none: nothing looks for updates
    /// What the presenter can do where the server was refused a port, a line each; may be null.
    std::function<std::vector<std::string>(std::uint16_t port, std::error_code refusal)>
        portAdvice = {};
    std::filesystem::path helpFile = {};  ///< for the help page while no server has it
  };

  using UploadLaunch = UploadsModel::Launch;

  /// Makes the model and begins: starts the server, lists the sources, ticks once a second.
  static std::shared_ptr<AppModel> create(TarvinelConfig config, Dependencies dependencies,
                                          const UploadLaunch& uploads);

  /// Ends it as `end` does, then waits for disks and for the display; how long is for the owner to
  /// limit.
  ~AppModel();

  /// Ends in this order: the server is closed, so that viewers get nothing more and nobody new gets
  /// anything; the share and the capture end; the name is withdrawn. Waits for no disk: that is
  /// left to the destructor. From then on nothing is reported and nothing starts by itself.
  /// Idempotent.
  void end();

  void setOnChange(std::function<void()> onChange) { reportTo(std::move(onChange)); }

  // state
  const TarvinelConfig& config() const { return config_; }
  const std::vector<CaptureSource>& sources() const { return sharing_->sources(); }
  const std::optional<std::string>& selectedID() const { return sharing_->selectedID(); }
  bool isSharing() const { return sharing_->isSharing(); }
  std::int64_t viewerCount() const { return viewerCount_; }
  const std::optional<std::string>& serverURL() const { return serverURL_; }
  const std::optional<std::string>& serverError() const { return serverError_; }
  const std::optional<std::string>& nameURL() const { return name_->url(); }  ///< once registered
  const std::optional<std::string>& nameError() const { return name_->error(); }
  const std::optional<std::string>& captureError() const { return sharing_->captureError(); }
  const std::optional<std::string>& permissionHint() const { return sharing_->permissionHint(); }
  bool canCheckForUpdates() const { return updater_ && updater_->canCheckForUpdates(); }
  bool isWired() const { return isWired_; }
  std::int64_t motionFPS() const { return sharing_->motionFPS(); }  ///< frames per second in force
  double measuredMbps() const { return measuredMbps_; }  ///< of the last second, one decimal
  std::uint16_t boundPort() const { return boundPort_; }

  bool uploadsEnabled() const { return uploads_->isEnabled(); }
  const std::filesystem::path& uploadFolder() const { return uploads_->folder(); }
  bool uploadPerParticipant() const { return uploads_->isPerParticipant(); }
  const std::optional<UploadStatus>& uploadStatus() const { return uploads_->status(); }
  const std::optional<std::string>& uploadError() const { return uploads_->error(); }

  /// Where participants send their photos; nothing until the server listens.
  std::optional<std::string> uploadURL() const;

  /// One line on what is shared and who watches.
  std::string statusLine() const;

  /// One line on the stream; only while sharing.
  std::optional<std::string> streamLine() const;

  /// One line on what has been uploaded; only while there is something to say.
  std::optional<std::string> uploadStatusLine() const;

  /// One line on who uploaded last; only once someone did.
  std::optional<std::string> uploadLastLine() const;

  // commands; those of the share and of uploads are the models' own

  void refreshSources(std::function<void()> done = [] {}) {
    sharing_->refreshSources(std::move(done));
  }
  void select(const std::string& sourceID) { sharing_->select(sourceID); }
  void share(const std::string& sourceID, std::function<void()> unlisted) {
    sharing_->share(sourceID, std::move(unlisted));
  }
  void startSharing() { sharing_->start(); }
  void stopSharing(std::function<void()> done = [] {}) { sharing_->stop(std::move(done)); }

  void toggleUploads() { uploads_->toggle(); }
  void toggleUploadPerParticipant() { uploads_->togglePerParticipant(); }
  void chooseUploadFolder(const std::filesystem::path& folder) { uploads_->chooseFolder(folder); }
  void chooseUploadFolder() { uploads_->chooseFolder(); }
  void revealUploadFolder() { uploads_->revealFolder(); }

  /// Opens the help page: the server's, or a file of the same content while none listens.
  void openHelp();

  /// The program's icon is in a tray now: who has never seen it there is told where it lives, once
  /// the server listens.
  void appearedInTray();

  /// Looks for a new version, if that can be done.
  void checkForUpdates();

 private:
  AppModel(TarvinelConfig config, Dependencies dependencies, const UploadLaunch& uploads);

  void begin();
  void keepRestoreTokens();
  void linkChanged(bool isWired);
  void startServer();
  void serverStarted(const Result<std::uint16_t>& port);
  void serverFailed(const std::exception_ptr& error);
  void introduce();
  void showAddress(const std::optional<std::string>& host);
  void startUpdater();
  void tick();
  void refreshAddress();

  const TarvinelConfig config_;
  const Dependencies dependencies_;
  const Logger logger_;
  const std::shared_ptr<SharingFlag> sharingFlag_ = std::make_shared<SharingFlag>();
  FrameBroadcaster broadcaster_;
  UserDefaults userDefaults_;

  // these wait for disks when they go, so they go last
  StreamServer server_;
  const std::shared_ptr<UploadsModel> uploads_;

  const std::shared_ptr<SharingModel> sharing_;
  const std::shared_ptr<NameModel> name_;
  std::unique_ptr<UpdaterModel> updater_;
  std::unique_ptr<MainQueue::Timer> ticker_;

  std::int64_t viewerCount_ = 0;
  std::optional<std::string> serverURL_;
  std::optional<std::string> serverError_;
  bool isWired_ = false;
  double measuredMbps_ = 0;
  TrafficMeter trafficMeter_;
  std::uint16_t boundPort_ = 80;
  bool serverAsked_ = false;  ///< to start
  bool isInTray_ = false;
  std::int64_t tickCount_ = 0;

  std::optional<LinkMonitor> linkMonitor_;
};

}  // namespace tarvinel

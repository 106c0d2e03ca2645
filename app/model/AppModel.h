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
/// Lives on the main queue: every member is called there, and so is `onChange`, after every change
/// of a value.
class AppModel : public ModelPart<AppModel> {
 public:
  /// What the model depends on; the main queue and the desktop outlive it.
  struct Dependencies {
    MainQueue& mainQueue;
    Desktop& desktop;
    Log log;
    CaptureEngine::ServiceFactory captureService;
    UserDefaults::Place userDefaults;
    /// Persisted in the user defaults; null where no desktop grants any.
    std::shared_ptr<portal::RestoreTokens> restoreTokens = {};
    /// Makes the capture's current and later waits fail; called at the end if one of them hangs.
    /// May be null.
    std::function<void()> interruptCapture = {};
    std::filesystem::path sysfs = "/sys";  ///< its mount point
    NetworkPath::Factory networkPath = kernelNetworkPath(sysfs);
    std::function<std::optional<std::string>()> preferredHost = [root = sysfs] {
      return LocalAddresses::preferredHost(root);
    };
    NameRegistrar::Factory nameRegistrar = SystemNameRegistrar::factory();
    /// Listens on port 80 if this process lacks the permission; null if there is no other way.
    StreamServer::ListenerFallback listenerForPort80 = {};
    UpdateController::Factory updateController = {};  ///< null: updates are not checked
    /// Returns advice for the presenter, line by line, if the server could not bind its port; may
    /// be null.
    std::function<std::vector<std::string>(std::uint16_t port, std::error_code refusal)>
        portAdvice = {};
    std::filesystem::path helpFile = {};  ///< the help page while no server listens
  };

  using UploadLaunch = UploadsModel::Launch;

  /// Creates the model and starts it: opens the upload folder, starts the server, lists the sources
  /// and ticks once a second.
  static std::shared_ptr<AppModel> create(TarvinelConfig config, Dependencies dependencies,
                                          const UploadLaunch& uploads);

  AppModel(const AppModel&) = delete;
  AppModel& operator=(const AppModel&) = delete;

  /// Ends the model as `end` does, then waits for disks and for the display; the owner limits how
  /// long.
  ~AppModel();

  /// Ends in this order: closes the server, so that viewers receive nothing more and no new ones
  /// connect; ends the share and the capture; withdraws the name. Does not wait for disks: the
  /// destructor does. Afterwards nothing is reported and nothing starts by itself. Idempotent.
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

  /// Returns where participants upload their photos, or nullopt until the server listens.
  std::optional<std::string> uploadURL() const;

  /// Returns a line about the shared source and its viewers.
  std::string statusLine() const;

  /// Returns a line about the stream, or nullopt while not sharing.
  std::optional<std::string> streamLine() const;

  /// Returns a line about what has been uploaded, or nullopt if there is nothing to report.
  std::optional<std::string> uploadStatusLine() const;

  /// Returns a line about the last uploader, or nullopt if there is none yet.
  std::optional<std::string> uploadLastLine() const;

  // commands; those for the share and for uploads are documented at their models

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

  /// Opens the help page: the server's, or a file with the same content while no server listens.
  void openHelp();

  /// Reports that the icon is in a tray now. A presenter who has never seen it there is notified
  /// where to find it, once the server listens.
  void appearedInTray();

  /// Checks for a new version, if possible.
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

  // their destructors wait for disks, so they are declared first and destroyed last
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
  bool serverAsked_ = false;  ///< its start was requested
  bool isInTray_ = false;
  std::int64_t tickCount_ = 0;

  std::optional<LinkMonitor> linkMonitor_;
};

}  // namespace tarvinel

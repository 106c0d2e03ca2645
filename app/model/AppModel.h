#pragma once

#include "app/capture/CaptureEngine.h"
#include "app/capture/CaptureSource.h"
#include "app/capture/portal/RestoreTokens.h"
#include "app/model/QuietCard.h"
#include "app/model/SharingFlag.h"
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
#include "core/link/NetworkFacts.h"
#include "core/mdns/NamePublisher.h"
#include "core/mdns/NameRegistrar.h"
#include "core/mdns/SystemNameRegistrar.h"
#include "core/support/Log.h"
#include "core/support/Result.h"
#include "core/support/SerialQueue.h"
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

class NamePublisherError;

/// Owns and drives everything: the server, the capture and, once a second, the measurement of the
/// traffic and the choice of the motion rate. The tray and the console are views of its state.
///
/// Lives on the main queue: every member is called there, and so is `onChange`, whenever a value
/// has changed. Callbacks from other queues hop here and hold the model weakly.
class AppModel : public std::enable_shared_from_this<AppModel> {
 public:
  /// What the model stands on; the main queue and the desktop outlive it.
  struct Platform {
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

  /// What becomes of uploads at launch.
  struct UploadLaunch {
    std::filesystem::path defaultFolder;          ///< when the presenter has chosen none
    std::optional<std::filesystem::path> folder;  ///< for this run, whatever was chosen
    bool open = false;
  };

  /// Makes the model and begins: starts the server, lists the sources, ticks once a second.
  static std::shared_ptr<AppModel> create(TarvinelConfig config, Platform platform,
                                          const UploadLaunch& uploads);

  /// Ends it as `end` does, then waits for disks and for the display; how long is for the owner to
  /// limit.
  ~AppModel();
  AppModel(const AppModel&) = delete;
  AppModel& operator=(const AppModel&) = delete;

  /// Ends the share and the server: once this has returned, viewers get nothing more and nobody new
  /// gets anything. Then withdraws the name. Waits for no disk. From then on nothing is reported
  /// and nothing starts by itself. Idempotent.
  void end();

  void setOnChange(std::function<void()> onChange) { onChange_ = std::move(onChange); }

  // state
  const TarvinelConfig& config() const { return config_; }
  const std::vector<CaptureSource>& sources() const { return sources_; }
  const std::optional<std::string>& selectedID() const { return selectedID_; }
  bool isSharing() const { return isSharing_; }
  std::int64_t viewerCount() const { return viewerCount_; }
  const std::optional<std::string>& serverURL() const { return serverURL_; }
  const std::optional<std::string>& serverError() const { return serverError_; }
  const std::optional<std::string>& nameURL() const { return nameURL_; }  ///< once registered
  const std::optional<std::string>& nameError() const { return nameError_; }
  const std::optional<std::string>& captureError() const { return captureError_; }
  const std::optional<std::string>& permissionHint() const { return permissionHint_; }
  bool canCheckForUpdates() const { return updater_ && updater_->canCheckForUpdates(); }
  bool isWired() const { return isWired_; }
  std::int64_t motionFPS() const { return motionFPS_; }  ///< frames per second in force
  double measuredMbps() const { return measuredMbps_; }  ///< of the last second, one decimal
  std::uint16_t boundPort() const { return boundPort_; }

  bool uploadsEnabled() const { return uploadsEnabled_; }
  const std::filesystem::path& uploadFolder() const { return uploadFolder_; }
  bool uploadPerParticipant() const { return uploadPerParticipant_; }
  const std::optional<UploadStatus>& uploadStatus() const { return uploadStatus_; }
  const std::optional<std::string>& uploadError() const { return uploadError_; }

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

  // commands

  /// Reads the list of things to share again, then calls `done`, whatever came of it.
  void refreshSources(std::function<void()> done = [] {});

  /// Chooses what `startSharing` shares; an identifier that is not listed is ignored. A share that
  /// is on goes over to the source, unless the presenter refuses that in the desktop's dialog.
  void select(const std::string& sourceID);

  /// Reads the list of things to share again and shares one of them; calls `unlisted` when it is
  /// not there.
  void share(const std::string& sourceID, std::function<void()> unlisted);

  /// Shares the selected source; does nothing without one.
  void startSharing();

  /// Ends the share, then calls `done` once no frame of it is on its way or retained and viewers
  /// see a card in its place.
  void stopSharing(std::function<void()> done = [] {});

  /// Opens uploads once the folder can be used, or closes them at once. They are closed at every
  /// launch unless it says otherwise.
  void toggleUploads();

  /// Gives each participant a folder, or none; remembered.
  void toggleUploadPerParticipant();

  /// Takes uploads into another folder; remembered. Uploads under way end where they began.
  void chooseUploadFolder(const std::filesystem::path& folder);

  /// The same, with the folder that the presenter points out.
  void chooseUploadFolder();

  void revealUploadFolder();

  /// Opens the help page: the server's, or a file of the same content while none listens.
  void openHelp();

  /// The program's icon is in a tray now: who has never seen it there is told where it lives, once
  /// the server listens.
  void appearedInTray();

  /// Looks for a new version, if that can be done.
  void checkForUpdates();

 private:
  AppModel(TarvinelConfig config, Platform platform, const UploadLaunch& uploads);

  void begin();
  void keepRestoreTokens();
  void linkChanged(bool isWired);
  void startServer();
  void serverStarted(const Result<std::uint16_t>& port);
  void serverFailed(const std::exception_ptr& error);
  void introduce();
  void showAddress(const std::optional<std::string>& host);
  void sourcesListed(Result<std::vector<CaptureSource>> sources);
  void sharingStarted(std::uint64_t share, const CaptureSource& source,
                      const Result<void>& outcome);
  void captureDidStop(std::uint64_t capture, const Result<void>& why);
  void stopBecause(const std::string& reason);
  void tellStopped(const std::string& reason);
  void endShare();
  void showNotSharing();
  void setSharing(bool sharing);
  void hidePicture();
  void startUpdater();
  void endCapture();

  void readUploadDefaults(const UploadLaunch& launch);
  void reloadUploadStore();
  void uploadStoreOpened(const Result<std::shared_ptr<UploadStore>>& store);
  void useUploadStore(const std::shared_ptr<UploadStore>& store);
  void applyUploadsEnabled();
  void refreshUploadStatus();
  void tellUploadProblem(const std::optional<std::string>& reason);

  void publishName(const std::optional<std::string>& address);
  void namePublishingFailed(const NamePublisherError& error);
  void nameStateDidChange(const NamePublisher::State& state);
  void refreshName(const std::optional<std::string>& address);
  void updateName(const std::string& address);

  void tick();
  void retuneMotionRate();
  std::int64_t firstMotionRate() const;
  void setMotionRate(std::int64_t rate);
  void refreshAddress();

  const CaptureSource* source(const std::optional<std::string>& id) const;

  template <class T>
  void update(T& field, T value) {
    if (field == value) return;
    field = std::move(value);
    changed();
  }

  void changed() {
    if (onChange_) onChange_();
  }

  /// Wraps a step of this model so that it can be called on any queue: it runs on the main queue
  /// while the model lives.
  template <class Argument>
  std::function<void(Argument)> onMain(std::function<void(AppModel&, Argument)> step) {
    return [weak = weak_from_this(), &mainQueue = platform_.mainQueue,
            step = std::move(step)](Argument argument) {
      mainQueue.post([weak, step, argument = std::move(argument)] {
        const auto self = weak.lock();
        if (self && !self->hasEnded_) step(*self, argument);
      });
    };
  }

  const TarvinelConfig config_;
  const Platform platform_;
  const Logger logger_;
  const std::shared_ptr<SharingFlag> sharingFlag_ = std::make_shared<SharingFlag>();
  FrameBroadcaster broadcaster_;

  // these wait for disks when they go, so they go last
  StreamServer server_;
  SerialQueue uploadFolderQueue_{".upload-folder"};   ///< opens upload folders
  const std::shared_ptr<UploadStores> uploadStores_;  ///< used on uploadFolderQueue_ alone

  CaptureEngine captureEngine_;
  UserDefaults userDefaults_;
  QuietCard quietCard_;
  NamePublisher namePublisher_;
  std::unique_ptr<UpdaterModel> updater_;
  std::unique_ptr<MainQueue::Timer> ticker_;
  std::function<void()> onChange_;

  std::vector<CaptureSource> sources_;
  std::optional<std::string> selectedID_;
  std::string sharedID_;              // while sharing
  std::uint64_t startedCapture_ = 0;  ///< the engine's number of the newest start
  std::uint64_t sharedCapture_ = 0;   ///< the same of what is shared; 0: nothing is
  bool isSharing_ = false;
  bool isStarting_ = false;  ///< the outcome of the newest start is open
  std::int64_t viewerCount_ = 0;
  std::optional<std::string> serverURL_;
  std::optional<std::string> serverError_;
  std::optional<std::string> nameURL_;
  std::optional<std::string> nameError_;
  std::optional<std::string> lastHost_;  ///< the address last published
  std::optional<std::string> captureError_;
  std::optional<std::string> permissionHint_;
  bool isWired_ = false;
  std::int64_t motionFPS_ = 0;
  double measuredMbps_ = 0;
  TrafficMeter trafficMeter_;
  std::uint16_t boundPort_ = 80;
  bool serverAsked_ = false;  ///< to start
  bool isInTray_ = false;
  bool hasEnded_ = false;
  bool uploadsEnabled_ = false;
  std::filesystem::path uploadFolder_;
  bool uploadPerParticipant_ = false;
  std::optional<UploadStatus> uploadStatus_;
  std::optional<std::string> uploadError_;
  bool uploadFolderRefused_ = false;  ///< the newest choice: nothing is taken meanwhile
  std::shared_ptr<UploadController> uploadController_;  ///< once a folder could be used
  std::int64_t tickCount_ = 0;

  /// Counts starts and stops, so that the outcome of a start that was overtaken is not taken for
  /// the newest one's.
  std::uint64_t currentShare_ = 0;
  std::uint64_t currentReload_ = 0;       ///< the same for upload folders
  std::uint64_t currentPublication_ = 0;  ///< the same for the name

  std::optional<LinkMonitor> linkMonitor_;
};

}  // namespace tarvinel

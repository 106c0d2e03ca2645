#pragma once

#include "app/capture/CaptureEngine.h"
#include "app/capture/CaptureSource.h"
#include "app/model/ModelPart.h"
#include "app/model/QuietCard.h"
#include "app/model/SharingFlag.h"
#include "app/platform/Desktop.h"
#include "core/config/TarvinelConfig.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/support/Log.h"
#include "core/support/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// What can be shared, what is selected and what is shared; starts and ends a share, chooses its
/// motion rate, and puts a card in its place when it has ended. Lives on the main queue.
class SharingModel : public ModelPart<SharingModel> {
 public:
  struct Dependencies {
    MainQueue& mainQueue;
    Desktop& desktop;
    const TarvinelConfig& config;
    FrameBroadcaster& broadcaster;      ///< outlives the model, like the three above
    std::shared_ptr<SharingFlag> flag;  ///< what other queues read of this model
    Log log;
    CaptureEngine::ServiceFactory captureService;
    /// Makes whatever the capture waits for fail, for good; called at the end when something there
    /// hangs. May be null.
    std::function<void()> interruptCapture;
    std::function<void()> onChange;
  };

  explicit SharingModel(Dependencies dependencies);

  /// Reads the list of sources for the first time, and listens to the capture.
  void begin();

  /// Ends the share and the capture. A display that hangs is not waited for. Nothing is reported
  /// from then on.
  void end();

  const std::vector<CaptureSource>& sources() const { return sources_; }
  const std::optional<std::string>& selectedID() const { return selectedID_; }
  bool isSharing() const { return isSharing_; }
  const std::optional<std::string>& captureError() const { return captureError_; }
  const std::optional<std::string>& permissionHint() const { return permissionHint_; }
  std::int64_t motionFPS() const { return motionFPS_; }  ///< frames per second in force

  /// The title of what is shared, while that is listed.
  std::optional<std::string> sharedTitle() const;

  /// Reads the list of sources, then calls `done`, whatever the outcome.
  void refreshSources(std::function<void()> done);

  /// Chooses what `start` shares; an identifier that is not listed is ignored. A running share goes
  /// over to the source, unless the presenter declines that in the desktop's dialog.
  void select(const std::string& sourceID);

  /// Reads the list of sources and shares one of them; calls `unlisted` if it is not there.
  void share(const std::string& sourceID, std::function<void()> unlisted);

  /// Shares the selected source; does nothing without one.
  void start();

  /// Ends the share, then calls `done` once no frame of it is on its way or retained and viewers
  /// see a card in its place.
  void stop(std::function<void()> done = [] {});

  /// While sharing: chooses the motion rate for the viewers and the link, and hides the last
  /// picture of an earlier share for as long as this one has none.
  void tick(std::int64_t viewerCount, bool isWired);

 private:
  void sourcesListed(Result<std::vector<CaptureSource>> sources);
  void started(std::uint64_t share, const CaptureSource& source, const Result<void>& outcome);
  void captureDidStop(std::uint64_t capture, const Result<void>& why);
  void stopBecause(const std::string& reason);
  void notifyStopped(const std::string& reason);
  void endShare();
  void endCapture();
  void showNotSharing();
  void setSharing(bool sharing);
  void hidePicture();
  void retuneMotionRate(std::int64_t viewerCount, bool isWired);
  void setMotionRate(std::int64_t rate);
  std::int64_t firstMotionRate() const;
  const CaptureSource* source(const std::optional<std::string>& id) const;

  const Dependencies dependencies_;
  const Logger logger_;
  CaptureEngine engine_;
  QuietCard quietCard_;

  std::vector<CaptureSource> sources_;
  std::optional<std::string> selectedID_;
  std::string sharedID_;              ///< while sharing
  std::uint64_t startedCapture_ = 0;  ///< the engine's number of the newest start
  std::uint64_t sharedCapture_ = 0;   ///< the same of what is shared; 0: nothing is
  bool isSharing_ = false;
  bool isStarting_ = false;  ///< the outcome of the newest start is open
  std::optional<std::string> captureError_;
  std::optional<std::string> permissionHint_;
  std::int64_t motionFPS_ = 0;

  /// Counts starts and stops, so that the outcome of a start that was overtaken is not taken for
  /// the newest one's.
  std::uint64_t currentShare_ = 0;
};

}  // namespace tarvinel

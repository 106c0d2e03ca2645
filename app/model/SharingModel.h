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

/// Lists, selects and shares sources: starts and ends a share, chooses its motion rate, and shows a
/// card when it has ended. Lives on the main queue.
class SharingModel : public ModelPart<SharingModel> {
 public:
  struct Dependencies {
    MainQueue& mainQueue;
    Desktop& desktop;
    const TarvinelConfig& config;
    FrameBroadcaster& broadcaster;      ///< outlives the model, like the three above
    std::shared_ptr<SharingFlag> flag;  ///< the part of this model's state that other queues read
    Log log;
    CaptureEngine::ServiceFactory captureService;
    /// Makes the capture's current and later waits fail; called at the end if one of them hangs.
    /// May be null.
    std::function<void()> interruptCapture;
    std::function<void()> onChange;
  };

  explicit SharingModel(Dependencies dependencies);

  /// Reads the list of sources for the first time and subscribes to the capture's reports.
  void begin();

  /// Ends the share and the capture. Does not wait for a display that hangs. Afterwards nothing is
  /// reported.
  void end();

  const std::vector<CaptureSource>& sources() const { return sources_; }
  const std::optional<std::string>& selectedID() const { return selectedID_; }
  bool isSharing() const { return isSharing_; }
  const std::optional<std::string>& captureError() const { return captureError_; }
  const std::optional<std::string>& permissionHint() const { return permissionHint_; }
  std::int64_t motionFPS() const { return motionFPS_; }  ///< frames per second in force

  /// Returns the title of the shared source, or nullopt if nothing is shared or it is not listed.
  std::optional<std::string> sharedTitle() const;

  /// Reads the list of sources, then calls `done`, whether or not it succeeded.
  void refreshSources(std::function<void()> done);

  /// Selects what `start` shares; ignores an identifier that is not listed. A running share
  /// switches to the source, unless the presenter declines that in the desktop's dialog.
  void select(const std::string& sourceID);

  /// Reads the list of sources and shares one of them; calls `unlisted` if it is not listed.
  void share(const std::string& sourceID, std::function<void()> unlisted);

  /// Shares the selected source; does nothing without one.
  void start();

  /// Ends the share, then calls `done` when none of its frames is pending or retained and viewers
  /// see a card instead.
  void stop(std::function<void()> done = [] {});

  /// While sharing, chooses the motion rate for the viewers and the link, and hides the last
  /// picture of the previous share until the new one has sent a frame.
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
  std::uint64_t startedCapture_ = 0;  ///< the engine's number of the latest start
  std::uint64_t sharedCapture_ = 0;   ///< the number of the shared capture; 0: none
  bool isSharing_ = false;
  bool isStarting_ = false;  ///< the outcome of the latest start is pending
  std::optional<std::string> captureError_;
  std::optional<std::string> permissionHint_;
  std::int64_t motionFPS_ = 0;

  /// Counts starts and stops, so that the outcome of a superseded start is ignored.
  std::uint64_t currentShare_ = 0;
};

}  // namespace tarvinel

#pragma once

#include "app/MainQueue.h"
#include "app/SharingFlag.h"
#include "app/capture/CaptureEngine.h"
#include "app/capture/CaptureSource.h"
#include "core/config/TarvinelConfig.h"
#include "core/frames/FrameBroadcaster.h"
#include "core/frames/TrafficMeter.h"
#include "core/http/StreamServer.h"
#include "core/support/Log.h"
#include "core/support/Result.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// Owns and drives everything: the server, the capture and, once a second, the measurement of the
/// traffic and the choice of the motion rate. The tray and the console are views of its state.
///
/// Lives on the main queue: every member is called there, and so is `onChange`, whenever a value
/// has changed. Callbacks from other queues hop here and hold the model weakly.
class AppModel : public std::enable_shared_from_this<AppModel> {
 public:
  /// What the model stands on; the main queue outlives it.
  struct Platform {
    MainQueue& mainQueue;
    Log log;
    CaptureEngine::ServiceFactory captureService;
  };

  /// Makes the model and begins: starts the server, lists the sources, ticks once a second.
  static std::shared_ptr<AppModel> create(TarvinelConfig config, Platform platform);

  ~AppModel();
  AppModel(const AppModel&) = delete;
  AppModel& operator=(const AppModel&) = delete;

  void setOnChange(std::function<void()> onChange) { onChange_ = std::move(onChange); }

  // state
  const TarvinelConfig& config() const { return config_; }
  const std::vector<CaptureSource>& sources() const { return sources_; }
  const std::optional<std::string>& selectedID() const { return selectedID_; }
  bool isSharing() const { return isSharing_; }
  std::int64_t viewerCount() const { return viewerCount_; }
  const std::optional<std::string>& serverURL() const { return serverURL_; }
  const std::optional<std::string>& serverError() const { return serverError_; }
  const std::optional<std::string>& captureError() const { return captureError_; }
  const std::optional<std::string>& permissionHint() const { return permissionHint_; }
  bool isWired() const { return isWired_; }
  std::int64_t motionFPS() const { return motionFPS_; }  ///< frames per second in force
  double measuredMbps() const { return measuredMbps_; }  ///< of the last second, one decimal
  std::uint16_t boundPort() const { return boundPort_; }

  /// One line on what is shared and who watches.
  std::string statusLine() const;

  /// One line on the stream; only while sharing.
  std::optional<std::string> streamLine() const;

  // commands

  /// Reads the list of things to share again, then calls `done`, whatever came of it.
  void refreshSources(std::function<void()> done = [] {});

  /// Chooses what `startSharing` shares; an identifier that is not listed chooses nothing.
  void select(const std::optional<std::string>& sourceID);

  /// Shares the selected source; does nothing without one.
  void startSharing();

  /// Ends the share, then calls `done` once no frame of it is on its way or retained.
  void stopSharing(std::function<void()> done = [] {});

 private:
  AppModel(TarvinelConfig config, Platform platform);

  void begin();
  void startServer();
  void serverStarted(const Result<std::uint16_t>& port);
  void sourcesListed(Result<std::vector<CaptureSource>> sources);
  void sharingStarted(std::uint64_t share, const CaptureSource& source,
                      const Result<void>& outcome);
  void captureDidStop(const Result<void>& why);
  void endShare();

  void tick();
  void retuneMotionRate();
  void setMotionRate(std::int64_t rate);
  void refreshAddress();

  const CaptureSource* selectedSource() const;

  template <class T>
  void update(T& field, T value) {
    if (field == value) return;
    field = std::move(value);
    if (onChange_) onChange_();
  }

  /// Wraps a step of this model so that it can be called on any queue: it runs on the main queue
  /// while the model lives.
  template <class Argument>
  std::function<void(Argument)> onMain(std::function<void(AppModel&, Argument)> step) {
    return [weak = weak_from_this(), &mainQueue = platform_.mainQueue,
            step = std::move(step)](Argument argument) {
      mainQueue.post([weak, step, argument = std::move(argument)] {
        if (const auto self = weak.lock()) step(*self, argument);
      });
    };
  }

  const TarvinelConfig config_;
  const Platform platform_;
  const Logger logger_;
  const std::shared_ptr<SharingFlag> sharingFlag_ = std::make_shared<SharingFlag>();
  FrameBroadcaster broadcaster_;
  CaptureEngine captureEngine_;
  StreamServer server_;
  std::unique_ptr<MainQueue::Timer> ticker_;
  std::function<void()> onChange_;

  std::vector<CaptureSource> sources_;
  std::optional<std::string> selectedID_;
  bool isSharing_ = false;
  std::int64_t viewerCount_ = 0;
  std::optional<std::string> serverURL_;
  std::optional<std::string> serverError_;
  std::optional<std::string> captureError_;
  std::optional<std::string> permissionHint_;
  bool isWired_ = false;
  std::int64_t motionFPS_ = 0;
  double measuredMbps_ = 0;
  TrafficMeter trafficMeter_;
  std::uint16_t boundPort_ = 80;
  std::int64_t tickCount_ = 0;

  /// Counts starts and stops, so that the outcome of a start that was overtaken is not taken for
  /// the newest one's.
  std::uint64_t currentShare_ = 0;
};

}  // namespace tarvinel

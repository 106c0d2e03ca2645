#pragma once

#include "app/updates/UpdateController.h"
#include "core/support/Log.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

/// What the model knows of updates: whether a check can be made, which feed is read, and that no
/// scheduled check is made while the screen is shared.
///
/// Lives on the main queue; `onChange` is called there whenever `canCheckForUpdates` has changed.
class UpdaterModel : private UpdateController::Delegate {
 public:
  struct Environment {
    Logger logger;
    std::optional<std::string> feedOverride;  ///< read instead of the program's own feed
    std::function<bool()> isSharing;
    std::function<void()> onChange;
  };

  /// Without a factory there are no updates to check for, as in a terminal.
  UpdaterModel(const UpdateController::Factory& makeController, Environment environment);

  bool canCheckForUpdates() const { return canCheckForUpdates_; }

  /// Makes a check that the presenter asked for, if one can be made.
  void checkForUpdates();

 private:
  std::optional<std::string> feedURLString() const override;
  void mayPerform(int check) const override;

  void logFeed() const;
  void observe();

  const Environment environment_;
  const std::unique_ptr<UpdateController> controller_;
  bool canCheckForUpdates_ = false;
};

}  // namespace tarvinel

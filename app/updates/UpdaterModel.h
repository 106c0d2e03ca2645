#pragma once

#include "app/updates/UpdateController.h"
#include "core/support/Log.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>

namespace tarvinel {

/// The model's part for updates: whether a check can be made and which feed is read. Defers
/// scheduled checks while the screen is shared.
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

  /// A null factory means that updates are not checked, as in a terminal.
  UpdaterModel(const UpdateController::Factory& makeController, Environment environment);

  bool canCheckForUpdates() const { return canCheckForUpdates_; }

  /// Checks on the presenter's request, if possible.
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

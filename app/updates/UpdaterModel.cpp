#include "app/updates/UpdaterModel.h"

#include "app/updates/UpdateController.h"

#include <utility>

namespace tarvinel {

UpdaterModel::UpdaterModel(const UpdateController::Factory& makeController, Environment environment)
    : environment_(std::move(environment)),
      controller_(makeController ? makeController(*this) : nullptr) {
  if (controller_) {
    canCheckForUpdates_ = controller_->canCheckForUpdates();
    controller_->setOnChange([this] { observe(); });
  }
  logFeed();
}

void UpdaterModel::checkForUpdates() {
  if (canCheckForUpdates_) controller_->checkForUpdates();
}

std::optional<std::string> UpdaterModel::feedURLString() const {
  return environment_.feedOverride;
}

void UpdaterModel::mayPerform(int check) const {
  if (UpdateCheckPolicy::allows(UpdateCheckPolicy::kindOf(check), environment_.isSharing())) return;
  environment_.logger->debug("scheduled update check deferred: sharing is on");
  throw UpdateCheckDeferred();
}

void UpdaterModel::logFeed() const {
  if (environment_.feedOverride) {
    environment_.logger->debug("feed override in effect: {}", *environment_.feedOverride);
    return;
  }
  const auto feed = controller_ ? controller_->feedURL() : std::nullopt;
  environment_.logger->debug("feed: {}", feed.value_or("none"));
}

void UpdaterModel::observe() {
  const bool before = std::exchange(canCheckForUpdates_, controller_->canCheckForUpdates());
  if (before != canCheckForUpdates_) environment_.onChange();
}

}  // namespace tarvinel

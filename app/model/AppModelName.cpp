#include "app/model/AppModel.h"
#include "core/mdns/NamePublisher.h"
#include "core/mdns/NameRegistrar.h"

#include <fmt/format.h>

#include <exception>
#include <utility>
#include <variant>

// The model's part in the name under .local: what is published, and what is said about it.

namespace tarvinel {

namespace {

constexpr std::int64_t ticksBetweenNameAttempts = 30;

bool isPrivacyRefusal(const NamePublisherError& error) {
  return error.kind() == NamePublisherError::Case::daemon &&
         std::holds_alternative<NamePublisher::Denied>(NamePublisher::state(error.code()));
}

std::string privacyText(const std::string& hostname) {
  return fmt::format("Allow Tarvinel under Privacy & Security › Local Network to publish {}.local",
                     hostname);
}

struct NameTrouble {
  std::string logged;
  std::string shown;
};

/// What to say about a name whose registration did not come to anything.
NameTrouble troubleOf(const NamePublisher::State& state, const std::string& hostname) {
  if (std::holds_alternative<NamePublisher::Conflict>(state)) {
    return {fmt::format("{}.local name conflict", hostname),
            fmt::format("{}.local is taken on this network; set \"hostname\" in config.json to use "
                        "another name",
                        hostname)};
  }
  if (const auto* failed = std::get_if<NamePublisher::Failed>(&state)) {
    return {fmt::format("{}.local registration failed: {}", hostname, failed->code),
            fmt::format("Couldn't publish {}.local (error {})", hostname, failed->code)};
  }
  return {fmt::format("{}.local refused by Local Network privacy", hostname),
          privacyText(hostname)};
}

}  // namespace

void AppModel::publishName(const std::optional<std::string>& address) {
  lastHost_ = address;
  if (config_.hostname.empty()) return;
  const std::uint64_t publication = ++currentPublication_;
  update(nameURL_, {});
  if (!address) {
    namePublisher_.stop();
    update(nameError_, std::optional(fmt::format("No network address to publish {}.local for",
                                                 config_.hostname)));
    return;
  }
  update(nameError_, {});
  namePublisher_.setOnState(onMain<NamePublisher::State>(
      [publication](AppModel& self, const NamePublisher::State& state) {
        if (publication == self.currentPublication_) self.nameStateDidChange(state);
      }));
  try {
    namePublisher_.publish(config_.hostname, *address);
  } catch (const NamePublisherError& error) {
    namePublishingFailed(error);
  }
}

void AppModel::namePublishingFailed(const NamePublisherError& error) {
  ++currentPublication_;  // what the one before still has to say is void
  const std::string& hostname = config_.hostname;
  if (isPrivacyRefusal(error)) {
    logger_->error("publish {}.local refused by Local Network privacy: {}", hostname, error.code());
    update(nameError_, std::optional(privacyText(hostname)));
  } else {
    logger_->error("publish {}.local failed: {}", hostname, error.what());
    update(nameError_,
           std::optional(fmt::format("Couldn't publish {}.local: {}", hostname, error.what())));
  }
}

void AppModel::nameStateDidChange(const NamePublisher::State& state) {
  if (std::holds_alternative<NamePublisher::Registered>(state)) {
    logger_->info("{}.local registered", config_.hostname);
    update(nameURL_, std::optional(LocalAddresses::url(config_.hostname + ".local", boundPort_)));
    update(nameError_, {});
    return;
  }
  const NameTrouble trouble = troubleOf(state, config_.hostname);
  logger_->error(trouble.logged);
  update(nameURL_, {});
  update(nameError_, std::optional(trouble.shown));
}

void AppModel::refreshName(const std::optional<std::string>& address) {
  const auto action =
      NamePublisher::tickAction({.hostnameEnabled = !config_.hostname.empty(),
                                 .lastHost = lastHost_,
                                 .current = address,
                                 .registered = nameURL_.has_value(),
                                 .failed = nameError_.has_value(),
                                 .retryDue = tickCount_ % ticksBetweenNameAttempts == 0});
  if (const auto* publish = std::get_if<NamePublisher::Publish>(&action)) {
    publishName(publish->address);
  } else if (const auto* changed = std::get_if<NamePublisher::Update>(&action)) {
    updateName(changed->address);
  }
}

// One that failed is tried again when the address is looked at next.
void AppModel::updateName(const std::string& address) {
  try {
    namePublisher_.update(address);
    lastHost_ = address;
  } catch (const NamePublisherError& error) {
    logger_->error("mDNS update to {} failed: {}", address, error.what());
  }
}

}  // namespace tarvinel

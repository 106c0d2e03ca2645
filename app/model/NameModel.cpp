#include "app/model/NameModel.h"

#include "core/link/LocalAddresses.h"

#include <fmt/format.h>

#include <exception>
#include <utility>
#include <variant>

namespace tarvinel {

namespace {

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

/// Returns the texts for a registration that failed.
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

NameModel::NameModel(Dependencies dependencies)
    : ModelPart(dependencies.mainQueue, std::move(dependencies.onChange)),
      hostname_(std::move(dependencies.hostname)),
      logger_(dependencies.log.category("app")),
      publisher_(std::move(dependencies.registrar), dependencies.log.category("mdns")) {}

void NameModel::end() {
  endCallbacks();
  publisher_.stop();
}

void NameModel::publishName(const std::optional<std::string>& address, std::uint16_t port) {
  port_ = port;
  lastHost_ = address;
  if (hostname_.empty()) return;
  const std::uint64_t publication = ++currentPublication_;
  update(url_, {});
  if (!address) {
    publisher_.stop();
    update(error_,
           std::optional(fmt::format("No network address to publish {}.local for", hostname_)));
    return;
  }
  update(error_, {});
  publisher_.setOnState(onMain<NamePublisher::State>(
      [publication](NameModel& self, const NamePublisher::State& state) {
        if (publication == self.currentPublication_) self.stateDidChange(state);
      }));
  try {
    publisher_.publish(hostname_, *address);
  } catch (const NamePublisherError& error) {
    publishingFailed(error);
  }
}

void NameModel::publishingFailed(const NamePublisherError& error) {
  ++currentPublication_;  // invalidates pending reports of the previous publication
  if (isPrivacyRefusal(error)) {
    logger_->error("publish {}.local refused by Local Network privacy: {}", hostname_,
                   error.code());
    update(error_, std::optional(privacyText(hostname_)));
  } else {
    logger_->error("publish {}.local failed: {}", hostname_, error.what());
    update(error_,
           std::optional(fmt::format("Couldn't publish {}.local: {}", hostname_, error.what())));
  }
}

void NameModel::stateDidChange(const NamePublisher::State& state) {
  if (std::holds_alternative<NamePublisher::Registered>(state)) {
    logger_->info("{}.local registered", hostname_);
    update(url_, std::optional(LocalAddresses::url(hostname_ + ".local", port_)));
    update(error_, {});
    return;
  }
  const NameTrouble trouble = troubleOf(state, hostname_);
  logger_->error(trouble.logged);
  update(url_, {});
  update(error_, std::optional(trouble.shown));
}

void NameModel::refresh(const std::optional<std::string>& address, bool retryDue) {
  const auto action = NamePublisher::tickAction({.hostnameEnabled = !hostname_.empty(),
                                                 .lastHost = lastHost_,
                                                 .current = address,
                                                 .registered = url_.has_value(),
                                                 .failed = error_.has_value(),
                                                 .retryDue = retryDue});
  if (const auto* publish = std::get_if<NamePublisher::Publish>(&action)) {
    publishName(publish->address, port_);
  } else if (const auto* changed = std::get_if<NamePublisher::Update>(&action)) {
    updateAddress(changed->address);
  }
}

// A failed update is retried when the address is next refreshed.
void NameModel::updateAddress(const std::string& address) {
  try {
    publisher_.update(address);
    lastHost_ = address;
  } catch (const NamePublisherError& error) {
    logger_->error("mDNS update to {} failed: {}", address, error.what());
  }
}

}  // namespace tarvinel

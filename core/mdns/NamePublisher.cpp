#include "core/mdns/NamePublisher.h"

#include "core/mdns/NameRegistrar.h"
#include "core/support/ASCII.h"
#include "core/support/HostLabel.h"

#include <charconv>
#include <cstddef>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

std::optional<std::uint8_t> addressPart(std::string_view text) {
  std::uint8_t value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size()) return std::nullopt;
  return value;
}

NameRegistrar::Address checkedAddress(std::string_view address) {
  const auto bytes = NamePublisher::rdata(address);
  if (!bytes) throw NamePublisherError::invalidAddress();
  return *bytes;
}

}  // namespace

NamePublisher::NamePublisher(NameRegistrar::Factory makeRegistrar, Logger logger)
    : makeRegistrar_(std::move(makeRegistrar)), logger_(std::move(logger)) {}

NamePublisher::~NamePublisher() {
  stop();
  queue_.stop();
}

void NamePublisher::publish(std::string_view name, const std::string& address) {
  if (!isValidLabel(name)) throw NamePublisherError::invalidName();
  const NameRegistrar::Address bytes = checkedAddress(address);
  queue_.sync([&] {
    tearDown();
    registerRecord(name, address, bytes);
  });
}

void NamePublisher::registerRecord(std::string_view label, const std::string& address,
                                   NameRegistrar::Address bytes) {
  const std::string name = fullName(label);
  auto record = makeRegistrar_(queue_, logger_);
  const std::int32_t code =
      record->registerRecord(name, bytes, [callbacks = callbacks_](std::int32_t reply) {
        if (callbacks->onState) callbacks->onState(state(reply));
      });
  if (code != DNSServiceCode::noError) throw NamePublisherError::daemon(code);
  record_ = std::move(record);
  name_ = asciiLowercased(label);
  address_ = address;
  logger_->info("registering {} -> {}", name, address);
}

void NamePublisher::update(const std::string& address) {
  const NameRegistrar::Address bytes = checkedAddress(address);
  queue_.sync([&] { updateRecord(address, bytes); });
}

void NamePublisher::updateRecord(const std::string& address, NameRegistrar::Address bytes) {
  if (!record_) throw NamePublisherError::notPublished();
  if (address == address_) return;
  const std::int32_t code = record_->update(bytes);
  if (code != DNSServiceCode::noError) throw NamePublisherError::daemon(code);
  address_ = address;
  logger_->info("updated {}.local -> {}", *name_, address);
}

void NamePublisher::stop() {
  queue_.sync([this] { tearDown(); });
}

void NamePublisher::tearDown() {
  if (!record_) return;
  record_.reset();
  logger_->info("withdrew {}.local", name_.value_or("?"));
}

void NamePublisher::setOnState(std::function<void(State)> onState) {
  queue_.sync([&] { callbacks_->onState = std::move(onState); });
}

std::optional<std::string> NamePublisher::publishedName() {
  return queue_.sync([this] { return record_ ? name_ : std::nullopt; });
}

bool NamePublisher::isValidLabel(std::string_view label) {
  return isValidHostLabel(label);
}

std::optional<NameRegistrar::Address> NamePublisher::rdata(std::string_view address) {
  NameRegistrar::Address bytes{};
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    const bool isLast = i + 1 == bytes.size();
    const std::size_t end = isLast ? address.size() : address.find('.');
    if (end == std::string_view::npos) return std::nullopt;
    const auto part = addressPart(address.substr(0, end));
    if (!part) return std::nullopt;
    bytes.at(i) = *part;
    address.remove_prefix(isLast ? end : end + 1);
  }
  return bytes;
}

std::string NamePublisher::fullName(std::string_view label) {
  return asciiLowercased(label) + ".local.";
}

NamePublisher::State NamePublisher::state(std::int32_t code) {
  switch (code) {
    case DNSServiceCode::noError:
      return Registered{};
    case DNSServiceCode::nameConflict:
      return Conflict{};
    case DNSServiceCode::policyDenied:
    case DNSServiceCode::notAllowed:
      return Denied{};
    default:
      return Failed{code};
  }
}

NamePublisher::TickAction NamePublisher::tickAction(const TickState& state) {
  if (!state.hostnameEnabled) return None{};
  if (state.current && state.registered && state.current != state.lastHost) {
    return Update{*state.current};
  }
  const bool retry = !state.registered && state.failed && state.retryDue;
  if (state.current == state.lastHost && !retry) return None{};
  return Publish{state.current};
}

}  // namespace tarvinel

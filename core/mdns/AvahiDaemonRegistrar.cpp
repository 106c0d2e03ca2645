#include "core/mdns/AvahiDaemonRegistrar.h"

#include "core/mdns/NameRegistrar.h"
#include "core/support/ASCII.h"

#include <systemd/sd-bus.h>

#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

constexpr const char* daemonService = "org.freedesktop.Avahi";
constexpr const char* serverInterface = "org.freedesktop.Avahi.Server";
constexpr const char* groupInterface = "org.freedesktop.Avahi.EntryGroup";

constexpr std::int32_t allInterfaces = -1;
constexpr std::int32_t allProtocols = -1;
constexpr std::uint16_t classIN = 1;
constexpr std::uint16_t typeA = 1;

constexpr std::int32_t uniqueFlag = 1;
constexpr std::int32_t updateFlag = 64;

constexpr std::int32_t serverRunning = 2;
constexpr std::int32_t serverFailure = 4;

std::int32_t codeOfError(const sd_bus_error& error) {
  const std::string_view name = error.name;
  if (name == "org.freedesktop.Avahi.CollisionError") return DNSServiceCode::nameConflict;
  if (name == "org.freedesktop.Avahi.NotPermittedError" ||
      name == "org.freedesktop.DBus.Error.AccessDenied") {
    return DNSServiceCode::notPermitted;
  }
  return DNSServiceCode::unknown;
}

/// Returns 0, an invalid state, if the message does not begin with a number.
std::int32_t stateIn(sd_bus_message& message) {
  std::int32_t state = 0;
  return sd_bus_message_read(&message, "i", &state) < 0 ? 0 : state;
}

/// Returns "" if the message does not begin with a text of that type.
std::string textIn(sd_bus_message& message, const char* type) {
  const char* text = nullptr;
  return sd_bus_message_read(&message, type, &text) <= 0 ? "" : text;
}

std::string stateChanges(std::string_view interface, std::string_view path) {
  return std::string(
             "type='signal',sender='org.freedesktop.Avahi',member='StateChanged',interface='")
      .append(interface)
      .append("',path='")
      .append(path)
      .append("'");
}

}  // namespace

AvahiDaemonRegistrar::AvahiDaemonRegistrar(SerialQueue& queue, std::chrono::milliseconds timeout)
    : queue_(queue), timeout_(timeout), deadline_(queue) {}

std::int32_t AvahiDaemonRegistrar::registerRecord(const std::string& name, Address address,
                                                  Reply reply) {
  name_ = name;
  address_ = address;
  reply_ = std::move(reply);
  bus_ = MessageBus::openSystem(queue_, [this] { report(DNSServiceCode::unknown); });
  if (!bus_) return DNSServiceCode::unknown;
  deadline_.start(timeout_, [this] { report(DNSServiceCode::unknown); });
  watchServer();
  return DNSServiceCode::noError;
}

void AvahiDaemonRegistrar::watchServer() {
  const auto changed = [this](sd_bus_message& message) { serverStateChanged(stateIn(message)); };
  bus_->listen(stateChanges(serverInterface, "/"), changed);
  bus_->call(bus_->methodCall(daemonService, "/", serverInterface, "GetState"), orEnd(changed));
}

// Waits for a daemon that is still probing the computer's own name. A daemon that runs again may
// have given the computer another name.
void AvahiDaemonRegistrar::serverStateChanged(std::int32_t state) {
  if (state == serverFailure) {
    report(DNSServiceCode::unknown);
  } else if (state == serverRunning && !groupAsked_) {
    queryHostName();
  }
}

void AvahiDaemonRegistrar::queryHostName() {
  bus_->call(bus_->methodCall(daemonService, "/", serverInterface, "GetHostNameFqdn"),
             orEnd([this](sd_bus_message& message) { hostNameIs(textIn(message, "s")); }));
}

void AvahiDaemonRegistrar::hostNameIs(const std::string& hostName) {
  if (groupAsked_) return;
  if (asciiLowercased(hostName) + "." == name_) {
    report(DNSServiceCode::noError);
  } else {
    makeGroup();
  }
}

void AvahiDaemonRegistrar::makeGroup() {
  groupAsked_ = true;
  bus_->call(bus_->methodCall(daemonService, "/", serverInterface, "EntryGroupNew"),
             orEnd([this](sd_bus_message& message) {
               group_ = textIn(message, "o");
               if (group_.empty()) return report(DNSServiceCode::unknown);
               watchGroup();
               addRecord(uniqueFlag, orEnd([this](sd_bus_message&) { commit(); }));
             }));
}

void AvahiDaemonRegistrar::watchGroup() {
  bus_->listen(stateChanges(groupInterface, group_),
               [this](sd_bus_message& message) { groupStateChanged(stateIn(message)); });
}

void AvahiDaemonRegistrar::addRecord(std::int32_t flags, MessageBus::Handler onAdded) {
  auto message = bus_->methodCall(daemonService, group_.c_str(), groupInterface, "AddRecord");
  sd_bus_message_append(message.get(), "iiusqqu", allInterfaces, allProtocols, flags, name_.c_str(),
                        classIN, typeA, AddressRecord::timeToLive);
  sd_bus_message_append_array(message.get(), 'y', address_.data(), address_.size());
  bus_->call(std::move(message), std::move(onAdded));
  recordSent_ = true;
}

void AvahiDaemonRegistrar::commit() {
  bus_->call(bus_->methodCall(daemonService, group_.c_str(), groupInterface, "Commit"),
             orEnd([](sd_bus_message&) {}));
}

void AvahiDaemonRegistrar::groupStateChanged(std::int32_t state) {
  if (const auto code = AddressRecord::codeOfGroupState(state)) report(*code);
}

std::int32_t AvahiDaemonRegistrar::update(Address address) {
  if (!bus_) return DNSServiceCode::unknown;
  address_ = address;
  if (recordSent_) addRecord(uniqueFlag | updateFlag, orEnd([](sd_bus_message&) {}));
  return DNSServiceCode::noError;
}

MessageBus::Handler AvahiDaemonRegistrar::orEnd(MessageBus::Handler onResponse) {
  return [this, onResponse = std::move(onResponse)](sd_bus_message& message) {
    const sd_bus_error* error = sd_bus_message_get_error(&message);
    if (error == nullptr) {
      onResponse(message);
    } else {
      report(codeOfError(*error));
    }
  };
}

void AvahiDaemonRegistrar::report(std::int32_t code) {
  deadline_.cancel();
  if (code != DNSServiceCode::noError) bus_.reset();
  reply_(code);
}

namespace {

constexpr const char* avahiName = "org.freedesktop.Avahi";
constexpr const char* busName = "org.freedesktop.DBus";

constexpr const char* ownerChanges =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.freedesktop.Avahi'";

}  // namespace

AvahiDaemonWatch::AvahiDaemonWatch(SerialQueue& queue, Callback onFinding,
                                   std::chrono::milliseconds timeout)
    : queue_(queue), onFinding_(std::move(onFinding)), timeout_(timeout), timer_(queue) {
  timer_.start({}, [this] { connect(); });
}

void AvahiDaemonWatch::connect() {
  bus_ = MessageBus::openSystem(queue_, [this] { busIsGone(); });
  if (!bus_) return busIsGone();
  timer_.start(timeout_, [this] { giveUp(); });
  listen();
  ask();
}

void AvahiDaemonWatch::listen() {
  bus_->listen(ownerChanges, [this](sd_bus_message& message) {
    const char* owner = "";
    sd_bus_message_read(&message, "sss", nullptr, nullptr, &owner);
    onFinding_(*owner == '\0' ? Finding::absent : Finding::running);
  });
}

void AvahiDaemonWatch::ask() {
  auto question = bus_->methodCall(busName, "/org/freedesktop/DBus", busName, "NameHasOwner");
  sd_bus_message_append(question.get(), "s", avahiName);
  bus_->call(std::move(question), [this](sd_bus_message& reply) {
    if (sd_bus_message_is_method_error(&reply, nullptr) > 0) return giveUp();
    timer_.cancel();
    int hasOwner = 0;
    sd_bus_message_read(&reply, "b", &hasOwner);
    onFinding_(hasOwner == 0 ? Finding::absent : Finding::running);
  });
}

void AvahiDaemonWatch::busIsGone() {
  bus_.reset();
  timer_.start(timeout_, [this] { connect(); });
  onFinding_(Finding::absent);
}

void AvahiDaemonWatch::giveUp() {
  bus_.reset();
  timer_.cancel();
  onFinding_(Finding::unknown);
}

}  // namespace tarvinel

#include "core/mdns/AvahiDaemonWatch.h"

#include <systemd/sd-bus.h>

#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

constexpr const char* avahiName = "org.freedesktop.Avahi";
constexpr const char* busName = "org.freedesktop.DBus";

constexpr const char* ownerChanges =
    "type='signal',sender='org.freedesktop.DBus',path='/org/freedesktop/DBus',"
    "interface='org.freedesktop.DBus',member='NameOwnerChanged',arg0='org.freedesktop.Avahi'";

}  // namespace

AvahiDaemonWatch::AvahiDaemonWatch(SerialQueue& queue, Callback onFinding,
                                   std::chrono::milliseconds patience)
    : queue_(queue), onFinding_(std::move(onFinding)), patience_(patience), timer_(queue) {
  timer_.start({}, [this] { connect(); });
}

void AvahiDaemonWatch::connect() {
  bus_ = MessageBus::openSystem(queue_, [this] { busIsGone(); });
  if (!bus_) return busIsGone();
  timer_.start(patience_, [this] { giveUp(); });
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
  bus_->call(std::move(question), [this](sd_bus_message& answer) {
    if (sd_bus_message_is_method_error(&answer, nullptr) > 0) return giveUp();
    timer_.cancel();
    int hasOwner = 0;
    sd_bus_message_read(&answer, "b", &hasOwner);
    onFinding_(hasOwner == 0 ? Finding::absent : Finding::running);
  });
}

void AvahiDaemonWatch::busIsGone() {
  bus_.reset();
  timer_.start(patience_, [this] { connect(); });
  onFinding_(Finding::absent);
}

void AvahiDaemonWatch::giveUp() {
  bus_.reset();
  timer_.cancel();
  onFinding_(Finding::unknown);
}

}  // namespace tarvinel

#include "app/doctor/BusInquiry.h"

#include <systemd/sd-bus.h>

#include <string_view>
#include <utility>

namespace tarvinel {

namespace {

constexpr const char* busService = "org.freedesktop.DBus";
constexpr const char* busPath = "/org/freedesktop/DBus";

bool listHas(sd_bus_message& list, std::string_view wanted) {
  if (sd_bus_message_enter_container(&list, 'a', "s") < 0) return false;
  const char* name = nullptr;
  while (sd_bus_message_read(&list, "s", &name) > 0) {
    if (name == wanted) return true;
  }
  return false;
}

/// Returns a Fill that is valid as long as the texts exist.
BusInquiry::Fill appended(const std::vector<std::string>& texts) {
  return [&texts](sd_bus_message& question) {
    for (const std::string& text : texts)
      sd_bus_message_append(&question, "s", text.c_str());
  };
}

/// Returns a Read that stores into `reply`, which must outlive it.
BusInquiry::Read booleanInto(std::optional<bool>& reply) {
  return [&reply](sd_bus_message& message) {
    int value = 0;
    if (sd_bus_message_read(&message, "b", &value) > 0) reply = value != 0;
  };
}

}  // namespace

void BusInquiry::Reply::complete(bool there) {
  if (std::exchange(isOpen, false)) isThere.set_value(there);
}

BusInquiry::BusInquiry(Bus bus, std::chrono::milliseconds timeout) : timeout_(timeout) {
  queue_.sync([this, bus] {
    const auto lost = [this] {
      bus_.reset();
      if (reply_) reply_->complete(false);
    };
    bus_ = bus == Bus::system ? MessageBus::openSystem(queue_, lost)
                              : MessageBus::openSession(queue_, lost);
  });
}

BusInquiry::~BusInquiry() {
  queue_.stop();
}

bool BusInquiry::ask(const Method& method, const Fill& fill, const Read& read) {
  if (state_ == State::isSilent) return false;
  return await(queue_.sync([&] {
    reply_ = std::make_shared<Reply>();
    auto isThere = reply_->isThere.get_future();
    send(method, fill, read);
    return isThere;
  }));
}

void BusInquiry::send(const Method& method, const Fill& fill, const Read& read) {
  if (!bus_) return reply_->complete(false);
  auto message = bus_->methodCall(method.service, method.path, method.interface, method.member);
  if (!message) return reply_->complete(false);
  fill(*message);
  bus_->call(std::move(message), [reply = reply_, read](sd_bus_message& result) {
    const bool isError = sd_bus_message_is_method_error(&result, nullptr) > 0;
    if (!isError) read(result);
    reply->complete(!isError);
  });
}

bool BusInquiry::await(std::future<bool> reply) {
  if (reply.wait_for(timeout_) == std::future_status::ready) {
    if (queue_.sync([this] { return bus_ == nullptr; })) state_ = State::isAbsent;
    return reply.get();
  }
  queue_.sync([this] { bus_.reset(); });  // late replies are not read
  state_ = State::isSilent;
  return false;
}

std::optional<bool> BusInquiry::queryBoolean(const Method& method,
                                             const std::vector<std::string>& texts) {
  std::optional<bool> reply;
  ask(method, appended(texts), booleanInto(reply));
  return reply;
}

std::optional<std::string> BusInquiry::queryText(const Method& method,
                                                 const std::vector<std::string>& texts) {
  std::optional<std::string> reply;
  ask(method, appended(texts), [&reply](sd_bus_message& message) {
    const char* text = nullptr;
    if (sd_bus_message_read(&message, "s", &text) > 0) reply = text;
  });
  return reply;
}

std::optional<bool> BusInquiry::hasOwner(const std::string& name) {
  return queryBoolean({busService, busPath, busService, "NameHasOwner"}, {name});
}

std::optional<bool> BusInquiry::canStart(const std::string& name) {
  std::optional<bool> reply;
  ask(
      {busService, busPath, busService, "ListActivatableNames"}, [](sd_bus_message&) {},
      [&](sd_bus_message& list) { reply = listHas(list, name); });
  return reply;
}

bool BusInquiry::requestProperty(const char* service, const char* path, const char* interface,
                                 const char* name, const Read& read) {
  return ask(
      {service, path, "org.freedesktop.DBus.Properties", "Get"},
      [&](sd_bus_message& question) { sd_bus_message_append(&question, "ss", interface, name); },
      read);
}

}  // namespace tarvinel

#include "core/dbus/MessageBus.h"

#include <asio/post.hpp>

#include <poll.h>
#include <systemd/sd-bus.h>

#include <chrono>
#include <cstdint>
#include <system_error>
#include <utility>

namespace tarvinel {

namespace {

constexpr std::uint64_t methodCallTimeoutMicroseconds = 10'000'000;

using Handler = MessageBus::Handler;

int handle(sd_bus_message* message, void* handler, sd_bus_error* /*error*/) noexcept {
  (*static_cast<Handler*>(handler))(*message);
  return 0;
}

/// Ties the handler's lifetime to the slot's, and the slot's to the bus's need of it.
void entrust(sd_bus_slot* slot, std::unique_ptr<Handler> handler) {
  static_cast<void>(handler.release());  // the slot owns it as its user data
  sd_bus_slot_set_destroy_callback(
      slot, [](void* owned) { std::unique_ptr<Handler>(static_cast<Handler*>(owned)).reset(); });
  sd_bus_slot_set_floating(slot, 1);
  sd_bus_slot_unref(slot);
}

/// Returns null once the MessageBus is destroyed. Nobody else ever owns it.
MessageBus* existing(const std::weak_ptr<MessageBus*>& weak) {
  const auto self = weak.lock();
  return self ? *self : nullptr;
}

}  // namespace

void MessageBus::Release::operator()(sd_bus* bus) const {
  sd_bus_close_unref(bus);
}

void MessageBus::Release::operator()(sd_bus_message* message) const {
  sd_bus_message_unref(message);
}

std::unique_ptr<MessageBus> MessageBus::openSystem(SerialQueue& queue,
                                                   std::function<void()> onLost) {
  sd_bus* bus = nullptr;
  if (sd_bus_open_system(&bus) < 0) return nullptr;
  return std::unique_ptr<MessageBus>(new MessageBus(queue, bus, std::move(onLost)));
}

std::unique_ptr<MessageBus> MessageBus::openSession(SerialQueue& queue,
                                                    std::function<void()> onLost) {
  sd_bus* bus = nullptr;
  if (sd_bus_open_user(&bus) < 0) return nullptr;
  return std::unique_ptr<MessageBus>(new MessageBus(queue, bus, std::move(onLost)));
}

MessageBus::MessageBus(SerialQueue& queue, sd_bus* bus, std::function<void()> onLost)
    : context_(queue.context()),
      bus_(bus),
      onLost_(std::move(onLost)),
      descriptor_(context_, sd_bus_get_fd(bus)),
      timer_(context_) {
  sd_bus_set_method_call_timeout(bus, methodCallTimeoutMicroseconds);
  processSoon();
}

MessageBus::~MessageBus() {
  descriptor_.release();
}

MessageBus::Message MessageBus::methodCall(const char* service, const char* path,
                                           const char* interface, const char* member) {
  Message message = startingMethodCall(service, path, interface, member);
  if (message) sd_bus_message_set_auto_start(message.get(), 0);
  return message;
}

MessageBus::Message MessageBus::startingMethodCall(const char* service, const char* path,
                                                   const char* interface, const char* member) {
  sd_bus_message* message = nullptr;
  if (sd_bus_message_new_method_call(bus_.get(), &message, service, path, interface, member) < 0) {
    return nullptr;
  }
  return Message(message);
}

void MessageBus::call(Message message, Handler onReply) {
  auto handler = std::make_unique<Handler>(std::move(onReply));
  sd_bus_slot* slot = nullptr;
  if (sd_bus_call_async(bus_.get(), &slot, message.get(), handle, handler.get(), 0) >= 0) {
    entrust(slot, std::move(handler));
  }
  processSoon();
}

void MessageBus::listen(const std::string& matchRule, Handler onSignal) {
  auto handler = std::make_unique<Handler>(std::move(onSignal));
  sd_bus_slot* slot = nullptr;
  if (sd_bus_add_match_async(bus_.get(), &slot, matchRule.c_str(), handle, nullptr,
                             handler.get()) >= 0) {
    entrust(slot, std::move(handler));
  }
  processSoon();
}

void MessageBus::processSoon() {
  asio::post(context_, [weak = std::weak_ptr(self_)] {
    if (auto* self = existing(weak)) self->process();
  });
}

// Processes one message at a time, so that other users of the queue get a turn.
void MessageBus::process() {
  const std::weak_ptr<MessageBus*> alive = self_;
  const int outcome = sd_bus_process(bus_.get(), nullptr);
  if (alive.expired()) return;
  const int events = sd_bus_get_events(bus_.get());
  if (outcome < 0 || events < 0) {
    if (const auto onLost = std::exchange(onLost_, {})) onLost();
  } else if (outcome > 0) {
    processSoon();
  } else {
    awaitEvents(events);
    awaitTimeout();
  }
}

void MessageBus::awaitEvents(int events) {
  const auto await = [this](asio::posix::descriptor_base::wait_type event,
                            bool MessageBus::* flag) {
    if (std::exchange(this->*flag, true)) return;
    descriptor_.async_wait(event, [weak = std::weak_ptr(self_), flag](const std::error_code&) {
      auto* self = existing(weak);
      if (self == nullptr) return;
      self->*flag = false;
      self->process();
    });
  };
  await(asio::posix::descriptor_base::wait_read, &MessageBus::isReading_);
  if ((events & POLLOUT) != 0) {
    await(asio::posix::descriptor_base::wait_write, &MessageBus::isWriting_);
  }
}

void MessageBus::awaitTimeout() {
  std::uint64_t due = UINT64_MAX;  // microseconds of the monotonic clock
  if (sd_bus_get_timeout(bus_.get(), &due) <= 0 || due == UINT64_MAX) return;
  timer_.expires_at(std::chrono::steady_clock::time_point(std::chrono::microseconds(due)));
  timer_.async_wait([weak = std::weak_ptr(self_)](const std::error_code& cancelled) {
    auto* self = existing(weak);
    if (self != nullptr && !cancelled) self->process();
  });
}

}  // namespace tarvinel

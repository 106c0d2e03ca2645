#pragma once

#include "core/dbus/MessageBus.h"
#include "core/support/SerialQueue.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <future>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace tarvinel {

/// Calls services on a message bus, one call after another, with a time limit for each reply. Does
/// not start services. Lives on the thread that created it.
class BusInquiry {
 public:
  enum class Bus : std::uint8_t { system, session };
  enum class State : std::uint8_t {
    replies,
    isAbsent,
    isSilent,  ///< a call has timed out; no further calls are made
  };

  struct Method {
    const char* service;
    const char* path;
    const char* interface;
    const char* member;
  };

  using Fill = std::function<void(sd_bus_message&)>;
  using Read = std::function<void(sd_bus_message&)>;

  static constexpr std::chrono::seconds defaultTimeout{2};

  /// Starts to connect. `timeout` applies to each reply.
  explicit BusInquiry(Bus bus, std::chrono::milliseconds timeout = defaultTimeout);
  ~BusInquiry();
  BusInquiry(const BusInquiry&) = delete;
  BusInquiry& operator=(const BusInquiry&) = delete;

  State state() const { return state_; }

  /// Calls a method: `fill` adds the arguments, `read` reads the reply. Returns false if there was
  /// no reply or an error.
  bool ask(const Method& method, const Fill& fill, const Read& read);

  /// Calls a method that takes texts and returns a boolean; returns nullopt without a reply.
  std::optional<bool> queryBoolean(const Method& method, const std::vector<std::string>& texts);

  /// Calls a method that takes texts and returns a text; returns nullopt without a reply.
  std::optional<std::string> queryText(const Method& method, const std::vector<std::string>& texts);

  /// Returns whether the name has an owner, or nullopt without a reply.
  std::optional<bool> hasOwner(const std::string& name);

  /// Returns whether the bus can start a service for the name, or nullopt without a reply.
  std::optional<bool> canStart(const std::string& name);

  /// Reads a property with `read`, which receives the message positioned at the variant. Returns
  /// false as `ask` does.
  bool requestProperty(const char* service, const char* path, const char* interface,
                       const char* name, const Read& read);

 private:
  struct Reply {
    std::promise<bool> isThere;
    bool isOpen = true;  ///< `isThere` is not set yet

    void complete(bool there);
  };

  void send(const Method& method, const Fill& fill, const Read& read);
  bool await(std::future<bool> reply);

  SerialQueue queue_{".doctor"};
  const std::chrono::milliseconds timeout_;
  State state_ = State::replies;
  std::unique_ptr<MessageBus> bus_;  ///< lives on the queue; null if the connection is lost
  std::shared_ptr<Reply> reply_;     ///< the pending one; lives on the queue
};

}  // namespace tarvinel

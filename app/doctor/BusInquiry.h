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

/// Asks services on a message bus, one question after another, and waits a while for each answer.
/// Starts no service. Lives on the thread that made it.
class BusInquiry {
 public:
  enum class Bus : std::uint8_t { system, session };
  enum class State : std::uint8_t {
    replies,
    isAbsent,
    isSilent,  ///< a question was not answered in time; no other is asked
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

  /// Begins to connect. `patience` is for each answer.
  explicit BusInquiry(Bus bus, std::chrono::milliseconds timeout = defaultTimeout);
  ~BusInquiry();
  BusInquiry(const BusInquiry&) = delete;
  BusInquiry& operator=(const BusInquiry&) = delete;

  State state() const { return state_; }

  /// Calls a method: `fill` adds the arguments, `read` takes the answer. False when there was none,
  /// or only an error.
  bool ask(const Method& method, const Fill& fill, const Read& read);

  /// The same for a method that takes texts and gives a yes or no.
  std::optional<bool> queryBoolean(const Method& method, const std::vector<std::string>& texts);

  /// The same for one that gives a text.
  std::optional<std::string> queryText(const Method& method, const std::vector<std::string>& texts);

  /// Whether somebody has the name; nothing without an answer.
  std::optional<bool> hasOwner(const std::string& name);

  /// Whether the bus would start somebody to have the name; likewise.
  std::optional<bool> canStart(const std::string& name);

  /// Reads a property with `read`, which finds the message at the variant. False as with `ask`.
  bool requestProperty(const char* service, const char* path, const char* interface,
                       const char* name, const Read& read);

 private:
  struct Reply {
    std::promise<bool> isThere;
    bool isOpen = true;  ///< `isThere` is still to be told

    void tell(bool there);
  };

  void send(const Method& method, const Fill& fill, const Read& read);
  bool await(std::future<bool> reply);

  SerialQueue queue_{".doctor"};
  const std::chrono::milliseconds timeout_;
  State state_ = State::replies;
  std::unique_ptr<MessageBus> bus_;  ///< lives on the queue; null when it is gone
  std::shared_ptr<Reply> reply_;     ///< that is waited for; lives on the queue
};

}  // namespace tarvinel

#pragma once

#include "core/support/SerialQueue.h"

#include <asio/posix/stream_descriptor.hpp>
#include <asio/steady_timer.hpp>

#include <functional>
#include <memory>
#include <string>

struct sd_bus;
struct sd_bus_message;

namespace tarvinel {

/// A connection to a D-Bus message bus that never blocks: calls are sent and replies are received
/// while the queue is otherwise idle, however slow or dead the peer is.
///
/// Lives on the queue: handlers are called there, never during a call of the connection, and may
/// destroy it.
class MessageBus {
 public:
  struct Release {
    void operator()(sd_bus* bus) const;
    void operator()(sd_bus_message* message) const;
  };
  using Message = std::unique_ptr<sd_bus_message, Release>;
  using Handler = std::function<void(sd_bus_message& message)>;

  /// Starts connecting; returns null if no bus accepts connections. `onLost` is called once when
  /// the connection ends, even if it was never complete; nothing is called after it.
  static std::unique_ptr<MessageBus> openSystem(SerialQueue& queue, std::function<void()> onLost);

  /// Does the same with the bus of the user's session.
  static std::unique_ptr<MessageBus> openSession(SerialQueue& queue, std::function<void()> onLost);

  ~MessageBus();
  MessageBus(const MessageBus&) = delete;
  MessageBus& operator=(const MessageBus&) = delete;

  /// Returns a method call without arguments. It does not start a service that is not running.
  Message methodCall(const char* service, const char* path, const char* interface,
                     const char* member);

  /// Returns a method call that starts the service if it is not running.
  Message startingMethodCall(const char* service, const char* path, const char* interface,
                             const char* member);

  /// Sends the call; `onReply` gets the reply or an error, and nothing once the bus is lost.
  void call(Message message, Handler onReply);

  /// Calls `onSignal` for every signal that matches the rule.
  void listen(const std::string& matchRule, Handler onSignal);

 private:
  MessageBus(SerialQueue& queue, sd_bus* bus, std::function<void()> onLost);

  void processSoon();
  void process();
  void awaitEvents(int events);
  void awaitTimeout();

  asio::io_context& context_;
  std::unique_ptr<sd_bus, Release> bus_;
  std::function<void()> onLost_;
  asio::posix::stream_descriptor descriptor_;  ///< owned by sd-bus: released, not closed
  asio::steady_timer timer_;
  bool isReading_ = false;
  bool isWriting_ = false;

  /// Pending operations hold it weakly.
  const std::shared_ptr<MessageBus*> self_ = std::make_shared<MessageBus*>(this);
};

}  // namespace tarvinel
